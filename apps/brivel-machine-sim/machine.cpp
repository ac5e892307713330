#include "machine.h"

#include <algorithm>
#include <cmath>
#include <sstream>

#include "board/board_log.h"
#include "config.h"
#include "pin_table.h"

extern "C" {
#include <simavr/avr_ioport.h>
#include <simavr/avr_uart.h>
#include <simavr/sim_time.h>
}

namespace brivel::machinesim {

namespace {

// A pin of the table the firmware is built from: its port's letter, its bit.
#define PIN(name) PORT_LETTER_CHAR(name), name##_BIT
// The levels as the firmware's builder chose them (config.h).
bool lit(bool unmasked) { return unmasked == (SENSOR_HIGH_WHEN_UNMASKED != 0); }
bool switch_level(bool pressed) { return pressed != (SWITCH_LOW_WHEN_PRESSED != 0); }
bool half_selected(bool level) { return level == (HALF_STEP_SELECT_HIGH != 0); }

constexpr int kTripMs = 5;  // the clutch's shortest pulse
// The crank's revolution, ms from the trip: leaves rest, punch high masked,
// punch low seen, the hole, low gone, back up, at rest.
enum Crank { kLeave, kHighOff, kLowOn, kHole, kLowOff, kHighOn, kRest, kCrankEvents };
constexpr int kCrankMs[] = {0, 3, 12, 15, 18, 27, 30};

// What a UART receiving at `rx_baud` makes of byte `b` sent at `tx_baud`:
// each data bit sampled in its middle, from the start bit's falling edge.
uint8_t sampled(uint8_t b, double tx_baud, double rx_baud) {
  auto level = [&](double t) {  // the line at time t, in sender bit times
    const int bit = static_cast<int>(t);
    if (bit == 0) return 0;                 // start bit
    if (bit <= 8) return (b >> (bit - 1)) & 1;
    return 1;                               // stop bit and idle
  };
  uint8_t out = 0;
  for (int i = 0; i < 8; ++i)
    if (level((1.5 + i) * tx_baud / rx_baud)) out |= static_cast<uint8_t>(1 << i);
  return out;
}

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
    if ((verb == "reset" || verb == "unplug") && (w >> what) && (what == "hole" || what == "ms")) {
      Faults::Restart r;
      r.unplug = verb == "unplug";
      int64_t at = 0;
      std::string extra;
      if ((w >> at) && at > 0 && (!r.unplug || ((w >> r.for_ms) && r.for_ms > 0)) && !(w >> extra)) {
        if (what == "hole")
          r.hole = static_cast<int>(at);
        else
          r.at_ms = at;
        out->restarts.push_back(r);
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
    *error = "ligne " + std::to_string(n) + " : « " + line +
             " » (slip N n, jam high|low n, mask capteur, reset hole|ms n, unplug hole|ms n durée)";
    return false;
  }
  return true;
}

Machine::Machine(avr_t* avr, const Faults& faults, std::ostream& log) : avr_(avr), f_(faults), log_(log) {
  uint32_t flags = 0;
  avr_ioctl(avr_, AVR_IOCTL_UART_GET_FLAGS('0'), &flags);
  flags &= ~(AVR_UART_FLAG_POLL_SLEEP | AVR_UART_FLAG_STDIO);
  avr_ioctl(avr_, AVR_IOCTL_UART_SET_FLAGS('0'), &flags);
  avr_irq_register_notify(
      avr_io_getirq(avr_, AVR_IOCTL_UART_GETIRQ('0'), UART_IRQ_OUTPUT),
      [](avr_irq_t*, uint32_t v, void* p) { static_cast<Machine*>(p)->tx_byte(static_cast<uint8_t>(v)); }, this);
  avr_irq_register_notify(avr_io_getirq(avr_, AVR_IOCTL_IOPORT_GETIRQ(PORT_LETTER_CHAR(X_STEP)), X_STEP_BIT),
                          [](avr_irq_t*, uint32_t v, void* p) { static_cast<Machine*>(p)->x_step(v != 0); }, this);
  avr_irq_register_notify(avr_io_getirq(avr_, AVR_IOCTL_IOPORT_GETIRQ(PORT_LETTER_CHAR(Y_STEP)), Y_STEP_BIT),
                          [](avr_irq_t*, uint32_t v, void* p) { static_cast<Machine*>(p)->y_step(v != 0); }, this);
  avr_irq_register_notify(avr_io_getirq(avr_, AVR_IOCTL_IOPORT_GETIRQ(PORT_LETTER_CHAR(PUNCH)), PUNCH_BIT),
                          [](avr_irq_t*, uint32_t v, void* p) { static_cast<Machine*>(p)->punch_pin(v != 0); }, this);
  // The punch at rest: up, its crank at rest, not down.
  set_input(PIN(PUNCH_HIGH), lit(!f_.mask_high));
  set_input(PIN(ROTARY), lit(!f_.mask_rotary));
  set_input(PIN(PUNCH_LOW), lit(false));
  update_x_sensors();
}

void Machine::set_input(char port, int bit, bool level) {
  uint8_t& mine = inputs_[port - 'B'];
  mine = static_cast<uint8_t>(level ? mine | (1 << bit) : mine & ~(1 << bit));
  sensed_[port - 'B'] = static_cast<uint8_t>(sensed_[port - 'B'] | (1 << bit));
  avr_raise_irq(avr_io_getirq(avr_, AVR_IOCTL_IOPORT_GETIRQ(port), bit), level ? 1 : 0);
}

void Machine::after_reset() {
  // The turn under way ends on its own: the crank is the machine's.
  if (turning_) {
    trip_at_ = 0;
    while (crank_next_ < kCrankEvents) crank_event(crank_next_++);
  }
  punch_driven_ = false;
  trip_at_ = 0;
  for (char port : {'B', 'C', 'D'})
    for (int bit = 0; bit < 8; ++bit) {
      // Only the pins the machine drives: the chip's outputs are its own.
      if (!((sensed_[port - 'B'] >> bit) & 1)) continue;
      avr_irq_t* irq = avr_io_getirq(avr_, AVR_IOCTL_IOPORT_GETIRQ(port), bit);
      const bool level = (inputs_[port - 'B'] >> bit) & 1;
      // Raised twice so that the pin takes the level whatever it held.
      avr_raise_irq(irq, level ? 0 : 1);
      avr_raise_irq(irq, level ? 1 : 0);
    }
}

bool Machine::out_pin(char port, int bit) const {
  // The output latch: PORTD 0x2B, PORTB 0x25, PORTC 0x28 in data space.
  const uint16_t addr = port == 'D' ? 0x2B : port == 'B' ? 0x25 : 0x28;
  return (avr_->data[addr] >> bit) & 1;
}

void Machine::update_x_sensors() {
  const int64_t full = x_half_ >= 0 ? x_half_ / 2 : -((-x_half_ + 1) / 2);
  set_input(PIN(LINEAR), lit(!f_.mask_linear && full % 2 == 0));
  // The switch closes to ground at the switch point and below it.
  set_input(PIN(SWITCH), switch_level(!f_.mask_switch && x_half_ <= 0));
}

void Machine::x_step(bool high) {
  if (!high || out_pin(PIN(ENABLE))) return;  // rising edges with the drivers powered
  last_activity_ = avr_->cycle;
  // A new move: a pause of 20 ms, or of twice the steps' own period for
  // slower moves.
  const uint64_t gap = avr_->cycle - last_x_pulse_;
  if (gap > std::max<uint64_t>(20ull * avr_->frequency / 1000, 2 * last_gap_)) {
    log_move();
    last_gap_ = 0;
    ++moves_;
    slip_left_ = moves_ == f_.slip_move ? f_.slip_steps : 0;
    if (slip_left_) log_line('#', "slip " + std::to_string(slip_left_) + " pas, mouvement " + std::to_string(moves_));
  }
  if (move_pulses_++ == 0)
    move_first_ = avr_->cycle;
  else
    last_gap_ = gap;
  last_x_pulse_ = avr_->cycle;
  if (slip_left_ > 0) {
    --slip_left_;
    return;
  }
  const int unit = half_selected(out_pin(PIN(HALF))) ? 1 : 2;
  x_half_ += out_pin(PIN(X_DIR)) ? unit : -unit;
  update_x_sensors();
}

void Machine::log_move() {
  // The step period the pins really showed: what the firmware made of "PX".
  if (move_pulses_ > 1) {
    const uint64_t us = (last_x_pulse_ - move_first_) * 1000000ull / avr_->frequency / (move_pulses_ - 1);
    log_line('#', "mouvement X : " + std::to_string(move_pulses_) + " pas de " + std::to_string(us) + " µs");
  }
  move_pulses_ = 0;
}

void Machine::y_step(bool high) {
  if (!high || out_pin(PIN(ENABLE))) return;
  last_activity_ = avr_->cycle;
  y_ += out_pin(PIN(Y_DIR)) ? 1 : -1;
}

void Machine::punch_pin(bool high) {
  last_activity_ = avr_->cycle;
  if (high && !punch_driven_) trip_at_ = avr_->cycle + avr_usec_to_cycles(avr_, kTripMs * 1000);
  // The clutch trips if the solenoid was held long enough (to a cycle).
  if (!high && punch_driven_ && trip_at_) {
    if (avr_->cycle + 16 >= trip_at_) trip(trip_at_);
    trip_at_ = 0;
  }
  punch_driven_ = high;
}

void Machine::trip(uint64_t at) {
  if (turning_) return;
  ++trips_;
  if (f_.jam_high_from && trips_ >= f_.jam_high_from) {
    log_line('#', "poinçon bloqué en haut");
    return;
  }
  turning_ = true;
  crank_at_ = at;
  crank_next_ = 0;
}

void Machine::tick_due() {
  if (trip_at_ && avr_->cycle >= trip_at_) {
    trip(trip_at_);  // still held at the end of the shortest pulse
    trip_at_ = 0;
  }
  while (turning_ && crank_next_ < kCrankEvents &&
         avr_->cycle >= crank_at_ + avr_usec_to_cycles(avr_, kCrankMs[crank_next_] * 1000))
    crank_event(crank_next_++);
}

void Machine::crank_event(int what) {
  last_activity_ = avr_->cycle;
  const bool stuck_low = f_.jam_low_from && trips_ >= f_.jam_low_from;
  if (stuck_low && what > kHole) {  // the punch stays down
    if (what == kRest) crank_next_ = kCrankEvents;
    return;
  }
  switch (what) {
    case kLeave: set_input(PIN(ROTARY), lit(false)); break;
    case kHighOff: set_input(PIN(PUNCH_HIGH), lit(false)); break;
    case kLowOn: set_input(PIN(PUNCH_LOW), lit(!f_.mask_low)); break;
    case kHole: {
      const int64_t x = half_selected(out_pin(PIN(HALF))) ? x_half_ : x_half_ / 2;
      ++holes_;
      log_line('*', "HOLE " + std::to_string(x) + " " + std::to_string(y_));
      if (stuck_low) log_line('#', "poinçon bloqué en bas");
      break;
    }
    case kLowOff: set_input(PIN(PUNCH_LOW), lit(false)); break;
    case kHighOn: set_input(PIN(PUNCH_HIGH), lit(!f_.mask_high)); break;
    case kRest:
      set_input(PIN(ROTARY), lit(!f_.mask_rotary));
      turning_ = false;
      break;
  }
}

void Machine::tx_byte(uint8_t b) {
  last_activity_ = avr_->cycle;
  if (on_tx) on_tx(b);
  log_line('<', std::string(1, static_cast<char>(b)));
}

void Machine::feed(std::deque<uint8_t>& incoming, int host_baud, bool to_boot) {
  const uint64_t byte_cycles = avr_->frequency * 10ull / static_cast<uint64_t>(host_baud > 0 ? host_baud : 57600);
  while (!incoming.empty() && avr_->cycle >= next_rx_) {
    const uint8_t b = incoming.front();
    incoming.pop_front();
    next_rx_ = avr_->cycle + byte_cycles;
    last_activity_ = avr_->cycle;
    // The program's lines as the application gets them; what a bootloader
    // gets (avrdude's pages) is only counted.
    if (to_boot) {
      rx_line_.clear();
    } else {
      rx_line_.push_back(static_cast<char>(b));
      if (b == '\n' || rx_line_.size() >= 64) {
        log_line('>', rx_line_);
        rx_line_.clear();
      }
    }
    // UCSR0B (0xC1) bit 4: the receiver on. A chip in reset, or starting,
    // hears nothing.
    if (!(avr_->data[0xC1] & 0x10)) {
      ++dropped_bytes_;
      continue;
    }
    // The chip's speed: UBRR0 (0xC5:0xC4), doubled by U2X0 (UCSR0A bit 1).
    const unsigned ubrr = (avr_->data[0xC5] << 8 | avr_->data[0xC4]) + 1u;
    const double chip_baud = static_cast<double>(avr_->frequency) / ((avr_->data[0xC0] & 0x02) ? 8 : 16) / ubrr;
    const bool same = std::abs(chip_baud - host_baud) < 0.05 * host_baud;
    // UCSR0A (0xC0): a byte still unread in the receive register is
    // overwritten, as on the chip, and logged.
    if ((avr_->data[0xC0] & 0x80) && !to_boot) log_line('#', "LOST");
    if (to_boot) ++boot_bytes_;
    avr_raise_irq(avr_io_getirq(avr_, AVR_IOCTL_UART_GETIRQ('0'), UART_IRQ_INPUT),
                  same ? b : sampled(b, host_baud, chip_baud));
  }
}

bool Machine::idle() const {
  return !turning_ && avr_->cycle - last_activity_ > 50ull * avr_->frequency / 1000;
}

void Machine::log_line(char dir, const std::string& text) {
  if (dir == '*') {
    log_ << text << "\n";
  } else if (dir == '#') {
    log_ << now_ms() << " # " << text << "\n";  // our own words, as written
  } else {
    log_ << format_log_entry({now_ms(), dir, text});
  }
  log_.flush();
}

}  // namespace brivel::machinesim
