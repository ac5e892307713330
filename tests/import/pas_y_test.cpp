#include "import/pas_y.h"

#include <gtest/gtest.h>

namespace brivel {
namespace {

using Rows = std::vector<std::string>;

TEST(PasY, IntermediateSteps) {
  struct Case {
    const char* what;
    Rows list3;
    Rows pasy;
  } cases[] = {
      {"held note: +3, +6 ... never on the end row",
       {"0000074 00060 NOTE 0000107", "0000107 00060 NTOF "},
       {"0000077 ##### PASY", "0000080 ##### PASY", "0000083 ##### PASY", "0000086 ##### PASY", "0000089 ##### PASY",
        "0000092 ##### PASY", "0000095 ##### PASY", "0000098 ##### PASY", "0000101 ##### PASY",
        "0000104 ##### PASY"}},
      {"no longer than the punch", {"0000074 00060 NOTE 0000077", "0000077 00060 NTOF "}, {}},
      {"one step longer than the punch",
       {"0000074 00060 NOTE 0000078", "0000078 00060 NTOF "},
       {"0000077 ##### PASY"}},
      {"silence between notes",
       {"0000010 00060 NOTE 0000012", "0000012 00060 NTOF ", "0000050 00062 NOTE 0000052", "0000052 00062 NTOF "},
       {}},
      {"two open notes share one series",
       {"0000010 00060 NOTE 0000030", "0000012 00062 NOTE 0000030", "0000030 00060 NTOF ", "0000030 00062 NTOF "},
       {"0000015 ##### PASY", "0000018 ##### PASY", "0000021 ##### PASY", "0000024 ##### PASY",
        "0000027 ##### PASY"}},
      {"empty list", {}, {}},
  };
  for (const auto& c : cases) {
    auto r = lignes_pasy(c.list3, 3, 0);
    EXPECT_EQ(r.lignes, c.pasy) << c.what;
    EXPECT_FALSE(r.trop) << c.what;
  }
}

TEST(PasY, CounterKeepsTheLastValue) {
  EXPECT_EQ(lignes_pasy({"0000074 00060 NOTE 0000107", "0000107 00060 NTOF "}, 3, 5).compteur_Y, 104);
  EXPECT_EQ(lignes_pasy({"0000074 00060 NOTE 0000075", "0000075 00060 NTOF "}, 3, 5).compteur_Y, 5);
}

TEST(PasY, NoWidthNoLoop) {
  EXPECT_TRUE(lignes_pasy({"0000000 00060 NOTE 0000100", "0000100 00060 NTOF "}, 0, 0).lignes.empty());
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
