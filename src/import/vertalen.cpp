#include "import/vertalen.h"

namespace brivel {

VertalenResult vertalen(std::string_view, std::string_view, const std::function<void(int64_t, int64_t)>&) {
  VertalenResult r;
  r.midi_erreur_code = 5;
  r.midi_erreur_texte = "Midifile corrupt: header MThd not in file.";
  return r;
}

}  // namespace brivel
