#include "tools/calibration.h"

#include "core/numbers.h"
#include "link/frames.h"
#include "tools/tools_rig.h"

namespace brivel::test {
namespace {

TEST(Calibration, StepDurationFallsBy50DownToTheFloor) {
  const double cases[][2] = {{5000, 4950}, {175, 125}, {150, 100}, {120, 100}, {100, 100}, {60, 60}, {-5, -5}};
  for (const auto& c : cases) EXPECT_EQ(duree_pas_suivante(c[0]), c[1]) << c[0];
}

// X goes to and fro by nb_PasX, each pass 50 µs faster, until Stop_cal.
TEST(Calibration, XFramesUntilStop) {
  ToolsRig r;
  r.m.Demipas.set_value(0);
  r.click_later(3000, r.m.Stop_cal);
  r.m.CalibrerX.operator_click();
  std::vector<std::string> got = r.sent();
  ASSERT_EQ(count(got, "ZGxxxxx\n"), 1);
  // Stop_cal's frame goes out inside a pass; the pass under way finishes.
  auto zg = std::find(got.begin(), got.end(), "ZGxxxxx\n");
  const auto after_stop = std::vector<std::string>(zg + 1, got.end());
  got.erase(zg);
  std::vector<std::string> want = {"AGxxxxx\n"};
  int moves = 0;
  for (; want.size() < got.size(); ++moves) {
    want.push_back(moves % 2 == 0 ? "MX00200\n" : "Mx00200\n");
    want.push_back(*number_frame("PX", 5000 - 50 * (moves + 1)));
  }
  EXPECT_EQ(got, want);
  EXPECT_LE(after_stop.size(), 2u) << "nothing but the end of the pass behind the stop";
  EXPECT_GT(got.size(), 6u);
  EXPECT_EQ(r.m.VitesseX.text(), str_plain(5000 - 50 * moves));
  EXPECT_EQ(r.board.x_position(), moves % 2 == 0 ? 0 : 200);
  EXPECT_EQ(r.m.Calibration.text(), "Fin calibration moteur X");
  EXPECT_TRUE(r.m.CommandeX_P.enabled() && r.m.CalibrerY.enabled() && r.m.CalibrerZ.enabled() &&
              r.m.visu_detecteurs.enabled());
  EXPECT_EQ(r.s.hors_watchdog, 0);
}

TEST(Calibration, WhileRunningTheOtherToolsAreOutOfReach) {
  ToolsRig r;
  bool checked = false;
  r.p.at(r.p.now() + 600, [&] {
    checked = true;
    EXPECT_FALSE(r.m.CommandeX_P.enabled());
    EXPECT_FALSE(r.m.OrigineX_M.enabled());
    EXPECT_FALSE(r.m.CalibrerX.enabled());
    EXPECT_FALSE(r.m.CalibrerZ.enabled());
    EXPECT_FALSE(r.m.visu_detecteurs.enabled());
    EXPECT_EQ(r.m.Calibration.text(), "Calibration moteur Y en cours");
    EXPECT_NE(r.s.hors_watchdog, 0);
    // Perfoman isn't in the block, but the line is taken.
    r.m.Perfoman.click();
    EXPECT_EQ(r.m.Label_defautP.text(), "Commande refusée : la machine exécute déjà une commande");
  });
  r.click_later(1000, r.m.Stop_cal);
  r.m.CalibrerY.operator_click();
  EXPECT_TRUE(checked);
  EXPECT_EQ(count(r.sent(), "CZxxxxx\n") + count(r.sent(), "cZxxxxx\n"), 0);
}

TEST(Calibration, YGivesNbpasYBackAndKeepsTheLastSpeed) {
  ToolsRig r;
  r.m.nb_PasY.set_text("30");
  r.click_later(2000, r.m.Stop_cal);
  r.m.CalibrerY.operator_click();
  const auto got = r.sent();
  const long moves = count(got, "MY00030\n");  // 30 Y steps of one motor step, always forward
  ASSERT_GT(moves, 2);
  EXPECT_EQ(moves, static_cast<long>(got.size()) - 2 - moves) << "one PY behind each move";
  EXPECT_EQ(r.m.NbpasY.text(), "10");
  EXPECT_EQ(r.m.VitesseY.text(), str_plain(7500 - 50 * moves));
  EXPECT_EQ(r.m.Calibration.text(), "Fin calibration moteur Y");
  EXPECT_EQ(r.board.y_position(), 30 * moves);
}

TEST(Calibration, SpeedStopsAtTheFloor) {
  ToolsRig r;
  r.m.VitesseX.set_text("220");
  r.from = r.mark();
  r.click_later(1500, r.m.Stop_cal);
  r.m.CalibrerX.operator_click();
  const auto got = r.sent();
  EXPECT_EQ(count(got, "PX00170\n") + count(got, "PX00120\n") + count(got, "PX00100\n"), 3);
  EXPECT_EQ(r.m.VitesseX.text(), "100");
  EXPECT_EQ(r.m.Label_defautP.text(), "Durée de pas minimale atteinte : 100 µs (Vitesse X)");
}

TEST(Calibration, RefusedWithoutANumber) {
  struct Case {
    const char* field;
    const char* text;
    Element Model::*button;
    const char* message;
  } cases[] = {
      {"VitesseX", "5O00", &Model::CalibrerX, "Calibration impossible : Vitesse X \"5O00\" n'est pas un nombre"},
      {"VitesseY", "", &Model::CalibrerY, "Calibration impossible : Vitesse Y \"\" n'est pas un nombre"},
      {"TempoZ", "2 ms", &Model::CalibrerZ, "Calibration impossible : Impulsion Z \"2 ms\" n'est pas un nombre"},
  };
  for (const auto& c : cases) {
    ToolsRig r;
    r.m.get(c.field).set_text(c.text);
    r.from = r.mark();
    (r.m.*c.button).operator_click();
    EXPECT_TRUE(r.sent().empty()) << c.field;
    EXPECT_EQ(r.m.Label_defautP.text(), c.message);
    EXPECT_TRUE(r.m.CommandeX_P.enabled());
  }
}

FaultRule cycle_fails(int nth) { return {"cZ", nth, FaultRule::Kind::ReplyC, 0}; }

// Replies A, C, A, C, A, A: the first A counts for nothing, the second C
// resets nothing, and the sixth cycle ends the routine.
TEST(Calibration, ZEndsAtTheThirdGoodCycleAfterTheFirstFailure) {
  ToolsRig r(BoardOptions{true, 0, {cycle_fails(2), cycle_fails(4)}});
  ASSERT_EQ(r.m.Check2.value(), 1);
  r.m.CalibrerZ.operator_click();
  std::vector<std::string> want = {"AGxxxxx\n"};
  for (int pass = 1; pass <= 6; ++pass) {
    want.push_back("cZxxxxx\n");
    want.push_back(*number_frame("IZ", 2 + 5 * pass));
    want.push_back(*number_frame("MZ", 2 * (2 + 5 * pass)));
  }
  want.push_back("ZGxxxxx\n");
  EXPECT_EQ(r.sent(), want);
  EXPECT_EQ(r.m.TempoZ.text(), "32");
  EXPECT_EQ(r.m.MaxZ.text(), "64");
  EXPECT_EQ(r.m.Check2.value(), 0);
  EXPECT_TRUE(r.m.TempoZ.enabled());
  EXPECT_EQ(r.m.Calibration.text(), "Fin calibration Z. Penser à sauvegarder!");
  EXPECT_EQ(r.s.etat_pause, 0) << "a failed cycle is a measurement here";
  EXPECT_EQ(r.s.calibration_Z_active, 0);
  EXPECT_EQ(r.board.holes().size(), 4u);
  // Later punch cycles are faults again, and the fixed cycle stays.
  r.from = r.mark();
  r.m.CommandeZ_M.operator_click();
  EXPECT_EQ(r.sent(), (std::vector<std::string>{"AGxxxxx\n", "cZxxxxx\n", "ZGxxxxx\n"}));
}

// A long pulse takes longer than the line's ordinary time-out: the wait of
// each cycle is worked out from the pulse values sent.
TEST(Calibration, LongPulsesAreNoSilence) {
  ToolsRig r(BoardOptions{false, 0, {cycle_fails(1)}});
  r.m.TempoZ.set_text("2000");  // with MaxZ 4000: six seconds a cycle
  r.m.CalibrerZ.operator_click();
  EXPECT_EQ(count(r.sent(), "cZxxxxx\n"), 4);
  EXPECT_EQ(r.m.TempoZ.text(), "2020");
  EXPECT_EQ(r.m.Label_defaut.text(), "");
  EXPECT_EQ(r.s.etat_pause, 0);
  EXPECT_EQ(r.s.delai_cycle_Z_ms, 0);
}

TEST(Calibration, ZWithoutFailureRunsUntilStopWhichClosesTwice) {
  ToolsRig r;
  r.click_later(2000, r.m.Stop_cal);
  r.m.CalibrerZ.operator_click();
  const auto got = r.sent();
  EXPECT_EQ(count(got, "ZGxxxxx\n"), 2);
  EXPECT_EQ(got.back(), "ZGxxxxx\n");
  EXPECT_EQ(r.m.MaxZ.text(), str_plain(2 * val(r.m.TempoZ.text())));
}

}  // namespace
}  // namespace brivel::test
