#include "run/motion/motion.h"

#include <gtest/gtest.h>

#include "console/pages.h"
#include "core/cp1252.h"
#include "link/line.h"
#include "support/link_rig.h"

namespace brivel::test {
namespace {

struct Machine : LinkRig {
  Machine() {
    EXPECT_TRUE(connect(10));
    m.Demipas.set_value(0);
  }
  // The service line and the fault caption together.
  std::pair<std::string, std::string> texts() const { return {m.Label_defaut.text(), m.Label_defautP.text()}; }
  bool suspended() const {
    return s.etat_pause == 1 && m.Command12.text() == "Continuer" && m.fenetre_moteurs.enabled() &&
           m.fenetre_notes.enabled();
  }
};

using Texts = std::pair<std::string, std::string>;

TEST(Motion, TheFramesOfOneHole) {
  Machine r;
  r.m.NbpasY.set_text("10");
  r.s.compteur_Y = 2;
  r.m.nb_PasY.set_text(" 72");
  r.s.compteur_X = 300;
  r.s.sens_X = true;
  r.m.nb_PasX.set_text("1200");
  r.s.perforation_lancee = true;
  const int32_t trous = r.s.compteur_trous;
  auto from = r.mark();
  const int64_t t = r.p.now();
  deplace_Y(r.c);
  EXPECT_EQ(r.s.compteur_Y, 74);
  EXPECT_EQ(r.m.LabelY.text(), "74");
  deplace_X(r.c);
  EXPECT_EQ(r.s.compteur_X, 1500);
  EXPECT_EQ(r.m.LabelX.text(), "1500");
  cycle_Z(r.c);
  EXPECT_EQ(r.s.compteur_trous, trous + 1);
  // Each reply 1 ms after its frame, then the 25 ms of a move end on the
  // 26th tick.
  EXPECT_EQ(r.frames(from), F({{t, "MY00720\n"}, {t + 27, "MX01200\n"}, {t + 54, "CZxxxxx\n"}}));
  EXPECT_EQ(r.s.etat_pause, 0);
  EXPECT_FALSE(r.m.WD_timer.enabled());
  EXPECT_EQ(r.m.E(7).color(), palette::kWhite);
}

TEST(Motion, FourXCodesByDirectionAndHalfStep) {
  struct Case {
    bool sens;
    int demipas;
    const char* steps;
    const char* frame;
    int16_t counter_after;  // from 100
  } cases[] = {
      {true, 0, "40", "MX00040\n", 140},
      {true, 1, "40", "mX00040\n", 140},
      {false, 0, "40", "Mx00040\n", 60},
      {false, 1, "40", "mx00040\n", 60},
      {false, 0, "0", "Mx00000\n", 100},
      {true, 0, "12.5", "MX00013\n", 112},  // the frame rounds away from zero, the counter to even
  };
  for (const auto& k : cases) {
    Machine r;
    r.m.Demipas.set_value(k.demipas);
    r.s.sens_X = k.sens;
    r.s.compteur_X = 100;
    r.m.nb_PasX.set_text(k.steps);
    auto from = r.mark();
    deplace_X(r.c);
    EXPECT_EQ(r.frame_bytes(from), std::vector<std::string>{k.frame});
    EXPECT_EQ(r.s.compteur_X, k.counter_after) << k.frame;
  }
}

TEST(Motion, WorkingSequenceFramesAndTheirPauses) {
  Machine r;
  auto from = r.mark();
  const int64_t t = r.p.now();
  debut_travail(r.c);
  fin_travail(r.c);
  EXPECT_EQ(r.frames(from), F({{t, "AGxxxxx\n"}, {t + 251, "ZGxxxxx\n"}}));
  EXPECT_EQ(r.p.now(), t + 251 + 26);
}

TEST(Motion, ReplyBInEachPrimitiveSuspendsAndStillCounts) {
  for (const char* code : {"MX", "MY", "CZ"}) {
    Machine r;
    r.peer.queue(code, "B");
    r.s.sens_X = true;
    r.m.nb_PasX.set_text("50");
    r.m.nb_PasY.set_text("3");
    if (code == std::string("MX")) deplace_X(r.c);
    if (code == std::string("MY")) deplace_Y(r.c);
    if (code == std::string("CZ")) cycle_Z(r.c);
    EXPECT_EQ(r.texts(), Texts("Erreur repos poinçon", "Erreur repos poinçon - Contexte sauvegardé")) << code;
    EXPECT_TRUE(r.suspended()) << code;
    EXPECT_FALSE(r.read_file("Perfo_en_cours.sav").empty()) << code;
    EXPECT_EQ(r.s.compteur_X, code == std::string("MX") ? 50 : 0);
    EXPECT_EQ(r.s.compteur_Y, code == std::string("MY") ? 3 : 0);
    EXPECT_EQ(r.s.compteur_trous, code == std::string("CZ") ? 1 : 0);
  }
}

TEST(Motion, ReplyCDuringAYMoveDoesNotEndTheWait) {
  Machine r;
  r.peer.queue("MY", "C");
  r.m.nb_PasY.set_text("1");
  r.p.deliver(r.p.now() + 40, "A");
  const int64_t t = r.p.now();
  deplace_Y(r.c);
  EXPECT_EQ(r.s.etat_pause, 0);
  EXPECT_EQ(r.p.now(), t + 40 + 26);
}

TEST(Motion, CycleFailureAndItsCalibrationCount) {
  {
    Machine r;
    r.peer.queue("CZ", "C");
    cycle_Z(r.c);
    EXPECT_EQ(r.texts(), Texts("Erreur cycle de perforation", "Erreur cycle de perforation - Contexte sauvegardé"));
    EXPECT_TRUE(r.suspended());
  }
  {
    Machine r;
    r.s.calibration_Z_active = -1;
    r.peer.queue("CZ", "C");
    cycle_Z(r.c);
    EXPECT_EQ(r.m.Label_defaut.text(), "Erreur cycle de perforation");
    EXPECT_EQ(r.s.etat_pause, 0) << "a calibration measures, it doesn't suspend";
    EXPECT_TRUE(r.s.echec_cycle_vu);
    cycle_Z(r.c);
    cycle_Z(r.c);
    EXPECT_EQ(r.s.nb_succes_Z, 2);
    EXPECT_FALSE(r.s.arret_calibration);
    cycle_Z(r.c);
    EXPECT_TRUE(r.s.arret_calibration);
    EXPECT_FALSE(r.s.echec_cycle_vu);
  }
}

TEST(Motion, WatchdogOnlyAfterTheFirstRunAndNotWhenHeldOff) {
  struct Case {
    bool lancee;
    int16_t hors;
    int64_t ends_after;
    const char* caption;
  } cases[] = {
      {true, 0, 1000, "Non réponse poinçon"},
      {false, 0, kDelaiReponseMs, "Pas de réponse de la machine"},
      {true, -1, kDelaiReponseMs, "Pas de réponse de la machine"},
  };
  for (const auto& k : cases) {
    Machine r;
    r.s.perforation_lancee = k.lancee;
    r.s.hors_watchdog = k.hors;
    r.peer.queue("CZ", "");
    const int64_t t = r.p.now();
    cycle_Z(r.c);
    // The wait ends on the tick of the expiry; the lamp's turn adds one.
    EXPECT_EQ(r.p.now() - t, k.ends_after + 1) << k.caption;
    EXPECT_EQ(r.texts(), Texts(k.caption, std::string(k.caption) + " - Contexte sauvegardé"));
    EXPECT_TRUE(r.suspended());
    EXPECT_EQ(r.s.watchdog_echu, 0);
    EXPECT_FALSE(r.m.WD_timer.enabled());
    EXPECT_EQ(r.s.compteur_trous, 1);
  }
}

TEST(Motion, WatchdogDoesNotFireOnAPromptReply) {
  Machine r;
  r.s.perforation_lancee = true;
  cycle_Z(r.c);
  r.p.run_for(2000);
  EXPECT_EQ(r.s.watchdog_echu, 0);
  EXPECT_EQ(r.s.etat_pause, 0);
}

TEST(Motion, SimulationWritesNothingAndStillCounts) {
  Machine r;
  r.s.mode_simulation = true;
  r.s.reprise_sans_avance = true;
  auto from = r.mark();
  cycle_Z(r.c);
  EXPECT_TRUE(r.frames(from).empty());
  EXPECT_EQ(r.s.compteur_trous, 1);
  EXPECT_FALSE(r.s.reprise_sans_avance);
  EXPECT_EQ(r.m.E(7).color(), palette::kWhite);
}

TEST(Motion, FixedCycleAndNotePageClearsThePause) {
  Machine r;
  fenetre_notes_Click(r.c);
  r.m.Check2.set_value(0);
  r.s.etat_pause = 1;
  r.m.Command12.set_text("Continuer");
  auto from = r.mark();
  cycle_Z(r.c);
  EXPECT_EQ(r.frame_bytes(from), std::vector<std::string>{"cZxxxxx\n"});
  EXPECT_EQ(r.s.etat_pause, 0);
  EXPECT_EQ(r.m.Command12.text(), "Pause");
}

TEST(LostSteps, AtBelowAndAboveTheThreshold) {
  // Positions 100 and 125: the threshold is floor(25 / 2) = 12.
  struct Case {
    const char* count;
    const char* service_line;
    bool suspends;
  } cases[] = {
      {"00011", "Perte d'origine :  11 pas - Contexte sauvegardé", false},
      {"00012", "Perte d'origine :  12 pas - Contexte sauvegardé", false},
      {"00013", "Perte d'origine :  13 pas - Contexte sauvegardé", true},
  };
  for (const auto& k : cases) {
    Machine r;
    r.m.Position(1).set_text("100");
    r.m.Position(2).set_text("125");
    r.peer.queue("MX", "D");
    r.peer.after_lf(k.count);
    r.s.sens_X = true;
    r.m.nb_PasX.set_text("1200");
    auto from = r.mark();
    deplace_X(r.c);
    EXPECT_EQ(r.frame_bytes(from), (std::vector<std::string>{"MX01200\n", "\n", "\n"}));
    EXPECT_EQ(r.m.Label_defautP.text(), k.service_line);
    EXPECT_EQ(r.m.Label_defaut.text(), "") << "unchanged by a loss";
    EXPECT_EQ(r.m.Text9.text(), "1");
    EXPECT_EQ(r.m.Text10.text(), k.count);
    EXPECT_EQ(r.s.etat_pause, k.suspends ? 1 : 0) << k.count;
    EXPECT_EQ(r.s.realignement_demande, k.suspends ? 0 : -1) << k.count;
    EXPECT_EQ(r.read_file("Perfo_en_cours.sav").empty(), !k.suspends) << "a small loss saves no context";
    EXPECT_EQ(r.s.compteur_X, 1200);
    EXPECT_FALSE(r.s.mode_5car);
  }
}

TEST(LostSteps, LargestLossKeptAndCountGrows) {
  Machine r;
  r.m.Text10.set_text("12");
  r.s.sens_X = true;
  r.m.nb_PasX.set_text("10");
  r.peer.queue("MX", "D");
  r.peer.after_lf("00005");
  deplace_X(r.c);
  EXPECT_EQ(r.m.Text10.text(), "12");
  r.peer.queue("MX", "D");
  r.peer.after_lf("00013");
  deplace_X(r.c);
  EXPECT_EQ(r.m.Text10.text(), "00013");
  EXPECT_EQ(r.m.Text9.text(), "2");
}

TEST(LostSteps, DescendingTableMakesEveryLossLarge) {
  Machine r;
  r.m.Position(1).set_text("200");
  r.m.Position(2).set_text("100");
  r.s.sens_X = true;
  r.peer.queue("MX", "D");
  r.peer.after_lf("00000");
  deplace_X(r.c);
  EXPECT_EQ(r.s.etat_pause, 1);
}

TEST(LinkFaults, SilentBoardSuspendsWithItsRecorderFile) {
  Machine r;
  r.peer.silent = true;
  r.m.nb_PasY.set_text("7");
  r.m.NbpasY.set_text("10");
  deplace_Y(r.c);
  EXPECT_EQ(r.texts(), Texts("Pas de réponse de la machine", "Pas de réponse de la machine - Contexte sauvegardé"));
  EXPECT_TRUE(r.suspended());
  EXPECT_EQ(r.s.compteur_Y, 7);
  const std::string trafic = cp1252_to_utf8(r.read_file("Perfo_en_cours.trafic.txt"));
  // Burst from 902, MY at 990, time-out 5000 + 2 * 70 * 7.5 ms = 6050 ms later.
  EXPECT_NE(trafic.find("        902 > NUxxxxx<LF>\r\n"), std::string::npos);
  EXPECT_NE(trafic.find("        990 > MY00070<LF>\r\n"), std::string::npos);
  EXPECT_NE(trafic.find("       7040 ! pas de réponse après 6050 ms\r\n"), std::string::npos);
  EXPECT_EQ(trafic.substr(trafic.size() - 4), "\r\n\r\n");
}

TEST(LinkFaults, VanishedPortSuspends) {
  Machine r;
  r.p.sim_serial().remove_port(10);
  r.s.sens_X = true;
  r.m.nb_PasX.set_text("10");
  deplace_X(r.c);
  EXPECT_EQ(r.texts(), Texts("Liaison série perdue", "Liaison série perdue - Contexte sauvegardé"));
  EXPECT_TRUE(r.suspended());
  EXPECT_FALSE(r.p.serial().is_open());
  EXPECT_EQ(r.m.Shape2.color(), palette::kLightRed);
}

TEST(LinkFaults, CountTooLargeForTheFrameIsRefused) {
  Machine r;
  r.s.sens_X = true;
  r.m.nb_PasX.set_text("123456");
  auto from = r.mark();
  deplace_X(r.c);
  EXPECT_TRUE(r.frames(from).empty());
  EXPECT_EQ(r.texts(),
            Texts("Déplacement impossible",
                  "Valeur 123456 refusée pour la commande MX : la machine n'accepte que 0 à 99999 - rien n'a été "
                  "envoyé - Contexte sauvegardé"));
  EXPECT_TRUE(r.suspended());
  EXPECT_EQ(r.s.compteur_X, 0);
}

TEST(LinkFaults, UnwritableFolderIsToldOnTheServiceLine) {
  Machine r;
  r.s.dossier_appli = r.home + "missing/";
  r.peer.queue("MY", "B");
  r.m.nb_PasY.set_text("1");
  deplace_Y(r.c);
  EXPECT_EQ(r.m.Label_defautP.text(), "Erreur repos poinçon - Contexte non sauvegardé (écriture impossible)");
  EXPECT_EQ(r.s.etat_pause, 1);
}

TEST(Faults, ContextFileOfAFaultByteForByte) {
  Machine r;
  r.s.nom_fichier_set = "Orgue 29.set";
  r.m.compteurXY(1).set_text("74");
  r.s.compteur_trous = 12;
  r.m.Note(2).set_color(palette::kLightRed);
  r.m.Note(2).set_tooltip(" 107");
  r.s.chemin_midi = "/home/op/Valse.mid";
  r.s.fichiers_restants = 1;
  r.m.Liste_fichiers.add_row("/home/op/Valse.mid");
  r.peer.queue("CZ", "B");
  cycle_Z(r.c);
  std::string expected = "Orgue 29.set\r\n74\r\n12\r\n15\r\n\r\n12\r\n 107\r\n";
  for (int k = 3; k <= 29; ++k) expected += "15\r\n\r\n";
  expected += "/home/op/Valse.mid\r\n 0\r\n 1\r\n/home/op/Valse.mid\r\n\r\n";
  EXPECT_EQ(r.read_file("Perfo_en_cours.sav"), expected);
}

TEST(Motion, CountersFollowTheFieldAsItStandsAfterTheWait) {
  // A handler inside the wait (the stop of the continuous feed) rewrites the
  // field: the counter adds the value it holds when the reply has come.
  struct Case {
    bool y;
    const char* before;
    const char* during;
    int32_t counter_after;  // from 100
  } cases[] = {{false, "40", "7", 107}, {true, "40", "7", 107}, {true, "40", "40", 140}};
  for (const auto& k : cases) {
    Machine r;
    r.peer.delay_ms = 50;
    r.s.sens_X = true;
    r.s.compteur_X = 100;
    r.s.compteur_Y = 100;
    Element& field = k.y ? r.m.nb_PasY : r.m.nb_PasX;
    field.set_text(k.before);
    r.p.at(r.p.now() + 10, [&] { field.set_text(k.during); });
    if (k.y)
      deplace_Y(r.c);
    else
      deplace_X(r.c);
    EXPECT_EQ(k.y ? r.s.compteur_Y : r.s.compteur_X, k.counter_after) << k.y << k.during;
  }
}

}  // namespace
}  // namespace brivel::test
