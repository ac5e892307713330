// Small inputs of the import tests: hand-written text event files and tiny
// MIDI files built byte by byte.
#pragma once

#include <filesystem>
#include <fstream>
#include <string>

#include "import/vertalen.h"

namespace brivel::test {

// A NOTE line of the text event file: start and duration in ms, key.
inline std::string note_line(int start_ms, int key, int duration_ms) {
  char buf[80];
  std::snprintf(buf, sizeof buf, "NOTE %07d 000000 00001 %05d %05d 00100 C3\r\n", start_ms, key, duration_ms);
  return buf;
}

// Format 0, division 480, one track: key 60 on at tick 0, off at tick 480
// (500 ms at the default tempo). Without its End of Track the file ends
// inside the track.
inline std::string tiny_midi(bool complete = true) {
  std::string track = std::string("\x00\x90\x3C\x64", 4) + std::string("\x83\x60\x80\x3C\x40", 5);
  if (complete) track += std::string("\x00\xFF\x2F\x00", 4);
  std::string len = {0, 0, 0, static_cast<char>(track.size())};
  return std::string("MThd\x00\x00\x00\x06\x00\x00\x00\x01\x01\xE0", 14) + "MTrk" + len + track;
}

inline void write_file(const std::string& path, const std::string& bytes) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out << bytes;
}

}  // namespace brivel::test
