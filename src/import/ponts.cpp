#include "import/ponts.h"

#include <cmath>
#include <sstream>

#include "core/numbers.h"
#include "import/quantisation.h"

namespace brivel {

void lignes_pontees(double debut, double derniere, int largeur, double pont, std::string_view cle,
                    std::vector<std::string>& out) {
  const double pas = std::floor(pont) + largeur;
  if (!(pas >= 1)) return;
  double grille = pas * std::floor(debut / pas);
  double position = debut;
  while (grille <= derniere - pas) {
    out.push_back(ligne_debut(position, cle, position));
    out.push_back(ligne_fin(position, cle));
    grille += pas;
    position = grille;
  }
  out.push_back(ligne_debut(position, cle, derniere));
  out.push_back(ligne_fin(derniere, cle));
}

std::vector<SolutionPont> solutions_ponts(double poincon, double pasmot, double mini, double maxi, bool* limite) {
  std::vector<SolutionPont> out;
  if (limite) *limite = false;
  if (!(pasmot > 0)) return out;
  double n = std::floor(poincon / pasmot);
  if (n > kMaxCalcul) {
    n = kMaxCalcul;
    if (limite) *limite = true;
  }
  for (int a = 1; a <= n; ++a) {
    for (int k = 1; k <= n; ++k) {
      double p = a * pasmot;
      double pont = p * (k + std::floor(poincon / p)) - poincon;
      if (pont > mini && pont < maxi) out.push_back({pont, p, a, k});
    }
  }
  return out;
}

std::string ligne_liste_pont(const SolutionPont& s) {
  return std::string(8, ' ') + format_picture(s.pont_mm, "0.00") + std::string(14, ' ') +
         format_picture(s.pas_mm, "0.000");
}

std::string ligne_liste_pont_int(const SolutionPont& s) {
  const std::string six(6, ' ');
  return six + format_picture(s.pont_mm, "0.00") + six + format_picture(s.pas_mm, "0.000") + six +
         format_picture(s.a, "00") + six + format_picture(s.k, "00");
}

std::optional<ChoixPont> lit_ligne_pont_int(std::string_view ligne) {
  std::istringstream in{std::string(ligne)};
  std::string champ[4];
  for (auto& c : champ)
    if (!(in >> c)) return std::nullopt;
  auto a = cint(val(champ[2]));
  auto k = cint(val(champ[3]));
  if (!a || !k) return std::nullopt;
  return ChoixPont{*a, *k};
}

}  // namespace brivel
