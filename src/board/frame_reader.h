// How the board reads its input: bytes gathered into lines ended by a line
// feed; an empty line is the bare line feed of a dialogue, a line of seven
// characters may be a frame.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace brivel {

struct ParsedFrame {
  std::string code;          // two letters, case as sent ("MX" and "mx" differ)
  std::optional<int> value;  // the five digits; empty for the fixed field "xxxxx"
  bool operator==(const ParsedFrame&) const = default;
};

// A line without its line feed, read as a frame: two letters and either five
// decimal digits or "xxxxx". One carriage return at the end is tolerated, so a
// tester typing in a terminal is understood. Anything else is no frame.
std::optional<ParsedFrame> parse_frame(std::string_view line);

// True for a line that stands for the bare line feed ("" or a lone "\r").
bool is_bare_line_feed(std::string_view line);

// Gathers bytes into lines. A line longer than kMaxLine bytes can never be a
// frame: its tail is dropped so that a stream without line feeds costs no
// memory, and reading starts afresh at the next line feed.
class LineSplitter {
 public:
  static constexpr std::size_t kMaxLine = 64;

  // Complete lines, without their line feed, in order of arrival.
  std::vector<std::string> feed(std::string_view bytes);
  // Forgets a line begun but not ended.
  void clear() { partial_.clear(); }
  bool has_partial() const { return !partial_.empty(); }

 private:
  std::string partial_;
};

}  // namespace brivel
