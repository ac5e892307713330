#include "platform/qt/line_settings.h"

#include <cctype>
#include <string>
#include <vector>

namespace brivel {

namespace {

std::string trimmed(std::string_view s) {
  std::size_t b = 0, e = s.size();
  while (b < e && std::isspace(static_cast<unsigned char>(s[b]))) ++b;
  while (e > b && std::isspace(static_cast<unsigned char>(s[e - 1]))) --e;
  return std::string(s.substr(b, e - b));
}

bool whole_number(const std::string& s, int& out) {
  if (s.empty() || s.size() > 7) return false;
  out = 0;
  for (char c : s) {
    if (c < '0' || c > '9') return false;
    out = out * 10 + (c - '0');
  }
  return true;
}

}  // namespace

std::optional<LineSettings> parse_line_settings(std::string_view text) {
  std::vector<std::string> parts;
  std::size_t pos = 0;
  for (;;) {
    std::size_t comma = text.find(',', pos);
    parts.push_back(trimmed(text.substr(pos, comma == std::string_view::npos ? std::string_view::npos : comma - pos)));
    if (comma == std::string_view::npos) break;
    pos = comma + 1;
  }
  if (parts.size() != 4) return std::nullopt;

  LineSettings ls;
  if (!whole_number(parts[0], ls.baud) || ls.baud <= 0) return std::nullopt;
  if (parts[1].size() != 1) return std::nullopt;
  ls.parity = static_cast<char>(std::tolower(static_cast<unsigned char>(parts[1][0])));
  if (std::string_view("neoms").find(ls.parity) == std::string_view::npos) return std::nullopt;
  if (!whole_number(parts[2], ls.data_bits) || ls.data_bits < 5 || ls.data_bits > 8) return std::nullopt;
  if (parts[3] == "1")
    ls.stop_halves = 2;
  else if (parts[3] == "1.5")
    ls.stop_halves = 3;
  else if (parts[3] == "2")
    ls.stop_halves = 4;
  else
    return std::nullopt;
  return ls;
}

}  // namespace brivel
