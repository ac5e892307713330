// MIDI input written as hex text, so that decoder tests read like the byte
// layout: smf("4D 54 68 64 ...").
#pragma once

#include <cctype>
#include <cstdint>
#include <string>

namespace brivel::test {

inline std::string smf(const std::string& hex) {
  std::string out;
  int high = -1;
  for (char c : hex) {
    if (!std::isxdigit(static_cast<unsigned char>(c))) continue;
    int v = std::isdigit(static_cast<unsigned char>(c)) ? c - '0' : (std::toupper(c) - 'A' + 10);
    if (high < 0) {
      high = v;
    } else {
      out.push_back(static_cast<char>(high * 16 + v));
      high = -1;
    }
  }
  return out;
}

// A delta time as hex text, as a variable-length quantity: dt(960) is "87 40 ".
inline std::string dt(uint32_t ticks) {
  static constexpr char kHex[] = "0123456789ABCDEF";
  uint8_t groups[5];
  int n = 0;
  do {
    groups[n++] = ticks & 0x7F;
    ticks >>= 7;
  } while (ticks);
  std::string out;
  while (n) {
    --n;
    const int b = groups[n] | (n ? 0x80 : 0);
    out += kHex[b >> 4];
    out += kHex[b & 15];
    out += ' ';
  }
  return out;
}

// A header chunk: format, track count, division.
inline std::string header(int format, int tracks, int division) {
  std::string h = smf("4D 54 68 64 00 00 00 06");
  for (int v : {format, tracks, division}) {
    h.push_back(static_cast<char>((v >> 8) & 0xFF));
    h.push_back(static_cast<char>(v & 0xFF));
  }
  return h;
}

// A track chunk around the event bytes given in hex (End of Track not added).
inline std::string track(const std::string& events_hex) {
  std::string body = smf(events_hex);
  std::string t = smf("4D 54 72 6B");
  for (int shift : {24, 16, 8, 0}) t.push_back(static_cast<char>((body.size() >> shift) & 0xFF));
  return t + body;
}

}  // namespace brivel::test
