// The recorder of the serial line: the last few hundred frames and replies
// with their tick, kept in memory only. When a fault suspends a run it is
// written beside the automatic context file, so that the operator (or
// whoever he calls) can see what the machine was told and what it answered
// before it stopped.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <string_view>

namespace brivel {

struct TrafficEntry {
  int32_t at_ms = 0;  // the platform's millisecond tick
  char dir = '>';     // '>' written to the board, '<' received, '!' a failure of the line
  std::string text;   // raw bytes, or the French words of a failure
};

class TrafficLog {
 public:
  static constexpr std::size_t kCapacity = 400;

  void add(int32_t at_ms, char dir, std::string_view text) {
    if (entries_.size() == kCapacity) entries_.pop_front();
    entries_.push_back({at_ms, dir, std::string(text)});
  }
  const std::deque<TrafficEntry>& entries() const { return entries_; }
  void clear() { entries_.clear(); }

 private:
  std::deque<TrafficEntry> entries_;
};

}  // namespace brivel
