#include "import/analyse.h"

#include <cmath>

#include "core/numbers.h"

namespace brivel {

std::string texte_longueur_carton(double metres) { return format_picture(metres, "0.00") + " m"; }

AnalysePiece analyse_piece(double total, double ms_par_pas, double pas_Y_mm, int nb_hors_gamme) {
  AnalysePiece a;
  a.fin_ms = std::floor(ms_par_pas * total);
  a.minutes = std::floor(a.fin_ms / 1000 / 60);
  a.secondes = std::floor(a.fin_ms / 1000) - 60 * a.minutes;
  a.reste_fin_ms = a.fin_ms - (60000 * a.minutes + 1000 * a.secondes);

  const double duree_ms = ms_par_pas * total;
  const double mn = std::floor(duree_ms / 1000 / 60);
  const double sec = std::floor(duree_ms / 1000) - 60 * mn;
  a.duree = "Durée: " + str_plain(mn) + " mn " + format_picture(sec, "00") + " s";
  a.longueur = "Longueur carton: " + texte_longueur_carton(total * pas_Y_mm / 1000);

  if (nb_hors_gamme == 0)
    a.service = "Prêt à perforer - " + a.duree + " - " + a.longueur;
  else if (nb_hors_gamme == 1)
    a.service = "ATTENTION : " + str_num(nb_hors_gamme) + " note n'est pas dans la gamme de l'orgue";
  else
    a.service = "ATTENTION : " + str_num(nb_hors_gamme) + " notes ne sont pas dans la gamme de l'orgue";
  return a;
}

}  // namespace brivel
