#include "import/midi_erreurs.h"

namespace brivel {

namespace {

const char* texte_seul(int16_t code) {
  switch (code) {
    case kMidiFinInattendue:
      return "*** Midifile corrupt, unexpected EOF.";
    case kMidiDeltaInvalide:
      return "Midifile corrupt, deltatime invalid format.";
    case kMidiStatutCourant:
      return "Midifile corrupt, running status error. ";
    case kMidiSansMThd:
      return "Midifile corrupt: header MThd not in file.";
    case kMidiSansMTrk:
      return "Midifile corrupt, header MTrk not in file.";
    case kMidiTropDeTempos:
      return "More than 999 tempochanges. cannot continue processinf.";
    case kMidiDivisionSmpte:
      return "Fichier Midi refusé : sa division temporelle est en images par seconde (SMPTE) ; "
             "seules les divisions en tops par noire sont lues.";
    case kMidiEnTeteTropGrand:
      return "Fichier Midi refusé : son en-tête annonce un format ou un nombre de pistes au-delà de 32767.";
    case kMidiDivisionNulle:
      return "Fichier Midi refusé : sa division temporelle vaut 0 top par noire.";
    default:
      return "";
  }
}

}  // namespace

std::string texte_arret_midi(const ArretMidi& a, int64_t lieu) {
  std::string t = texte_seul(a.code);
  if (a.avec_lieu) {
    static constexpr char kHex[] = "0123456789ABCDEF";
    char buf[17];
    int n = 0;
    uint64_t v = lieu < 0 ? 0 : static_cast<uint64_t>(lieu);
    do {
      buf[n++] = kHex[v % 16];
      v /= 16;
    } while (v > 0);
    t += "\r\n    Events processed until loc hex: ";
    while (n) t += buf[--n];
  }
  return t;
}

}  // namespace brivel
