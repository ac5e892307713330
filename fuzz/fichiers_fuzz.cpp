// Fuzz target of the readers of parameter files (.set) and context files
// (.sav): any bytes must read, stop quietly or be refused with a reason,
// never crash, hang or read out of bounds. The first byte chooses the
// reader and, for a context, the number of notes in use (0 to 63).
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "persistence/files/context_file.h"
#include "persistence/files/parameter_file.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  const std::string_view octets(reinterpret_cast<const char*>(data) + 1, size - 1);
  if (data[0] & 0x80) {
    const auto p = brivel::lit_fichier_parametres(octets);
    // A line is assigned once at the most, in file order.
    int avant = 0;
    for (const auto& a : p.affectations) {
      if (a.ligne <= avant || a.ligne > 162) __builtin_trap();
      avant = a.ligne;
    }
    return 0;
  }
  const int n = data[0] % 64;
  const auto c = brivel::lit_contexte(octets, n);
  if (c.erreur.empty()) {
    // A context read whole holds what its counts promise.
    if (static_cast<int>(c.notes.size()) != n) __builtin_trap();
    if (c.rang_fichier < 0 || c.fichiers_restants < 0) __builtin_trap();
  }
  (void)brivel::premiere_ligne(octets);
  return 0;
}
