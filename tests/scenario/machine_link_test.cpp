// The console and the board model on the simulated line: connection, parameter push, one hole, and the faults
// that the board can be told to make.
#include <gtest/gtest.h>

#include <filesystem>

#include "core/cp1252.h"
#include "run/motion/motion.h"
#include "support/punch_rig.h"

namespace brivel::test {
namespace {

TEST(MachineLink, ConnectionPushesTheConsoleValuesThenOneHoleIsRecordedWhereTheCountersSay) {
  SimConsole sc;
  sc.m.VitesseX.set_text("4000");
  sc.m.valid_pwm.set_value(1);
  ASSERT_TRUE(sc.connect(10));
  EXPECT_EQ(sc.board.resets(), 1);
  for (auto [code, value] : {std::pair{"PX", 4000}, {"PY", 7500}, {"OX", 220}, {"IZ", 2}, {"MZ", 12}, {"PW", 20}})
    EXPECT_EQ(sc.board.parameters().at(code), value) << code;
  EXPECT_GE(sc.frames().front().at_ms, 900) << "the board needs its start-up time";
  sc.m.Demipas.set_value(0);
  sc.m.NbpasY.set_text("10");
  sc.s.compteur_Y = 2;
  sc.m.nb_PasY.set_text(" 72");
  sc.s.sens_X = true;
  sc.s.compteur_X = 300;
  sc.m.nb_PasX.set_text("1200");
  sc.s.perforation_lancee = true;
  const auto from = sc.mark();
  const int64_t t = sc.p.now();
  debut_travail(sc.c);
  deplace_Y(sc.c);
  EXPECT_EQ(sc.m.LabelY.text(), "74");
  deplace_X(sc.c);
  EXPECT_EQ(sc.m.LabelX.text(), "1500");
  cycle_Z(sc.c);
  fin_travail(sc.c);
  // Each reply 1 ms after its frame; the 250 ms after AG, the 25 ms after a move or ZG, end on the next tick.
  const int64_t u = t + 251;
  EXPECT_EQ(sc.frames(from), (std::vector<SimFrame>{{t, "AGxxxxx\n"}, {u, "MY00720\n"}, {u + 27, "MX01200\n"},
                                                    {u + 54, "CZxxxxx\n"}, {u + 56, "ZGxxxxx\n"}}));
  EXPECT_EQ(sc.p.now(), u + 56 + 26);
  ASSERT_EQ(sc.board.holes().size(), 1u);
  EXPECT_EQ(sc.board.holes()[0].y_steps, 720);
  EXPECT_EQ(std::make_tuple(sc.s.compteur_X, sc.s.compteur_Y, sc.s.compteur_trous), std::make_tuple(1500, 74, 1));
  EXPECT_FALSE(sc.m.WD_timer.enabled());
  EXPECT_EQ(sc.m.E(7).color(), palette::kWhite);
  sc.p.run_for(2000);  // a prompt reply leaves no watchdog behind
  EXPECT_EQ(sc.s.watchdog_echu, 0);
  EXPECT_EQ(sc.s.etat_pause, 0) << sc.m.Label_defautP.text();
}

}  // namespace
}  // namespace brivel::test
