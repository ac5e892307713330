#include "persistence/refus_parametres.h"

#include "console/model.h"
#include "core/cp1252.h"
#include "core/numbers.h"
#include "link/frames.h"
#include "persistence/files/parameter_file.h"

namespace brivel {

namespace {

// The text begins with a number, as the numeric prefix reads one.
bool commence_par_un_nombre(std::string_view t) {
  std::size_t i = t.find_first_not_of(" \t");
  if (i == std::string_view::npos) return false;
  if (t[i] == '+' || t[i] == '-') ++i;
  if (i < t.size() && t[i] == '.') ++i;
  return i < t.size() && t[i] >= '0' && t[i] <= '9';
}

std::string legende(const Model& m, const std::string& champ) {
  for (const char* indexe : {"Note", "Position"}) {
    const std::string debut = std::string(indexe) + "(";
    if (champ.rfind(debut, 0) == 0) return indexe + (" " + champ.substr(debut.size(), champ.size() - debut.size() - 1));
  }
  if (champ == "reserve_set") return "réserve";
  const Element& e = const_cast<Model&>(m).get(champ);
  return e.label().empty() ? e.tooltip() : e.label();
}

enum class Regle { Nombre, NonNul, DureePas, NombreNotes };

Regle regle_de(const std::string& champ) {
  if (champ == "VitesseX" || champ == "VitesseY") return Regle::DureePas;
  // What the positions, the steps and the time of a step are divided by.
  if (champ == "vitesse" || champ == "PasmotY" || champ == "NbpasY" || champ == "Text11") return Regle::NonNul;
  if (champ == "NBTouches") return Regle::NombreNotes;
  return Regle::Nombre;
}

}  // namespace

std::optional<std::string> refus_fichier_parametres(const Model& m, std::string_view octets) {
  std::vector<std::string> lignes = split_cp1252_lines(octets);
  // The empty line that ends a file is no line of the format.
  if (!lignes.empty() && lignes.back().empty()) lignes.pop_back();
  const auto& table = table_fichier_parametres();
  int notes = Model::kNotes;
  for (const LigneParam& lp : table) {
    const auto quoi = [&] { return "ligne " + std::to_string(lp.ligne) + " (" + legende(m, lp.champ) + ") : "; };
    if (lp.ligne > static_cast<int>(lignes.size()))
      return quoi() + "absente, le fichier s'arrête à la ligne " + std::to_string(lignes.size()) + " sur " +
             std::to_string(table.size());
    if (lp.forme == FormeParam::Ignore) continue;
    const std::string& texte = lignes[static_cast<size_t>(lp.ligne - 1)];
    const bool note = lp.champ.rfind("Note(", 0) == 0 || lp.champ.rfind("Position(", 0) == 0;
    // Rows beyond the instrument's notes are never used.
    if (note && std::stoi(lp.champ.substr(lp.champ.find('(') + 1)) > notes) continue;
    if (lp.champ == "Text17" && texte.empty()) continue;  // read as 6
    const std::string valeur = "« " + visible_bytes(texte) + " »";
    if (!commence_par_un_nombre(texte)) return quoi() + valeur + " n'est pas un nombre";
    const double v = val(texte);
    // A decimal comma reads the number short: say how it was read.
    const std::string lu = texte.find(',') != std::string::npos ? valeur + " est lu " + str_plain(v) : valeur;
    const std::string virgule = lu != valeur ? " : le séparateur décimal est le point" : "";
    switch (regle_de(lp.champ)) {
      case Regle::Nombre:
        break;
      case Regle::NonNul:
        if (v <= 0) return quoi() + lu + (virgule.empty() ? " : la valeur doit être supérieure à 0" : virgule);
        break;
      case Regle::DureePas:
        if (v < kPasMinUs || v > kPasMaxUs)
          return quoi() + lu + " µs : la carte fait un pas en " + std::to_string(kPasMinUs) + " à " +
                 std::to_string(kPasMaxUs) + " µs" + (virgule.empty() ? "" : " (le séparateur décimal est le point)");
        break;
      case Regle::NombreNotes:
        if (v < 1 || v > Model::kNotes)
          return quoi() + lu + " : l'instrument a de 1 à " + std::to_string(Model::kNotes) + " notes";
        notes = static_cast<int>(v);
        break;
    }
  }
  return std::nullopt;
}

}  // namespace brivel
