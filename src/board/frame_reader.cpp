#include "board/frame_reader.h"

namespace brivel {

namespace {

bool is_letter(char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }
bool is_digit(char c) { return c >= '0' && c <= '9'; }

std::string_view without_cr(std::string_view line) {
  if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
  return line;
}

}  // namespace

std::optional<ParsedFrame> parse_frame(std::string_view line) {
  line = without_cr(line);
  if (line.size() != 7 || !is_letter(line[0]) || !is_letter(line[1])) return std::nullopt;
  std::string_view field = line.substr(2);
  ParsedFrame f{std::string(line.substr(0, 2)), std::nullopt};
  if (field == "xxxxx") return f;
  int v = 0;
  for (char c : field) {
    if (!is_digit(c)) return std::nullopt;
    v = v * 10 + (c - '0');
  }
  f.value = v;
  return f;
}

bool is_bare_line_feed(std::string_view line) { return without_cr(line).empty(); }

std::vector<std::string> LineSplitter::feed(std::string_view bytes) {
  std::vector<std::string> lines;
  for (char ch : bytes) {
    if (ch == '\n') {
      lines.push_back(std::move(partial_));
      partial_.clear();
    } else if (partial_.size() < kMaxLine) {
      partial_.push_back(ch);
    }
  }
  return lines;
}

}  // namespace brivel
