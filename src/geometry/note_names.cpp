#include "geometry/note_names.h"

namespace brivel {

namespace {
const char* const kFrancais[12] = {"Do", "Do#", "Ré", "Ré#", "Mi", "Fa", "Fa#", "Sol", "Sol#", "La", "La#", "Si"};
const char* const kLettres[12] = {"C", "C#", "D", "D#", "E", "F", "F#", "G", "G#", "A", "A#", "B"};
}  // namespace

std::array<std::string, 128> table_noms_notes(bool francais) {
  std::array<std::string, 128> t;
  for (int classe = 0; classe < 12; ++classe)
    for (int i = classe; i <= 108 + classe; i += 12) t[i] = francais ? kFrancais[classe] : kLettres[classe];
  return t;
}

void charge_noms_notes(Context& c) { c.s.noms_notes = table_noms_notes(c.m.Check3.value() == 1); }

void Check3_Click(Context& c) {
  c.m.Check3.set_text(c.m.Check3.value() == 1 ? "Do Ré Mi " : "  A B C ");
  charge_noms_notes(c);
}

std::string nom_et_octave(const std::string& nom, int note, bool francais) {
  if (nom.empty()) return nom;
  return nom + std::to_string(note / 12 - (francais ? 2 : 1));
}

}  // namespace brivel
