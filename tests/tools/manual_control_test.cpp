#include <gtest/gtest.h>

#include "console/pages.h"
#include "support/sim_console.h"

namespace brivel::test {
namespace {

TEST(ManualControl, EachCommandIsOneWorkingSequence) {
  struct Case {
    Element Model::*button;
    int demipas;
    std::vector<std::string> frames;
  } cases[] = {
      {&Model::CommandeX_P, 0, {"AGxxxxx\n", "MX00200\n", "ZGxxxxx\n"}},
      {&Model::CommandeX_M, 1, {"AGxxxxx\n", "mx00200\n", "ZGxxxxx\n"}},
      {&Model::CommandeY_M, 1, {"AGxxxxx\n", "MY00200\n", "ZGxxxxx\n"}},
      {&Model::CommandeZ_M, 1, {"AGxxxxx\n", "CZxxxxx\n", "ZGxxxxx\n"}},
  };
  for (const auto& c : cases) {
    SimConsole sc;
    fenetre_moteurs_Click(sc.c);
    ASSERT_TRUE(sc.connect(10));
    sc.m.Demipas.set_value(c.demipas);
    auto from = sc.mark();
    ASSERT_TRUE((sc.m.*c.button).operator_click());
    EXPECT_EQ(sc.frame_bytes(from), c.frames) << (sc.m.*c.button).name();
    EXPECT_EQ(sc.m.NbpasY.text(), "10") << "the Y move gives NbpasY back";
  }
}

TEST(ManualControl, RefusedWithThePortClosed) {
  SimConsole sc;
  fenetre_moteurs_Click(sc.c);
  sc.m.CommandeX_P.operator_click();
  EXPECT_TRUE(sc.p.line().empty());
  EXPECT_NE(sc.m.Label_defautP.text().find("Machine non connectée"), std::string::npos);
}

}  // namespace
}  // namespace brivel::test
