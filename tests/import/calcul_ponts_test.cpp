#include <gtest/gtest.h>

#include <algorithm>

#include "import/ponts.h"

namespace brivel {
namespace {

TEST(BridgeCalculator, DefaultsGive23Solutions) {
  auto s = solutions_ponts(3, 0.083, 1.00, 1.50);
  EXPECT_EQ(s.size(), 23u);
  // NbpasY 10, PontY 2: 0.83 x (2 + 3) - 3.
  auto it = std::find_if(s.begin(), s.end(), [](const SolutionPont& x) { return x.a == 10 && x.k == 2; });
  ASSERT_NE(it, s.end());
  EXPECT_NEAR(it->pont_mm, 1.15, 1e-9);
  EXPECT_EQ(ligne_liste_pont(*it), "        1.15              0.830");
  EXPECT_EQ(ligne_liste_pont_int(*it), "      1.15      0.830      10      02");
  for (const auto& x : s) {
    EXPECT_GT(x.pont_mm, 1.00);
    EXPECT_LT(x.pont_mm, 1.50);
  }
}

TEST(BridgeCalculator, BoundsAreExclusive) {
  // Punch 3, 1 mm per motor step: bridges 1, 2, 3 (a 1), 1, 3, 5 (a 2), 3, 6, 9 (a 3).
  auto s = solutions_ponts(3, 1, 1, 3);
  ASSERT_EQ(s.size(), 1u);
  EXPECT_EQ(s[0].a, 1);
  EXPECT_EQ(s[0].k, 2);
  EXPECT_DOUBLE_EQ(s[0].pont_mm, 2);
}

TEST(BridgeCalculator, NothingToSearch) {
  EXPECT_TRUE(solutions_ponts(0.05, 0.083, 0, 100).empty());  // punch below one motor step: n 0
  EXPECT_TRUE(solutions_ponts(3, 0, 0, 100).empty());
  bool limite = true;
  solutions_ponts(3, 0.083, 1, 1.5, &limite);
  EXPECT_FALSE(limite);
  auto s = solutions_ponts(3, 0.01, 0, 100, &limite);  // n would be 300
  EXPECT_TRUE(limite);
  for (const auto& x : s) EXPECT_LE(std::max(x.a, x.k), kMaxCalcul);
}

TEST(BridgeCalculator, ReadsAnIntRow) {
  struct Case {
    const char* row;
    std::optional<ChoixPont> choix;
  } cases[] = {{"      1.15      0.830      10      02", ChoixPont{10, 2}},
               {"      10.05      0.830      07      100", ChoixPont{7, 100}},
               {"      1.15      0.830", std::nullopt},
               {"", std::nullopt}};
  auto pair = [](const std::optional<ChoixPont>& x) { return x ? std::pair(x->NbpasY, x->PontY) : std::pair(-1, -1); };
  for (const auto& c : cases) EXPECT_EQ(pair(lit_ligne_pont_int(c.row)), pair(c.choix)) << c.row;
}

}  // namespace
}  // namespace brivel
