#include "core/cp1252.h"

#include <cstdint>
#include <cstdio>

namespace brivel {

namespace {

// Code points of bytes 0x80..0x9F; 0 where the code page has no character.
constexpr uint16_t kHigh[32] = {
    0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
    0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0,      0x017D, 0,
    0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
    0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178};

void put_utf8(std::string& out, uint32_t cp) {
  if (cp < 0x80) {
    out.push_back(static_cast<char>(cp));
  } else if (cp < 0x800) {
    out.push_back(static_cast<char>(0xC0 | (cp >> 6)));
    out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
  } else {
    out.push_back(static_cast<char>(0xE0 | (cp >> 12)));
    out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
  }
}

int from_code_point(uint32_t cp) {
  if (cp < 0x80 || (cp >= 0xA0 && cp <= 0xFF)) return static_cast<int>(cp);
  for (int i = 0; i < 32; ++i)
    if (kHigh[i] != 0 && kHigh[i] == cp) return 0x80 + i;
  return '?';
}

}  // namespace

std::string utf8_to_cp1252(std::string_view s) {
  std::string out;
  out.reserve(s.size());
  for (std::size_t i = 0; i < s.size();) {
    auto b = static_cast<unsigned char>(s[i]);
    int len = b < 0x80 ? 1 : (b >> 5) == 0x6 ? 2 : (b >> 4) == 0xE ? 3 : (b >> 3) == 0x1E ? 4 : 0;
    bool ok = len > 0 && i + len <= s.size();
    for (int k = 1; ok && k < len; ++k) ok = (static_cast<unsigned char>(s[i + k]) & 0xC0) == 0x80;
    if (!ok) {  // not UTF-8: keep the byte as it is
      out.push_back(static_cast<char>(b));
      ++i;
      continue;
    }
    uint32_t cp = len == 1 ? b : len == 2 ? (b & 0x1F) : len == 3 ? (b & 0x0F) : (b & 0x07);
    for (int k = 1; k < len; ++k) cp = (cp << 6) | (static_cast<unsigned char>(s[i + k]) & 0x3F);
    out.push_back(static_cast<char>(from_code_point(cp)));
    i += len;
  }
  return out;
}

std::string cp1252_to_utf8(std::string_view bytes) {
  std::string out;
  out.reserve(bytes.size() + bytes.size() / 8);
  for (char c : bytes) {
    auto b = static_cast<unsigned char>(c);
    if (b < 0x80)
      out.push_back(c);
    else if (b < 0xA0)
      put_utf8(out, kHigh[b - 0x80] ? kHigh[b - 0x80] : 0xFFFD);
    else
      put_utf8(out, b);
  }
  return out;
}

std::vector<std::string> split_cp1252_lines(std::string_view bytes) {
  std::vector<std::string> lines;
  std::size_t start = 0;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    if (bytes[i] == '\r' || bytes[i] == '\n') {
      lines.push_back(cp1252_to_utf8(bytes.substr(start, i - start)));
      if (bytes[i] == '\r' && i + 1 < bytes.size() && bytes[i + 1] == '\n') ++i;
      start = i + 1;
    }
  }
  if (start < bytes.size()) lines.push_back(cp1252_to_utf8(bytes.substr(start)));
  return lines;
}

std::string visible_bytes(std::string_view text) {
  std::string out;
  for (const unsigned char ch : text) {
    if (ch == '\n') {
      out += "<LF>";
    } else if (ch == '\r') {
      out += "<CR>";
    } else if (ch < 0x20 || ch == 0x7f) {
      char buf[8];
      std::snprintf(buf, sizeof buf, "<%02X>", ch);
      out += buf;
    } else {
      out += static_cast<char>(ch);
    }
  }
  return out;
}

}  // namespace brivel
