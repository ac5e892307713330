// Our model of the controller board's firmware, as the serial line sees it.
//
// It takes the bytes the program writes, keeps the parameters it was sent,
// moves virtual X and Y axes (in motor steps) with durations from the step
// durations, runs punch cycles and origin searches, keeps four sensors and a
// 1 KiB EEPROM, and answers with the replies of the protocol. Every confirmed
// hole is recorded. A fault script makes it misbehave on cue.
//
// It knows no clock of its own: the caller gives the time of each input and
// gets back each reply with the time at which it is to go out. The in-process
// simulated platform and the pseudo-terminal simulator both drive it.
//
// What this firmware does where the protocol leaves it free:
// - X counts in the unit of its code: one count per step the motor makes,
//   full steps for "MX"/"Mx", half steps for "mX"/"mx", with no conversion,
//   so that the hole positions read like the program's X counter in either
//   mode. A step takes "PX" microseconds in both modes.
// - "ORxxxxx"/"oRxxxxx": the head runs back to its switch and out to the
//   card's edge; X is then the "OX" value. The reply is "D" and, after the
//   bare line feed, the distance to the switch in five digits (what the
//   program shows after "RAZ").
// - Times: instant mode answers 1 ms after the frame (or after the previous
//   reply). Realistic mode takes steps times "PX"/"PY" microseconds, the
//   punch cycle "IZ" plus "MZ" milliseconds, the origin search its whole
//   distance; everything else 1 ms.
// - A number code with the field "xxxxx" reads it as 0; a fixed code ignores
//   digits. Lines that are no frame (wrong length, sign, sixth digit) are
//   logged and dropped; so are unknown codes. A frame that comes while a
//   dialogue waits for its line feed ends that dialogue (logged).
// - "My" + number feeds the card back by that many Y steps (the console
//   sends it to undo a feed made by hand in a pause); "A", or "B" as "MY".
// - "rd": the address wraps at 1 KiB; "wr" stores the value's low byte at
//   the address last read. The EEPROM starts filled with zeros.
// - "ZXxxxxx" frees the board and drops a held count; replies already
//   handed to the caller are the caller's.
#pragma once

#include <array>
#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "board/frame_reader.h"

namespace brivel {

// What the firmware writes after every reset: ESC, "BRIVEL", line feed.
inline constexpr std::string_view kGreeting = "\x1b" "BRIVEL\n";
// The shortest step the firmware drives (microseconds): a shorter "PX" or
// "PY" is ignored.
inline constexpr int kStepUsMin = 20;

struct BoardOutput {
  int64_t at_ms = 0;     // virtual time at which the bytes go out
  std::string bytes;
};

struct Hole {
  int32_t x_steps = 0;   // head position, X motor steps from the origin point
  int64_t y_steps = 0;   // card feed, Y motor steps since power-on
  int64_t at_ms = 0;
  bool operator==(const Hole&) const = default;
};

struct BoardLogEntry {
  int64_t at_ms = 0;
  char dir = '>';        // '>' from the program, '<' from the board, '*' a hole,
                         // '#' a note of the board ("reset", "rule B MY 2", ...)
  std::string text;      // the frame or reply bytes, or a hole "X=.. Y=.."
};

// What the n-th frame of a kind (1-based, counted since the model was made,
// through firmware restarts) gets instead of its normal reply. "B" and "C"
// and silence: the command is not carried out (no move, no hole, no write).
// LoseSteps: the command is carried out, "D" goes back, then the count after
// the program's bare line feed; an X or Y move falls short by the count, an
// origin search reports the count in place of the distance it measured. A
// LoseSteps rule with a negative count stands for a plain "A" (script verb
// "A"): the work is done and no count follows, which for an origin search is
// the reply without a measurement.
struct FaultRule {
  std::string code;        // two-letter code ("MY", "MX", "CZ", "ON", ...)
  int nth = 1;             // which one of them
  enum class Kind { ReplyB, ReplyC, LoseSteps, Silence } kind = Kind::ReplyB;
  int lost_steps = 0;      // for LoseSteps: the count given after "D"
};

struct BoardOptions {
  bool instant = true;     // true: every reply 1 ms after its frame
  int refuse_on = 0;       // answer "B" to the first n "ONxxxxx"
  std::vector<FaultRule> faults;
};

// The operation a frame code stands for, as fault rules count it: the four
// X moves (MX, mX, Mx, mx) are one, "MX"; so are the two origin searches
// ("OR") and the two punch cycles ("CZ"), whatever step mode or cycle the
// console chose. Any other code stands for itself.
std::string fault_class(const std::string& code);

// Parses a fault script, one rule per line:  "B MY 3", "C CZ 2",
// "D MX 5 12" (12 steps lost on the 5th X move), "silence CZ 4",
// "refuse ON 2", "A OR 1"; "#" starts a comment. Verbs are read without
// regard to case, codes with it; a code must be one the board answers (X
// moves, MY, CZ/cZ, OR/oR, ON, VD, rd, wr). Empty on a mistake, with a French
// message naming the line in `error`.
std::optional<BoardOptions> parse_fault_script(std::string_view text, std::string* error);

class BoardModel {
 public:
  explicit BoardModel(BoardOptions options = {});

