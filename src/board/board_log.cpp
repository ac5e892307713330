#include "board/board_log.h"

namespace brivel {

std::string escape_bytes(std::string_view bytes) {
  static const char kHex[] = "0123456789ABCDEF";
  std::string s;
  s.reserve(bytes.size());
  for (char ch : bytes) {
    const auto b = static_cast<unsigned char>(ch);
    if (b == '\n') {
      s += "<LF>";
    } else if (b == '\r') {
      s += "<CR>";
    } else if (b >= 0x20 && b < 0x7F && b != '<') {
      s.push_back(ch);
    } else {
      s += "<x";
      s.push_back(kHex[b >> 4]);
      s.push_back(kHex[b & 0xF]);
      s.push_back('>');
    }
  }
  return s;
}

std::string format_log_entry(const BoardLogEntry& e) {
  return std::to_string(e.at_ms) + ' ' + e.dir + ' ' + escape_bytes(e.text) + '\n';
}

}  // namespace brivel
