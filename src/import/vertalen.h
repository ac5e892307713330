// The MIDI decoder: a Standard MIDI File becomes the text event file, one
// line per event, every time in milliseconds by the file's tempo map. A pure
// function: bytes in, the file's bytes out (Windows-1252, CR LF), no I/O.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace brivel {

struct VertalenResult {
  std::string text;                // the text event file, as it goes to disk
  int16_t midi_erreur_code = 0;    // 0 when all went well
  std::string midi_erreur_texte;   // empty when all went well
};

// `chemin_midi` is the path shown in the HEAD line (UTF-8; written in the
// file's code page). `gauge`, if given, is told the progress after each
// refill of the read buffer: the next 1-based read position and the maximum
// (file length + 101).
VertalenResult vertalen(std::string_view midi_bytes, std::string_view chemin_midi,
                        const std::function<void(int64_t value, int64_t max)>& gauge = {});

// The same, handing the text to `sink` in pieces as it is made instead of
// keeping it: memory then stays bound by the input and a small buffer.
// The returned result has an empty text.
VertalenResult vertalen(std::string_view midi_bytes, std::string_view chemin_midi,
                        const std::function<void(std::string_view piece)>& sink,
                        const std::function<void(int64_t value, int64_t max)>& gauge = {});

}  // namespace brivel
