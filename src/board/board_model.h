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
#pragma once

#include <array>
#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace brivel {

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
  char dir = '>';        // '>' from the program, '<' from the board, '*' a hole
  std::string text;      // the frame or reply bytes, or a hole "X=.. Y=.."
};

// What the n-th frame of a kind (1-based, counted since the board started)
// gets instead of its normal reply.
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

// Parses a fault script, one rule per line:  "B MY 3", "C CZ 2",
// "D MX 5 12" (12 steps lost on the 5th X move), "silence CZ 4",
// "refuse ON 2"; "#" starts a comment. Empty on a syntax error, with the
// line in `error`.
std::optional<BoardOptions> parse_fault_script(std::string_view text, std::string* error);

class BoardModel {
 public:
  explicit BoardModel(BoardOptions options = {});

  // Bytes from the program, arriving at `now_ms`. Returns the replies.
  std::vector<BoardOutput> receive(std::string_view bytes, int64_t now_ms);

  // The reset pulse on the modem lines: the firmware restarts. Parameters and
  // the working sequence go back to power-on values; the axes, the hole log
  // and the EEPROM stay.
  void reset(int64_t now_ms);

  const std::vector<Hole>& holes() const { return holes_; }
  const std::vector<BoardLogEntry>& log() const { return log_; }

  // Parameters as last received, by code ("PX", "PY", "OX", "IZ", "MZ",
  // "PW"); "CP" is 1 in two-sensor mode; "Pw" holds no entry once chopping is off.
  const std::map<std::string, int>& parameters() const { return params_; }
  bool in_working_sequence() const { return working_; }
  int32_t x_position() const { return x_; }
  int64_t y_position() const { return y_; }
  int resets() const { return resets_; }

  // Sensors: true means unmasked ("O" in the detector reply), in the order
  // punch low, punch high, linear, rotary, spare.
  void set_sensor(int index, bool unmasked);
  std::array<uint8_t, 1024>& eeprom() { return eeprom_; }

 private:
  void handle_line(const std::string& line, int64_t now, std::vector<BoardOutput>& out);
  void handle_frame(const std::string& code, int value, int64_t now, std::vector<BoardOutput>& out);
  // Queues a reply `duration_ms` after the board is free, and keeps it busy.
  void reply_after(int64_t now, int64_t duration_ms, const std::string& bytes, std::vector<BoardOutput>& out);
  void log(int64_t at, char dir, std::string text) { log_.push_back({at, dir, std::move(text)}); }
  const FaultRule* fault_for(const std::string& code);
  int64_t duration(double steps, const char* step_param) const;

  BoardOptions options_;
  std::vector<Hole> holes_;
  std::vector<BoardLogEntry> log_;
  std::map<std::string, int> params_;
  std::map<std::string, int> frame_counts_;
  std::array<uint8_t, 1024> eeprom_{};
  std::array<bool, 5> sensors_{};
  std::string pending_;        // bytes of a frame not yet complete
  bool working_ = false;
  int32_t x_ = 0;
  int64_t y_ = 0;
  int resets_ = 0;
  int on_refused_ = 0;
  int64_t busy_until_ = 0;     // the board answers one command at a time
  int eeprom_address_ = 0;
  // A counted reply waits for the program's bare line feed; after the
  // dialogue of a "D" (and after an EEPROM read) the board takes one more.
  std::optional<std::string> held_count_;
  bool held_needs_closing_lf_ = false;
  bool awaiting_closing_lf_ = false;
};

}  // namespace brivel
