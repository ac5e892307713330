#include <gtest/gtest.h>

#include <algorithm>

#include "import/calcul_ponts.h"
#include "support/sim_desk.h"

namespace brivel::test {
namespace {

TEST(BridgeButtons, DefineCalculateSelectApply) {
  SimDesk d;
  Model& m = d.m;
  m.Def_ponts.click();
  EXPECT_TRUE(m.Calc_ponts.visible());
  EXPECT_FALSE(m.Calibration_axes.visible());
  EXPECT_FALSE(m.Detecteur.visible());
  EXPECT_EQ(m.Def_ponts.text(), "OK");

  m.Calculer_ponts_Y.click();
  EXPECT_EQ(m.Liste_pont.count(), 23);
  EXPECT_EQ(m.Liste_pont_int.count(), 23);
  // The two lists stay parallel: row i of each is one solution.
  for (int i = 0; i < 23; ++i) EXPECT_EQ(m.Liste_pont.row(i).substr(8, 4), m.Liste_pont_int.row(i).substr(6, 4));

  const auto& rows = m.Liste_pont_int.rows();
  const auto i = std::find(rows.begin(), rows.end(), "      1.15      0.830      10      02") - rows.begin();
  ASSERT_LT(i, 23);
  m.Liste_pont.set_selected(static_cast<int>(i));
  m.NbpasY.set_text("3");
  m.Def_ponts.click();  // "OK": closes and applies
  EXPECT_EQ(m.NbpasY.text(), "10");
  EXPECT_EQ(m.PontY.text(), "2");
  EXPECT_FALSE(m.Calc_ponts.visible());
  EXPECT_TRUE(m.Calibration_axes.visible());
  EXPECT_TRUE(m.Detecteur.visible());
  EXPECT_EQ(m.Def_ponts.text(), "Définir");
}

TEST(BridgeButtons, NothingSelectedNothingChanges) {
  SimDesk d;
  Model& m = d.m;
  m.Calculer_ponts_Y.click();
  m.Liste_pont.set_selected(0);
  m.Calculer_ponts_Y.click();  // a new search clears the selection
  EXPECT_EQ(m.Liste_pont.selected(), -1);
  m.Appliquer_ponts.click();
  EXPECT_EQ(m.NbpasY.text(), "10");
  EXPECT_EQ(m.PontY.text(), "0");

  m.Text14.set_text("5");  // no bridge between 5 and 1.5
  m.Calculer_ponts_Y.click();
  EXPECT_EQ(m.Liste_pont.count(), 0);
  m.Appliquer_ponts.click();
  EXPECT_EQ(m.PontY.text(), "0");
}

TEST(BridgeButtons, ZeroMotorStepIsRefused) {
  SimDesk d;
  d.m.PasmotY.set_text("0");
  d.m.Calculer_ponts_Y.click();
  EXPECT_EQ(d.m.Liste_pont.count(), 0);
  EXPECT_EQ(d.p.sim_dialogs().boxes,
            std::vector<std::string>{"Calcul impossible : le Pas moteur Y doit être supérieur à 0"});
}

}  // namespace
}  // namespace brivel::test
