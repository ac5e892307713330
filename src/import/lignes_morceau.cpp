#include "import/lignes_morceau.h"

#include <algorithm>

#include "import/fichier_midi.h"
#include "import/lecture_evenements.h"
#include "import/pas_y.h"
#include "import/vertalen.h"

namespace brivel {

std::optional<std::vector<std::string>> lignes_morceau(const std::string& chemin, const ReglagesImport& r,
                                                       const std::vector<double>* gamme, int32_t compteur_Y) {
  if (refus_fichier_midi(chemin)) return std::nullopt;
  SourceFichier midi(chemin);
  LecteurEvenements lecteur(r, gamme);
  vertalen(midi, chemin, [&lecteur](std::string_view piece) { return lecteur.ajoute(piece); });
  lecteur.fin();
  if (!midi.ouvert() || midi.erreur() || lecteur.trop()) return std::nullopt;
  std::vector<std::string> lignes = std::move(lecteur.resultat().lignes);
  if (lignes.empty()) return std::nullopt;
  // List3 keeps its rows in the order of their bytes.
  std::sort(lignes.begin(), lignes.end());
  ResultatPasY pasy = lignes_pasy(lignes, r.largeur, compteur_Y);
  if (pasy.trop) return std::nullopt;
  lignes.insert(lignes.end(), pasy.lignes.begin(), pasy.lignes.end());
  std::sort(lignes.begin(), lignes.end());
  if (lignes.size() > static_cast<size_t>(kMaxLignes)) return std::nullopt;
  return lignes;
}

}  // namespace brivel
