#include "import/pas_y.h"

#include <gtest/gtest.h>

#include <cstdio>

namespace brivel {
namespace {

using Rows = std::vector<std::string>;

// "0000077 ##### PASY" and the others, from `first` to `last` by 3.
Rows pasy(int first, int last) {
  Rows out;
  char buf[32];
  for (int y = first; y <= last; y += 3) {
    std::snprintf(buf, sizeof buf, "%07d ##### PASY", y);
    out.push_back(buf);
  }
  return out;
}

TEST(PasY, IntermediateSteps) {
  struct Case {
    const char* what;
    Rows list3, pasy;
    int compteur_Y = 5;  // the counter keeps the last value
    int width = 3;
  } cases[] = {
      {"held note: never on the end row", {"0000074 00060 NOTE 0000107", "0000107 00060 NTOF "}, pasy(77, 104), 104},
      {"no longer than the punch", {"0000074 00060 NOTE 0000077", "0000077 00060 NTOF "}, {}},
      {"one step longer", {"0000074 00060 NOTE 0000078", "0000078 00060 NTOF "}, {"0000077 ##### PASY"}, 77},
      {"silence between notes",
       {"0000010 00060 NOTE 0000012", "0000012 00060 NTOF ", "0000050 00062 NOTE 0000052", "0000052 00062 NTOF "},
       {}},
      {"two open notes share one series",
       {"0000010 00060 NOTE 0000030", "0000012 00062 NOTE 0000030", "0000030 00060 NTOF ", "0000030 00062 NTOF "},
       pasy(15, 27),
       27},
      {"empty list", {}, {}},
      {"no width, no loop", {"0000000 00060 NOTE 0000100", "0000100 00060 NTOF "}, {}, 5, 0},
  };
  for (const auto& c : cases) {
    auto r = lignes_pasy(c.list3, c.width, 5);
    EXPECT_EQ(r.lignes, c.pasy) << c.what;
    EXPECT_EQ(r.compteur_Y, c.compteur_Y) << c.what;
    EXPECT_FALSE(r.trop) << c.what;
  }
}

TEST(PasY, StopsPast32767Rows) {
  // Width 1: a note from 0 to 32768 needs 1 ... 32767, one held to 32769 one more.
  auto at = lignes_pasy({"0000000 00060 NOTE 0032768", "0032768 00060 NTOF "}, 1, 0);
  EXPECT_EQ(at.lignes.size(), 32767u);
  EXPECT_FALSE(at.trop);
  auto past = lignes_pasy({"0000000 00060 NOTE 0032769", "0032769 00060 NTOF "}, 1, 0);
  EXPECT_TRUE(past.trop);
}

}  // namespace
}  // namespace brivel
