// The MIDI decoder: a Standard MIDI File becomes the text event file, one
// line per event, every time in milliseconds by the file's tempo map. A pure
// function: bytes in, the file's bytes out (Windows-1252, CR LF), no I/O.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "import/midi_lecture.h"

namespace brivel {

struct VertalenResult {
  std::string text;               // the text event file, as it goes to disk
  int16_t midi_erreur_code = 0;   // 0 when all went well
  std::string midi_erreur_texte;  // empty when all went well
  int64_t notes_sans_fin = 0;     // notes still open at their track's end, dropped without a line
  bool interrompu = false;        // the sink asked for no more text: the file is cut short
  // The stop came behind a whole track, looking for one more (a header that
  // counts more tracks than the file holds): every note read is complete.
  bool apres_les_pistes = false;
};

// `chemin_midi` is the path shown in the HEAD line (UTF-8; written in the
// file's code page). `gauge`, if given, is told the progress after each
// refill of the read buffer: the next 1-based read position and the maximum
// (file length + 101).
VertalenResult vertalen(std::string_view midi_bytes, std::string_view chemin_midi,
                        const std::function<void(int64_t value, int64_t max)>& gauge = {});

// The same, handing the text to `sink` in pieces as it is made instead of
// keeping it: memory then stays bound by a small buffer. A sink that
// returns false stops the conversion there (`interrompu`). The returned
// result has an empty text.
VertalenResult vertalen(std::string_view midi_bytes, std::string_view chemin_midi,
                        const std::function<bool(std::string_view piece)>& sink,
                        const std::function<void(int64_t value, int64_t max)>& gauge = {});

// The same over a source that reads the file as it goes (SourceFichier).
VertalenResult vertalen(SourceMidi& midi, std::string_view chemin_midi,
                        const std::function<bool(std::string_view piece)>& sink,
                        const std::function<void(int64_t value, int64_t max)>& gauge = {});

}  // namespace brivel
