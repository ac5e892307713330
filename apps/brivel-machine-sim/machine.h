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
#include <utility>
#include <vector>

extern "C" {
#include <simavr/sim_avr.h>
#include <simavr/sim_irq.h>
}

namespace brivel::machinesim {

// Faults made physically, one per line of the --faults file ("#" comments):
//   slip N n          the X motor loses N steps on its n-th move
//   jam high n        from the n-th clutch trip on, the crank stays at the top
//   jam low n         from the n-th trip on, the punch stays at the bottom
//   mask SENSOR       low, high, linear, rotary or switch: always masked (open)
//   reset hole n      a brown-out as the n-th hole is punched (before the reply)
//   reset ms t        a brown-out at t ms of the chip's time
//   unplug hole n d   the cable pulled as the n-th hole is punched, put back
//                     d ms later: the port vanishes, comes back, the chip restarts
//   unplug ms t d     the same at t ms
struct Faults {
  int slip_steps = 0, slip_move = 0;
  int jam_high_from = 0, jam_low_from = 0;
  bool mask_low = false, mask_high = false, mask_linear = false, mask_rotary = false, mask_switch = false;
  // A restart of the board: at a hole or at a time, for a time when unplugged.
  struct Restart {
    bool unplug = false;
    int hole = 0;         // the n-th hole, or 0
    int64_t at_ms = -1;   // or the time
    int64_t for_ms = 0;   // unplugged this long
    bool done = false;
  };
  std::vector<Restart> restarts;
};
bool parse_faults(const std::string& text, Faults* out, std::string* error);

class Machine {
 public:
  Machine(avr_t* avr, const Faults& faults, std::ostream& log);

  // Paces the waiting bytes into the chip, one each ten bit times of the
  // program's speed (`host_baud`). A byte sent at another speed than the
  // chip's receiver is set to reaches it as the receiver samples it;
  // nothing reaches a receiver that is off. `to_boot` counts the bytes the
  // bootloader, not the application, received.
  void feed(std::deque<uint8_t>& incoming, int host_baud, bool to_boot);
  // Runs what is due of the punch's clutch and crank; cheap enough to be
  // called after every instruction, so that the crank keeps its times to
  // the cycle.
  void tick() {
    if (trip_at_ || turning_) tick_due();
  }
  // After any reset of the chip: its pins read the machine's sensors again
  // (a reset clears the input registers); the punch finishes its turn.
  void after_reset();
  int holes() const { return holes_; }
  // Notes what is under way (the last X move) before the log closes.
  void finish_notes() { log_move(); }
  // Bytes the bootloader received since the last call; the receiver was off.
  int take_boot_bytes() { return std::exchange(boot_bytes_, 0); }
  int take_dropped_bytes() { return std::exchange(dropped_bytes_, 0); }
  void log_note(const std::string& text) { log_line('#', text); }
  // Nothing moves and nothing was heard from the chip for a while.
  bool idle() const;
  int64_t now_ms() const { return static_cast<int64_t>(avr_->cycle / (avr_->frequency / 1000)); }

  std::function<void(uint8_t)> on_tx;

  // Pin and timer handlers (public for the C callbacks).
  void x_step(bool high);
  void y_step(bool high);
  void punch_pin(bool high);
  void tx_byte(uint8_t b);

 private:
  void crank_event(int what);
  void tick_due();
  void trip(uint64_t at);
  // Notes the X move that just ended: its steps and their period.
  void log_move();
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
  uint64_t move_first_ = 0, last_gap_ = 0;
  int move_pulses_ = 0;
  bool punch_driven_ = false;
  bool turning_ = false;
  int trips_ = 0, holes_ = 0;
  uint64_t trip_at_ = 0;     // the end of the shortest pulse that trips the clutch (0: none)
  uint64_t crank_at_ = 0;    // the turn's start
  int crank_next_ = 7;       // the next event of the turn (7: none)
  int boot_bytes_ = 0, dropped_bytes_ = 0;
  uint8_t inputs_[3] = {};   // the levels set on ports B, C, D
  uint8_t sensed_[3] = {};   // the pins of B, C, D the machine drives (sensors, switch)
  uint64_t next_rx_ = 0, last_activity_ = 0;
  std::string rx_line_, tx_line_;
};

}  // namespace brivel::machinesim
