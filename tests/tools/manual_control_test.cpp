#include <gtest/gtest.h>

#include "console/pages.h"
#include "support/sim_console.h"
#include "tools/tools_rig.h"

namespace brivel::test {
namespace {

TEST(ManualControl, EachCommandIsOneWorkingSequence) {
  struct Case {
    Element Model::*button;
    int demipas;
    std::vector<std::string> frames;
    const char* label_y = "0";  // the card's place, in steps of the list
  } cases[] = {
      {&Model::CommandeX_P, 0, {"AGxxxxx\n", "MX00200\n", "ZGxxxxx\n"}},
      {&Model::CommandeX_M, 1, {"AGxxxxx\n", "mx00200\n", "ZGxxxxx\n"}},
      // 200 motor steps are 20 steps of 10.
      {&Model::CommandeY_M, 1, {"AGxxxxx\n", "MY00200\n", "ZGxxxxx\n"}, "20"},
      {&Model::CommandeZ_M, 1, {"AGxxxxx\n", "CZxxxxx\n", "ZGxxxxx\n"}},
      {&Model::OrigineX_M, 0, {"AGxxxxx\n", "ONxxxxx\n", "ORxxxxx\n", "\n", "\n", "ZGxxxxx\n"}},
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
    EXPECT_EQ(sc.m.LabelY.text(), c.label_y) << (sc.m.*c.button).name();
  }
}

// Every machine tool asks for the machine first: with the port closed it
// sends nothing and says so.
TEST(MachineTools, RefusedWithThePortClosed) {
  struct Case {
    Element Model::*button;
    bool by_hand;  // the EEPROM buttons lie on another window: clicked by the program
  } cases[] = {{&Model::CommandeX_P, true},
               {&Model::CalibrerZ, true},
               {&Model::visu_detecteurs, true},
               {&Model::eeprom_read, false},
               {&Model::eeprom_write, false}};
  for (const auto& c : cases) {
    SimConsole sc;
    fenetre_moteurs_Click(sc.c);
    Element& e = sc.m.*c.button;
    if (c.by_hand) {
      EXPECT_TRUE(e.operator_click()) << e.name();
    } else {
      e.click();
    }
    EXPECT_TRUE(sc.p.line().empty()) << e.name();
    EXPECT_NE(sc.m.Label_defautP.text().find("Machine non connectée"), std::string::npos) << e.name();
    EXPECT_FALSE(sc.s.visu_active);
  }
}

// A second command while one waits on the machine would share its reply
// flags: it is refused and sends nothing.
TEST(ManualControl, SecondCommandRefusedWhileOneWaits) {
  ToolsRig r(BoardOptions{false, 0, {}});  // moves take their time
  r.m.Demipas.set_value(0);
  r.m.nb_PasX.set_text("1000");
  r.click_later(400, r.m.CommandeZ_M);
  r.click_later(600, r.m.OrigineX_M);
  r.m.CommandeX_P.operator_click();
  EXPECT_EQ(r.sent(), (std::vector<std::string>{"AGxxxxx\n", "MX01000\n", "ZGxxxxx\n"}));
  EXPECT_EQ(r.m.Label_defautP.text(), "Commande refusée : la machine exécute déjà une commande");
  EXPECT_EQ(r.m.LabelX.text(), "1000");
  r.from = r.mark();
  r.m.CommandeZ_M.operator_click();
  EXPECT_EQ(r.sent().size(), 3u) << "free again afterwards";
}

// The feed moves 200 Y steps at a time; the stop's own handler runs inside
// the last move's wait and sends AG and ZG, the feed's end one more ZG.
TEST(ManualControl, ContinuousFeedStartAndStop) {
  ToolsRig r;
  r.m.Label_defautP.set_text("Prêt à perforer");
  r.m.Avance.set_enabled(true);
  fenetre_perforation_Click(r.c);
  bool seen = false;
  r.p.at(r.p.now() + 500, [&] {
    seen = true;
    EXPECT_EQ(r.m.Label_defautP.text(), "Avance en continu du carton");
    EXPECT_EQ(r.m.Avance.text(), "Stop");
    EXPECT_NE(r.s.hors_watchdog, 0);
  });
  r.click_later(700, r.m.Avance);
  r.m.Avance.operator_click();
  EXPECT_TRUE(seen);
  auto got = r.sent();
  const long moves = count(got, "MY02000\n");
  ASSERT_GT(moves, 1);
  std::vector<std::string> want = {"AGxxxxx\n"};
  want.insert(want.end(), moves, "MY02000\n");
  for (const char* f : {"AGxxxxx\n", "ZGxxxxx\n", "ZGxxxxx\n"}) want.push_back(f);
  EXPECT_EQ(got, want);
  EXPECT_EQ(r.m.Label_defautP.text(), "Prêt à perforer");
  EXPECT_EQ(r.m.Label_defautP.tooltip(), "");
  EXPECT_EQ(r.m.Avance.text(), "Avance");
  EXPECT_EQ(r.m.nb_PasY.text(), "200");
  EXPECT_EQ(r.s.compteur_Y, 200 * moves);
  EXPECT_EQ(r.s.hors_watchdog, 0);
  EXPECT_FALSE(r.s.commande_machine);
}

TEST(ManualControl, FeedEndsWhenThePortGoes) {
  ToolsRig r;
  r.m.Avance.set_enabled(true);
  fenetre_perforation_Click(r.c);
  r.p.at(r.p.now() + 600, [&] { r.p.sim_serial().remove_port(10); });
  r.m.Avance.operator_click();
  EXPECT_FALSE(r.s.avance_continue);
  EXPECT_EQ(r.m.Avance.text(), "Avance");
  EXPECT_EQ(r.m.Shape1.color(), palette::kLightRed);
  EXPECT_NE(r.m.Label_defautP.text().find("Liaison série perdue"), std::string::npos);
}

TEST(ManualControl, RazBeforeAndAfterTheFirstRun) {
  struct Case {
    bool after_first_run;
    std::vector<std::string> frames;
    const char* label_x;
  } cases[] = {{false, {"ZXxxxxx\n"}, "0"}, {true, {}, "120"}};
  for (const auto& c : cases) {
    ToolsRig r;
    r.m.nb_PasX.set_text("120");
    r.m.CommandeX_P.operator_click();
    r.s.perforation_lancee = c.after_first_run;
    r.m.Label_defaut.set_text("Erreur repos poinçon");
    r.m.CommandeY_M.set_enabled(false);  // as an origin search leaves it
    r.from = r.mark();
    r.m.RAZ.operator_click();
    EXPECT_EQ(r.sent(), c.frames);
    EXPECT_EQ(r.m.LabelX.text(), c.label_x);
    EXPECT_TRUE(r.m.CommandeY_M.enabled());
    EXPECT_EQ(r.s.mesure_origine != 0, !c.after_first_run);
  }
}

// Frame1's step fields in millimetres: X at 0.23 mm a step, Y at pas_Y_mm
// (NbpasY 10 of PasmotY 0.083 on the motor page).
TEST(ManualControl, StepFieldsShownInMillimetres) {
  struct Case {
    const char* field;
    const char* text;
    int caption;
    const char* mm;
  } cases[] = {{"Text2", "200", 0, " 46"},
               {"Text2", "-10", 0, "-2.3"},
               {"Text2", "abc", 0, " 0"},
               {"Text4", "30", 1, " 24.9"},
               {"Text4", "3x", 1, " 2.49"}};
  for (const auto& c : cases) {
    SimConsole sc;
    fenetre_moteurs_Click(sc.c);
    sc.m.get(c.field).set_text(c.text);
    EXPECT_EQ(sc.m.Label1(c.caption).text(), c.mm) << c.field << " " << c.text;
  }
}

}  // namespace
}  // namespace brivel::test
