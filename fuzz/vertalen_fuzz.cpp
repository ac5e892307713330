// Fuzz target of the MIDI decoder: any bytes must convert or stop with a
// code, never crash, hang or read out of bounds. A conversion without a stop
// ends with the ENDF line, and the text handed out in pieces is the same as
// the text kept whole.
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "import/vertalen.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view midi(reinterpret_cast<const char*>(data), size);
  int64_t last = 0, max = 0;
  auto r = brivel::vertalen(midi, "fuzz.mid", [&](int64_t value, int64_t m) {
    if (value < last || value > m) __builtin_trap();  // the gauge only moves on, within its maximum
    last = value;
    max = m;
  });
  if (r.midi_erreur_code == 0 && r.text.size() < 14) __builtin_trap();
  if (r.midi_erreur_code == 0 && r.text.compare(r.text.size() - 14, 14, "ENDF 9999999\r\n") != 0) __builtin_trap();
  if (r.midi_erreur_code != 0 && r.midi_erreur_texte.empty()) __builtin_trap();
  std::string pieces;
  auto s = brivel::vertalen(midi, "fuzz.mid", [&](std::string_view p) {
    pieces += p;
    return true;
  });
  if (pieces != r.text || s.midi_erreur_code != r.midi_erreur_code) __builtin_trap();
  (void)max;
  return 0;
}
