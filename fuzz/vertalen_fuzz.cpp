// Fuzz target of the MIDI decoder: any bytes must convert or stop with a
// code, never crash, hang or read out of bounds.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "import/vertalen.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  int64_t last = 0;
  auto r = brivel::vertalen(std::string_view(reinterpret_cast<const char*>(data), size), "fuzz.mid",
                            [&](int64_t value, int64_t) { last = value; });
  if (r.midi_erreur_code == 0 && r.text.find("ENDF 9999999") == std::string::npos) __builtin_trap();
  return 0;
}
