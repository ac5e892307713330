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

}  // namespace
}  // namespace brivel
