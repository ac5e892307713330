#include "tools/detecteurs.h"
#include "tools/eeprom.h"
#include "tools/tools_rig.h"

namespace brivel::test {
namespace {

constexpr int R = palette::kLightRed, W = palette::kWhite, N = palette::kButtonFace;

TEST(Detectors, LampColoursFromTheReply) {
  struct Case {
    const char* reply;
    bool two_sensors;
    std::array<int, 4> colours;  // Poin_B, Poin_H, Det_L, Det_T
  } cases[] = {
      {"OOOOO", false, {R, R, R, R}}, {"OOOOO", true, {N, R, R, N}},  {"xOxOx", false, {W, R, W, R}},
      {"ooooo", false, {W, W, W, W}}, {"O O  ", false, {R, W, R, W}}, {"", false, {W, W, W, W}},
  };
  for (const auto& c : cases) EXPECT_EQ(couleurs_detecteurs(c.reply, c.two_sensors), c.colours) << c.reply;
}

std::array<int, 4> lamps(Model& m) {
  return {m.Poin_B.color(), m.Poin_H.color(), m.Det_L(4).color(), m.Det_T(3).color()};
}

// With Check1 the reply OOOOO lights only Poin_H and Det_L.
TEST(Detectors, ViewPollsUntilSwitchedOff) {
  ToolsRig r;
  for (int i = 0; i < 5; ++i) r.board.set_sensor(i, true);
  r.m.Check1.set_value(1);
  r.from = r.mark();
  r.m.visu_detecteurs.operator_click();
  EXPECT_TRUE(r.s.visu_active);
  EXPECT_FALSE(r.m.reachable(r.m.CommandeX_P));
  EXPECT_FALSE(r.m.reachable(r.m.CalibrerX));
  r.p.run_for(350);
  EXPECT_EQ(lamps(r.m), (std::array<int, 4>{N, R, R, N}));
  auto got = r.sent();
  ASSERT_GE(got.size(), 4u);
  EXPECT_EQ(std::vector<std::string>(got.begin(), got.begin() + 4),
            (std::vector<std::string>{"VDxxxxx\n", "\n", "VDxxxxx\n", "\n"}));
  EXPECT_EQ(got.size() % 2, 0u) << "no closing line feed in this dialogue";

  r.m.Check1.set_value(0);
  r.board.set_sensor(0, false);
  r.p.run_for(250);
  EXPECT_EQ(lamps(r.m), (std::array<int, 4>{W, R, R, R}));

  // Another page stops the poll but leaves the view on; back, it polls again.
  fenetre_notes_Click(r.c);
  const auto quiet = r.mark();
  r.p.run_for(500);
  EXPECT_EQ(r.mark(), quiet);
  fenetre_moteurs_Click(r.c);
  r.p.run_for(250);
  EXPECT_GT(r.mark(), quiet);

  r.m.visu_detecteurs.operator_click();
  EXPECT_FALSE(r.s.visu_active);
  EXPECT_TRUE(r.m.reachable(r.m.CommandeX_P));
  EXPECT_EQ(lamps(r.m), (std::array<int, 4>{N, N, N, N}));
  const auto off = r.mark();
  r.p.run_for(500);
  EXPECT_EQ(r.mark(), off);
}

TEST(Detectors, ViewStopsWhenTheMachineGoes) {
  ToolsRig r;
  r.m.visu_detecteurs.operator_click();
  r.p.run_for(300);
  r.p.sim_serial().close();
  r.p.run_for(300);
  EXPECT_FALSE(r.s.visu_active);
  EXPECT_TRUE(r.m.reachable(r.m.CommandeX_P));
  EXPECT_EQ(r.m.Label_defautP.text(), "Visualisation des détecteurs arrêtée : machine non connectée");
}

struct EepromCase {
  int cell;
  const char* value;
  const char* service;  // "" when the service line is left alone
};

// The reply is one raw byte; the codes of A to D reach the reply flags and
// are read as their codes all the same.
TEST(Eeprom, ReadGivesTheCellsCode) {
  const EepromCase cases[] = {
      {200, "200", ""},
      {0, "0", ""},
      {10, "10", ""},
      {255, "255", ""},
      {65, "65",
       "Lecture EEPROM : la carte a répondu \"A\", lu comme la valeur 65 (les valeurs 65 à 68 arrivent "
       "comme les réponses A à D)"},
      {68, "68",
       "Lecture EEPROM : la carte a répondu \"D\", lu comme la valeur 68 (les valeurs 65 à 68 arrivent "
       "comme les réponses A à D)"},
  };
  for (const auto& c : cases) {
    ToolsRig r;
    r.m.Label_defautP.set_text("");
    r.board.eeprom()[12] = static_cast<uint8_t>(c.cell);
    r.m.adress.set_text("12");
    r.m.eeprom_read.click();
    EXPECT_EQ(r.sent(), (std::vector<std::string>{"NUxxxxx\n", "rd00012\n", "\n"})) << c.cell;
    EXPECT_EQ(r.m.value.text(), c.value);
    EXPECT_EQ(r.m.Label_defautP.text(), c.service);
  }
}

TEST(Eeprom, WriteEndsOnAAndLandsInTheCellLastRead) {
  ToolsRig r;
  r.m.adress.set_text("12");
  r.m.eeprom_read.click();
  r.from = r.mark();
  r.m.value.set_text("7");
  const int64_t t0 = r.p.now();
  r.m.eeprom_write.click();
  EXPECT_EQ(r.sent(), (std::vector<std::string>{"NUxxxxx\n", "wr00007\n"}));
  EXPECT_GE(r.p.now() - t0, 300);
  EXPECT_EQ(r.board.eeprom()[12], 7);
  EXPECT_EQ(r.board.log().back().text, "A");
}

TEST(Eeprom, SilenceEndsInWords) {
  ToolsRig r(BoardOptions{true, 0, {{"rd", 1, FaultRule::Kind::Silence, 0}, {"wr", 1, FaultRule::Kind::Silence, 0}}});
  r.m.value.set_text("42");
  r.m.eeprom_read.click();
  EXPECT_EQ(r.m.Label_defautP.text(), "Lecture EEPROM impossible : Pas de réponse de la machine");
  EXPECT_EQ(r.m.value.text(), "42");
  r.m.eeprom_write.click();
  EXPECT_EQ(r.m.Label_defautP.text(), "Ecriture EEPROM non confirmée : Pas de réponse de la machine");
}

}  // namespace
}  // namespace brivel::test
