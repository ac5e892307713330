// The machine behind the simulated chip: the head's X from the step and
// direction pins (half steps when selected), the card's Y, the origin
// switch, the punch on its single-revolution clutch with its three sensors,
// the linear sensor that sees the head's real steps; and the line's bytes
// paced into the chip's serial port at 57600 baud.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <ostream>
#include <string>

extern "C" {
#include <simavr/sim_avr.h>
#include <simavr/sim_irq.h>
}

namespace brivel::machinesim {

// Faults made physically, one per line of the --faults file ("#" comments):
//   slip N n      the X motor loses N steps on its n-th move
//   jam high n    from the n-th clutch trip on, the crank stays at the top
//   jam low n     from the n-th trip on, the punch stays at the bottom
//   mask SENSOR   low, high, linear, rotary or switch: always masked (open)
struct Faults {
  int slip_steps = 0, slip_move = 0;
  int jam_high_from = 0, jam_low_from = 0;
  bool mask_low = false, mask_high = false, mask_linear = false, mask_rotary = false, mask_switch = false;
};
bool parse_faults(const std::string& text, Faults* out, std::string* error);

class Machine {
 public:
  Machine(avr_t* avr, const Faults& faults, std::ostream& log);

  // Paces the waiting bytes into the chip: one each ten bit times.
  void feed(std::deque<uint8_t>& incoming);
  // Nothing moves and nothing was heard from the chip for a while.
  bool idle() const;
  int64_t now_ms() const { return static_cast<int64_t>(avr_->cycle / (avr_->frequency / 1000)); }

  std::function<void(uint8_t)> on_tx;

  // Pin and timer handlers (public for the C callbacks).
  void x_step(bool high);
  void y_step(bool high);
  void punch_pin(bool high);
  void tx_byte(uint8_t b);
  void crank_event(int what);

 private:
  void set_input(char port, int bit, bool level);
  void update_x_sensors();
  void log_line(char dir, const std::string& text);
  bool out_pin(char port, int bit) const;

  avr_t* avr_;
  Faults f_;
  std::ostream& log_;
  int64_t x_half_ = 3000;  // the head, half steps from the switch point
  int64_t y_ = 0;          // the card, Y motor steps since start
  uint64_t last_x_pulse_ = 0;
  int moves_ = 0, slip_left_ = 0;
  uint64_t punch_high_since_ = 0;
  bool punch_driven_ = false;
  bool turning_ = false;
  int trips_ = 0;
  uint64_t next_rx_ = 0, last_activity_ = 0;
  std::string rx_line_, tx_line_;
};

}  // namespace brivel::machinesim
