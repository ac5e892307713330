#include "persistence/files/parameter_file.h"

#include "console/model.h"
#include "core/cp1252.h"
#include "core/numbers.h"
#include "core/run_state.h"

namespace brivel {

namespace {

std::vector<LigneParam> construit_table() {
  using F = FormeParam;
  std::vector<LigneParam> t;
  auto add = [&t](std::string champ, F f) { t.push_back({static_cast<int>(t.size()) + 1, std::move(champ), f}); };
  for (const char* c :
       {"Text3", "Text5", "Text6", "ReferenceX", "VitesseX", "VitesseY", "MaxZ", "TempoZ", "Text_origineX", "nb_PasX",
        "nb_PasY", "PasmotY", "NbpasY", "vitesse", "Poincon", "AdressePort", "NBTouches"})
    add(c, F::Texte);
  add("NBTouches", F::Ignore);  // 18: the count a second time
  add("Text11", F::Texte);
  add("Text12", F::Texte);
  add("Text13", F::Texte);
  for (int k = 1; k <= 55; ++k) {  // 22 to 131
    add("Note(" + std::to_string(k) + ")", F::Texte);
    add("Position(" + std::to_string(k) + ")", F::Texte);
  }
  add("Demipas", F::Nombre);        // 132
  add("reserve_set", F::Nombre32);  // 133
  add("PontY", F::Texte);           // 134
  for (int k = 56; k <= 63; ++k) {  // 135 to 150
    add("Note(" + std::to_string(k) + ")", F::Texte);
    add("Position(" + std::to_string(k) + ")", F::Texte);
  }
  add("Check1", F::Ignore);  // 151
  add("Check2", F::Nombre);
  add("Check3", F::Nombre);
  add("Check4", F::Nombre);
  add("Text16", F::Texte);  // 155
  add("Check5", F::Nombre);
  add("Text17", F::Texte);  // 157
  add("Check6", F::Nombre);
  add("Dist_cartons", F::Texte);
  add("valid_pwm", F::NombreStrict);  // 160
  add("dcycle_pwm", F::Texte);
  add("Check1", F::Nombre);  // 162
  return t;
}

}  // namespace

const std::vector<LigneParam>& table_fichier_parametres() {
  static const std::vector<LigneParam> table = construit_table();
  return table;
}

LectureParametres lit_fichier_parametres(std::string_view octets) {
  LectureParametres r;
  const std::vector<std::string> lignes = split_cp1252_lines(octets);
  for (const LigneParam& lp : table_fichier_parametres()) {
    if (lp.ligne > static_cast<int>(lignes.size())) return r;
    const std::string& texte = lignes[static_cast<size_t>(lp.ligne - 1)];
    AffectationParam a{lp.ligne, lp.champ, lp.forme, {}, 0};
    switch (lp.forme) {
      case FormeParam::Ignore:
        continue;
      case FormeParam::Texte:
        a.texte = texte;
        // assign(1, '6'), not = "6": GCC 12 at -O2 warns of a copy overlapping itself.
        if (lp.champ == "Text17" && a.texte.empty()) a.texte.assign(1, '6');
        break;
      case FormeParam::Nombre: {
        auto n = cint(val(texte));
        if (!n) return r;
        a.nombre = *n;
        break;
      }
      case FormeParam::Nombre32: {
        auto n = clng(val(texte));
        if (!n) return r;
        a.nombre = *n;
        break;
      }
      case FormeParam::NombreStrict: {
        auto v = to_number_strict(texte);
        auto n = v ? cint(*v) : std::nullopt;
        if (!n) return r;
        a.nombre = *n;
        break;
      }
    }
    r.affectations.push_back(std::move(a));
  }
  r.complet = true;
  return r;
}

std::vector<std::string> lignes_parametres(const Model& m, const RunState& s) {
  // Model::find is the one road by name; it does not change the model.
  Model& champs = const_cast<Model&>(m);
  std::vector<std::string> lignes;
  lignes.reserve(table_fichier_parametres().size());
  for (const LigneParam& lp : table_fichier_parametres()) {
    if (lp.champ == "reserve_set") {
      lignes.push_back(str_num(s.reserve_set));
      continue;
    }
    const Element& e = champs.get(lp.champ);
    // The dropped lines are written as their field's twin: line 18 is
    // NBTouches as text, line 151 Check1 as a number.
    const bool nombre = e.kind() == Kind::CheckBox;
    lignes.push_back(nombre ? str_num(e.value()) : e.text());
  }
  return lignes;
}

}  // namespace brivel
