// The piece's length, duration and the service line once a piece is read.
#pragma once

#include <cstdint>
#include <string>

namespace brivel {

struct AnalysePiece {
  double fin_ms = 0;        // Text8 and duree_ms: floor(ms_par_pas * total)
  double minutes = 0;       // Fin_perf_mn
  double secondes = 0;      // Fin_perf_sec
  double reste_fin_ms = 0;  // fin_ms beyond its whole minutes and seconds
  std::string duree;        // "Durée: 2 mn 05 s"
  std::string longueur;     // "Longueur carton: 1.23 m"
  std::string service;      // Label_defautP
};

// The card's length as the console says it everywhere: metres, two
// decimals, half away from zero ("1.10 m").
std::string texte_longueur_carton(double metres);

// `total` is the highest step of the piece (the step of List3's last row
// before the intermediate steps), `ms_par_pas` ms of music per Y step,
// `pas_Y_mm` mm of card per Y step.
AnalysePiece analyse_piece(double total, double ms_par_pas, double pas_Y_mm, int nb_hors_gamme);

}  // namespace brivel
