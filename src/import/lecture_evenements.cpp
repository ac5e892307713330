#include "import/lecture_evenements.h"

#include <algorithm>
#include <cstdio>

#include "core/cp1252.h"
#include "core/numbers.h"
#include "import/pas_y.h"

namespace brivel {

bool LecteurEvenements::ajoute(std::string_view m) {
  std::size_t i = 0;
  if (cr_en_suspens_ && !m.empty()) {
    cr_en_suspens_ = false;
    if (m[0] == '\n') i = 1;
  }
  while (i < m.size() && !l_.trop) {
    const std::size_t j = m.find_first_of("\r\n", i);
    if (j == std::string_view::npos) {
      reste_.append(m.substr(i));
      break;
    }
    if (reste_.empty()) {
      ligne(m.substr(i, j - i));
    } else {
      reste_.append(m.substr(i, j - i));
      ligne(reste_);
      reste_.clear();
    }
    i = j + 1;
    if (m[j] == '\r') {
      if (i == m.size())
        cr_en_suspens_ = true;
      else if (m[i] == '\n')
        ++i;
    }
  }
  return !l_.trop;
}

void LecteurEvenements::fin() {
  if (!reste_.empty() && !l_.trop) ligne(reste_);
  reste_.clear();
}

void LecteurEvenements::ligne(std::string_view octets) {
  if (octets.substr(0, 4) == "HEAD") l_.head = true;
  if (octets.substr(0, 4) != "NOTE") return;  // every other line is read and dropped
  auto note = lit_ligne_note(cp1252_to_utf8(octets));
  if (!note) return;
  if (r_.transposition != 0) {
    char cle[8];
    std::snprintf(cle, sizeof cle, "%05d", std::clamp(static_cast<int>(val(note->cle)) + r_.transposition, 0, 127));
    note->cle = cle;
  }
  if (gamme_) {
    const double cle = val(note->cle);
    if (std::find(gamme_->begin(), gamme_->end(), cle) == gamme_->end() && l_.nb_hors_gamme < INT16_MAX)
      ++l_.nb_hors_gamme;
  }
  lignes_note(*note, r_, l_.lignes);
  if (deja_ + static_cast<int>(l_.lignes.size()) > kMaxLignes) l_.trop = true;
}

LectureEvenements lit_evenements(std::string_view octets, const ReglagesImport& r, const std::vector<double>* gamme,
                                 int deja) {
  LecteurEvenements lecteur(r, gamme, deja);
  lecteur.ajoute(octets);
  lecteur.fin();
  return std::move(lecteur.resultat());
}

}  // namespace brivel