  // Bytes from the program, arriving at `now_ms`. Returns the replies.
  std::vector<BoardOutput> receive(std::string_view bytes, int64_t now_ms);

  // The reset pulse on the modem lines: the firmware restarts. Parameters and
  // the working sequence go back to power-on values; the axes, the hole log
  // and the EEPROM stay. Returns the greeting the firmware writes once it
  // has started, 1 ms later.
  BoardOutput reset(int64_t now_ms);

  const std::vector<Hole>& holes() const { return holes_; }
  const std::vector<BoardLogEntry>& log() const { return log_; }

  // Parameters as last received, by code ("PX", "PY", "OX", "IZ", "MZ",
  // "PW"); "CP" is 1 in two-sensor mode; "Pw" holds no entry once chopping is off.
  const std::map<std::string, int>& parameters() const { return params_; }
  bool in_working_sequence() const { return working_; }
  // X in the unit of the frames (see above), 0 at the origin point.
  int32_t x_position() const { return x_; }
  int64_t y_position() const { return y_; }
  int resets() const { return resets_; }

  // Sensors: true means unmasked ("O" in the detector reply), in the order
  // punch low, punch high, linear, rotary, spare.
  void set_sensor(int index, bool unmasked);
  std::array<uint8_t, 1024>& eeprom() { return eeprom_; }

 private:
  // What a frame leads to, before the fault script has its say.
  struct Answer {
    int64_t after_ms = 1;              // time of the work, once the board is free
    std::string bytes;                 // the single reply; empty: none
    std::optional<std::string> held;   // five characters held back until the bare line feed
    bool closing_lf = false;           // after the held count, one more line feed is taken
    bool read_lf = false;              // an EEPROM read: the program's line feed follows
    bool hole = false;                 // a punch cycle: a hole once "A" goes out
  };
  // The state of a dialogue that spans more than one line.
  enum class Dialogue { None, CountOnLf, ClosingLf, ReadLf };

  void on_line(const std::string& line, int64_t now, std::vector<BoardOutput>& out);
  void on_bare_lf(int64_t now, std::vector<BoardOutput>& out);
  void on_frame(const std::string& code, std::optional<int> value, int64_t now,
                std::vector<BoardOutput>& out);
  // Carries the command out and tells what a board without faults answers.
  Answer carry_out(const std::string& code, int value, int lost_steps);
  int64_t work_ms(const std::string& code, int value) const;
  // Queues `bytes` `after_ms` after the board is free, and keeps it busy until then.
  int64_t send(int64_t now, int64_t after_ms, const std::string& bytes, std::vector<BoardOutput>& out);
  void note(int64_t at, std::string text) { log_.push_back({at, '#', std::move(text)}); }
  const FaultRule* fault_for(const std::string& code);
  int param(const char* code) const;

  BoardOptions options_;
  std::vector<Hole> holes_;
  std::vector<BoardLogEntry> log_;
  std::map<std::string, int> params_;
  std::map<std::string, int> frame_counts_;
  std::array<uint8_t, 1024> eeprom_{};
  std::array<bool, 5> sensors_{};
  LineSplitter lines_;         // bytes of a line not yet ended
  bool working_ = false;
  int32_t x_ = 0;
  int64_t y_ = 0;
  int resets_ = 0;
  int on_refused_ = 0;
  int64_t busy_until_ = 0;     // the board answers one command at a time
  int eeprom_address_ = 0;
  Dialogue dialogue_ = Dialogue::None;
  std::string held_;           // the count of a CountOnLf dialogue
  bool held_closing_lf_ = false;
};

}  // namespace brivel
