#include "import/analyse.h"

#include <gtest/gtest.h>

namespace brivel {
namespace {

TEST(Analyse, BoundsAndServiceLine) {
  struct Case {
    double total, ms_par_pas, pas_Y_mm;
    int hors;
    double fin, mn, sec, reste;
    const char* service;
  } cases[] = {
      {1000, 125, 1.23, 0, 125000, 2, 5, 0, "Prêt à perforer - Durée: 2 mn 05 s - Longueur carton: 1.23 m"},
      {1000, 125.0015, 1.23, 0, 125001, 2, 5, 1, "Prêt à perforer - Durée: 2 mn 05 s - Longueur carton: 1.23 m"},
      // Defaults: 0.83 mm and 13.833 ms per step, the worked note ends on 107.
      {107, 0.83 * 1000 / 60, 0.83, 0, 1480, 0, 1, 480, "Prêt à perforer - Durée: 0 mn 01 s - Longueur carton: 0.09 m"},
      {36300, 100, 1, 0, 3630000, 60, 30, 0, "Prêt à perforer - Durée: 60 mn 30 s - Longueur carton: 36.30 m"},
      {1000, 125, 1.23, 1, 125000, 2, 5, 0, "ATTENTION :  1 note n'est pas dans la gamme de l'orgue"},
      {1000, 125, 1.23, 2, 125000, 2, 5, 0, "ATTENTION :  2 notes ne sont pas dans la gamme de l'orgue"},
  };
  for (const auto& c : cases) {
    AnalysePiece a = analyse_piece(c.total, c.ms_par_pas, c.pas_Y_mm, c.hors);
    EXPECT_EQ(a.fin_ms, c.fin) << c.service;
    EXPECT_EQ(a.minutes, c.mn) << c.service;
    EXPECT_EQ(a.secondes, c.sec) << c.service;
    EXPECT_EQ(a.reste_fin_ms, c.reste) << c.service;
    EXPECT_EQ(a.service, c.service);
  }
}

}  // namespace
}  // namespace brivel
