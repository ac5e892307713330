#include "support/scripted_peer.h"

#include <set>

namespace brivel::test {

void ScriptedPeer::on_bytes(std::string_view bytes, int64_t now) {
  static const std::set<std::string> awaited = {"MX", "mX", "Mx", "mx", "MY", "CZ", "cZ", "OR", "oR", "ON", "wr"};
  pending_ += bytes;
  std::size_t lf;
  while ((lf = pending_.find('\n')) != std::string::npos) {
    std::string frame = pending_.substr(0, lf + 1);
    pending_.erase(0, lf + 1);
    received.push_back(frame);
    if (silent) continue;
    std::string reply;
    if (frame == "\n") {
      if (after_lf_.empty()) continue;
      reply = after_lf_.front();
      after_lf_.pop_front();
    } else {
      const std::string code = frame.substr(0, 2);
      auto it = script_.find(code);
      if (it != script_.end() && !it->second.empty()) {
        reply = it->second.front();
        it->second.pop_front();
      } else if (awaited.count(code)) {
        reply = "A";
      }
    }
    if (!reply.empty()) p_.deliver(now + delay_ms, reply);
  }
}

}  // namespace brivel::test
