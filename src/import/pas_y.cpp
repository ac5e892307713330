#include "import/pas_y.h"

#include <string_view>

#include "core/numbers.h"
#include "import/quantisation.h"

namespace brivel {

namespace {
int32_t pas_de(const std::string& ligne) { return static_cast<int32_t>(val(std::string_view(ligne).substr(0, 7))); }

std::string_view mot_cle(const std::string& ligne) {
  return ligne.size() >= 18 ? std::string_view(ligne).substr(14, 4) : std::string_view();
}
}  // namespace

ResultatPasY lignes_pasy(const std::vector<std::string>& list3, int largeur, int32_t compteur_Y) {
  ResultatPasY r;
  r.compteur_Y = compteur_Y;
  if (largeur < 1) return r;
  int ouvertes = 0;  // 16-bit in the older generation; only its sign matters here
  for (size_t i = 0; i < list3.size(); ++i) {
    const int64_t a = pas_de(list3[i]);
    const int64_t b = i + 1 < list3.size() ? pas_de(list3[i + 1]) : 0;
    auto mot = mot_cle(list3[i]);
    if (mot == "NOTE") ++ouvertes;
    if (mot == "NTOF") --ouvertes;
    if (ouvertes > 0 && b - a > largeur) {
      int64_t y = a;
      while (y < b - largeur) {
        y += largeur;
        r.lignes.push_back(ligne_pasy(static_cast<double>(y)));
      }
      r.compteur_Y = static_cast<int32_t>(y);
    }
    if (static_cast<int>(r.lignes.size()) > kMaxLignes) {
      r.trop = true;
      return r;
    }
  }
  return r;
}

}  // namespace brivel
