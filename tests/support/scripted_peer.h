// A stand-in for the board in link tests: answers each frame by a script,
// with "A" to every frame that awaits a reply when nothing else is queued.
#pragma once

#include <deque>
#include <map>
#include <string>
#include <vector>

#include "link/frames.h"
#include "platform/sim/sim_platform.h"

namespace brivel::test {

class ScriptedPeer : public SerialPeer {
 public:
  explicit ScriptedPeer(SimPlatform& p) : p_(p) {}

  // The next frame of `code` gets `reply` instead of the default; an empty
  // reply is silence.
  void queue(const std::string& code, std::string reply) { script_[code].push_back(std::move(reply)); }
  // The characters given after the next bare line feed (a counted reply).
  void after_lf(std::string reply) { after_lf_.push_back(std::move(reply)); }
  // Every frame received, with its line feed; a bare line feed is "\n".
  std::vector<std::string> received;
  int delay_ms = 1;
  bool silent = false;  // answers nothing at all
  std::vector<std::pair<int64_t, bool>> resets;  // (time, lines up)

  void on_bytes(std::string_view bytes, int64_t now) override;
  // Greets the line this long after a reset, as our firmware does once a
  // bootloader lets it start; -1 never (another firmware).
  int greet_after_ms = 1;
  void on_modem_lines(bool dtr, bool rts, int64_t now) override {
    const bool was_up = !resets.empty() && resets.back().second;
    resets.push_back({now, dtr || rts});
    if ((dtr || rts) && !was_up && greet_after_ms >= 0 && !silent)
      p_.deliver(now + greet_after_ms, std::string(kSalutCarte));
  }

 private:
  SimPlatform& p_;
  std::string pending_;
  std::map<std::string, std::deque<std::string>> script_;
  std::deque<std::string> after_lf_;
};

}  // namespace brivel::test
