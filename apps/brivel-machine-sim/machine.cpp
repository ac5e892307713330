#include "machine.h"

#include <sstream>

#include "board/board_log.h"

extern "C" {
#include <simavr/avr_ioport.h>
#include <simavr/avr_uart.h>
#include <simavr/sim_cycle_timers.h>
#include <simavr/sim_time.h>
}

namespace brivel::machinesim {

namespace {

constexpr uint64_t kByteCycles = 16000000ull * 10 / 57600;  // ten bit times
constexpr int kTripMs = 5;                                    // the clutch's shortest pulse
// The crank's revolution, ms from the trip: leaves rest, punch high masked,
// punch low seen, the hole, low gone, back up, at rest.
enum Crank { kLeave, kHighOff, kLowOn, kHole, kLowOff, kHighOn, kRest };
constexpr int kCrankMs[] = {0, 3, 12, 15, 18, 27, 30};

struct CrankEvent {
  Machine* m;
  int what;
};

Machine* g_machine = nullptr;  // the one machine of this process, for the timers
CrankEvent g_events[7];

avr_cycle_count_t crank_timer(avr_t*, avr_cycle_count_t, void* param) {
  auto* e = static_cast<CrankEvent*>(param);
  e->m->crank_event(e->what);
  return 0;
}

avr_cycle_count_t trip_timer(avr_t*, avr_cycle_count_t, void*);

}  // namespace

bool parse_faults(const std::string& text, Faults* out, std::string* error) {
  std::istringstream in(text);
  std::string line;
  int n = 0;
  while (std::getline(in, line)) {
    ++n;
    if (line.empty() || line[0] == '#') continue;
    std::istringstream w(line);
    std::string verb, what;
    w >> verb;
    if (verb == "slip" && (w >> out->slip_steps >> out->slip_move) && out->slip_move > 0) continue;
    if (verb == "jam" && (w >> what)) {
      int from = 0;
      if (what == "high" && (w >> from) && from > 0) {
        out->jam_high_from = from;
        continue;
      }
      if (what == "low" && (w >> from) && from > 0) {
        out->jam_low_from = from;
        continue;
      }
    }
    if (verb == "mask" && (w >> what)) {
      bool* m = what == "low" ? &out->mask_low : what == "high" ? &out->mask_high : what == "linear" ? &out->mask_linear
                : what == "rotary" ? &out->mask_rotary : what == "switch" ? &out->mask_switch : nullptr;
      if (m) {
        *m = true;
        continue;
      }
    }
    *error = "ligne " + std::to_string(n) + " : « " + line + " » (slip N n, jam high|low n, mask capteur)";
    return false;
  }
  return true;
}

Machine::Machine(avr_t* avr, const Faults& faults, std::ostream& log) : avr_(avr), f_(faults), log_(log) {
  g_machine = this;
  uint32_t flags = 0;
  avr_ioctl(avr_, AVR_IOCTL_UART_GET_FLAGS('0'), &flags);
  flags &= ~(AVR_UART_FLAG_POLL_SLEEP | AVR_UART_FLAG_STDIO);
  avr_ioctl(avr_, AVR_IOCTL_UART_SET_FLAGS('0'), &flags);
  avr_irq_register_notify(
      avr_io_getirq(avr_, AVR_IOCTL_UART_GETIRQ('0'), UART_IRQ_OUTPUT),
      [](avr_irq_t*, uint32_t v, void* p) { static_cast<Machine*>(p)->tx_byte(static_cast<uint8_t>(v)); }, this);
  avr_irq_register_notify(avr_io_getirq(avr_, AVR_IOCTL_IOPORT_GETIRQ('D'), 2),
                          [](avr_irq_t*, uint32_t v, void* p) { static_cast<Machine*>(p)->x_step(v != 0); }, this);
  avr_irq_register_notify(avr_io_getirq(avr_, AVR_IOCTL_IOPORT_GETIRQ('D'), 3),
                          [](avr_irq_t*, uint32_t v, void* p) { static_cast<Machine*>(p)->y_step(v != 0); }, this);
  avr_irq_register_notify(avr_io_getirq(avr_, AVR_IOCTL_IOPORT_GETIRQ('B'), 4),
                          [](avr_irq_t*, uint32_t v, void* p) { static_cast<Machine*>(p)->punch_pin(v != 0); }, this);
  for (int i = 0; i < 7; ++i) g_events[i] = {this, i};
  // The punch at rest: up, its crank at rest, not down.
  set_input('B', 3, !f_.mask_high);
  set_input('C', 1, !f_.mask_rotary);
  set_input('B', 2, false);
  update_x_sensors();
}

void Machine::set_input(char port, int bit, bool level) {
  avr_raise_irq(avr_io_getirq(avr_, AVR_IOCTL_IOPORT_GETIRQ(port), bit), level ? 1 : 0);
}

bool Machine::out_pin(char port, int bit) const {
  // The output latch: PORTD 0x2B, PORTB 0x25, PORTC 0x28 in data space.
  const uint16_t addr = port == 'D' ? 0x2B : port == 'B' ? 0x25 : 0x28;
  return (avr_->data[addr] >> bit) & 1;
}

void Machine::update_x_sensors() {
  const int64_t full = x_half_ >= 0 ? x_half_ / 2 : -((-x_half_ + 1) / 2);
  set_input('C', 0, !f_.mask_linear && full % 2 == 0);
  // The switch closes to ground at the switch point and below it.
  set_input('B', 1, f_.mask_switch || x_half_ > 0);
}

void Machine::x_step(bool high) {
  if (!high || out_pin('B', 0)) return;  // rising edges with the drivers powered
  last_activity_ = avr_->cycle;
  if (avr_->cycle - last_x_pulse_ > 20ull * avr_->frequency / 1000) {
    ++moves_;
    slip_left_ = moves_ == f_.slip_move ? f_.slip_steps : 0;
    if (slip_left_) log_line('#', "slip " + std::to_string(slip_left_) + " pas, mouvement " + std::to_string(moves_));
  }
  last_x_pulse_ = avr_->cycle;
  if (slip_left_ > 0) {
    --slip_left_;
    return;
  }
  const int unit = out_pin('C', 3) ? 1 : 2;
  x_half_ += out_pin('D', 5) ? unit : -unit;
  update_x_sensors();
}

void Machine::y_step(bool high) {
  if (!high || out_pin('B', 0)) return;
  last_activity_ = avr_->cycle;
  y_ += out_pin('D', 6) ? 1 : -1;
}

namespace {
avr_cycle_count_t trip_timer(avr_t*, avr_cycle_count_t, void*) {
  g_machine->crank_event(-1);
  return 0;
}
}  // namespace

void Machine::punch_pin(bool high) {
  last_activity_ = avr_->cycle;
  if (high && !punch_driven_) {
    punch_high_since_ = avr_->cycle;
    avr_cycle_timer_register(avr_, avr_usec_to_cycles(avr_, kTripMs * 1000), trip_timer, nullptr);
  }
  punch_driven_ = high;
}

void Machine::crank_event(int what) {
  last_activity_ = avr_->cycle;
  if (what < 0) {
    // The clutch trips if the solenoid was held long enough.
    const uint64_t held = avr_->cycle - punch_high_since_;
    if (!punch_driven_ || turning_ || held + 16 < avr_usec_to_cycles(avr_, kTripMs * 1000)) return;
    ++trips_;
    if (f_.jam_high_from && trips_ >= f_.jam_high_from) {
      log_line('#', "poinçon bloqué en haut");
      return;
    }
    turning_ = true;
    for (int i = 0; i < 7; ++i)
      avr_cycle_timer_register(avr_, avr_usec_to_cycles(avr_, kCrankMs[i] * 1000) + 1, crank_timer, &g_events[i]);
    return;
  }
  const bool stuck_low = f_.jam_low_from && trips_ >= f_.jam_low_from;
  if (stuck_low && what > kHole) return;  // the punch stays down
  switch (what) {
    case kLeave: set_input('C', 1, false); break;
    case kHighOff: set_input('B', 3, false); break;
    case kLowOn: set_input('B', 2, !f_.mask_low); break;
    case kHole: {
      const int64_t x = out_pin('C', 3) ? x_half_ : x_half_ / 2;
      log_line('*', "HOLE " + std::to_string(x) + " " + std::to_string(y_));
      if (stuck_low) log_line('#', "poinçon bloqué en bas");
      break;
    }
    case kLowOff: set_input('B', 2, false); break;
    case kHighOn: set_input('B', 3, !f_.mask_high); break;
    case kRest:
      set_input('C', 1, !f_.mask_rotary);
      turning_ = false;
      break;
  }
}

void Machine::tx_byte(uint8_t b) {
  last_activity_ = avr_->cycle;
  if (on_tx) on_tx(b);
  log_line('<', std::string(1, static_cast<char>(b)));
}

void Machine::feed(std::deque<uint8_t>& incoming) {
  while (!incoming.empty() && avr_->cycle >= next_rx_) {
    const uint8_t b = incoming.front();
    incoming.pop_front();
    next_rx_ = avr_->cycle + kByteCycles;
    last_activity_ = avr_->cycle;
    // UCSR0A (0xC0): a byte still unread in the receive register is
    // overwritten, as on the chip, and logged.
    if (avr_->data[0xC0] & 0x80) log_line('#', "LOST");
    avr_raise_irq(avr_io_getirq(avr_, AVR_IOCTL_UART_GETIRQ('0'), UART_IRQ_INPUT), b);
    rx_line_.push_back(static_cast<char>(b));
    if (b == '\n') {
      log_line('>', rx_line_);
      rx_line_.clear();
    }
  }
}

bool Machine::idle() const {
  return !turning_ && avr_->cycle - last_activity_ > 50ull * avr_->frequency / 1000;
}

void Machine::log_line(char dir, const std::string& text) {
  if (dir == '*') {
    log_ << text << "\n";
  } else {
    log_ << format_log_entry({now_ms(), dir, text});
  }
  log_.flush();
}

}  // namespace brivel::machinesim
