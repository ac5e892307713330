#include "import/lecture_evenements.h"

#include <algorithm>

#include "core/cp1252.h"
#include "core/numbers.h"
#include "import/pas_y.h"

namespace brivel {

LectureEvenements lit_evenements(std::string_view octets, const ReglagesImport& r, const std::vector<double>* gamme,
                                 int deja) {
  LectureEvenements l;
  for (const std::string& ligne : split_cp1252_lines(octets)) {
    if (ligne.compare(0, 4, "HEAD") == 0) l.head = true;
    auto note = lit_ligne_note(ligne);
    if (note) {
      if (gamme) {
        const double cle = val(note->cle);
        if (std::find(gamme->begin(), gamme->end(), cle) == gamme->end() && l.nb_hors_gamme < INT16_MAX)
          ++l.nb_hors_gamme;
      }
      lignes_note(*note, r, l.lignes);
    }
    if (deja + static_cast<int>(l.lignes.size()) > kMaxLignes) {
      l.trop = true;
      break;
    }
  }
  return l;
}

}  // namespace brivel
