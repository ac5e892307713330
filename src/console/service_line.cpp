#include "console/service_line.h"

#include <array>

namespace brivel {

bool texte_de_defaut(std::string_view text) {
  // Words that only faults and refusals use; each text of the console that
  // tells of one holds at least one of them.
  static constexpr std::array<std::string_view, 20> kMots = {
      "Erreur",         "erreur",       "Perte d'origine",    "Non réponse",   "Pas de réponse",
      "perdue",         "impossible",   "Impossible",         "refusé",        "inattendue",
      "non connectée",  "illisible",    "non sauvegardé",     "non restitué",  "Résoudre le défaut",
      "non confirmée",  "trop",         "Aucune note",        "ATTENTION",     "endommagé"};
  for (std::string_view mot : kMots)
    if (text.find(mot) != std::string_view::npos) return true;
  return false;
}

}  // namespace brivel
