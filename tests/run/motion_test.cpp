#include "run/motion/motion.h"

#include <gtest/gtest.h>

#include "console/pages.h"
#include "core/cp1252.h"
#include "link/line.h"
#include "support/link_rig.h"

namespace brivel::test {
namespace {

using Texts = std::pair<std::string, std::string>;

struct Machine : LinkRig {
  Machine() {
    EXPECT_TRUE(connect(10));
    m.Demipas.set_value(0);
    s.sens_X = true;
  }
  // The fault caption and the service line together.
  Texts texts() const { return {m.Label_defaut.text(), m.Label_defautP.text()}; }
  bool suspended() const {
    return s.etat_pause == 1 && m.Command12.text() == "Continuer" && m.fenetre_moteurs.enabled() &&
           m.fenetre_notes.enabled();
  }
  void silence(bool lancee, int16_t hors_watchdog) {  // the next cycle gets no reply
    s.perforation_lancee = lancee;
    s.hors_watchdog = hors_watchdog;
    peer.queue("CZ", "");
  }
  void run(const std::string& code) {
    if (code == "MX") deplace_X(c);
    if (code == "MY") deplace_Y(c);
    if (code == "CZ") cycle_Z(c);
  }
};

Texts saved(const std::string& caption) { return {caption, caption + " - Contexte sauvegardé"}; }

TEST(Motion, TheFramesOfOneHoleAndTheWorkingSequence) {
  Machine r;
  r.m.NbpasY.set_text("10");
  r.s.compteur_Y = 2;
  r.m.nb_PasY.set_text(" 72");
  r.s.compteur_X = 300;
  r.m.nb_PasX.set_text("1200");
  r.s.perforation_lancee = true;
  auto from = r.mark();
  const int64_t t = r.p.now();
  debut_travail(r.c);
  deplace_Y(r.c);
  EXPECT_EQ(r.m.LabelY.text(), "74");
  deplace_X(r.c);
  EXPECT_EQ(r.m.LabelX.text(), "1500");
  cycle_Z(r.c);
  EXPECT_EQ(r.s.compteur_trous, 1);
  fin_travail(r.c);
  // Each reply 1 ms after its frame; the 250 ms after AG, the 25 ms after a move or ZG, end on the next tick.
  const int64_t u = t + 251;
  EXPECT_EQ(r.frames(from), F({{t, "AGxxxxx\n"}, {u, "MY00720\n"}, {u + 27, "MX01200\n"}, {u + 54, "CZxxxxx\n"},
                               {u + 56, "ZGxxxxx\n"}}));
  EXPECT_EQ(r.p.now(), u + 56 + 26);
  EXPECT_EQ(r.s.etat_pause, 0);
  EXPECT_FALSE(r.m.WD_timer.enabled());
  EXPECT_EQ(r.m.E(7).color(), palette::kWhite);
}

TEST(Motion, FourXCodesByDirectionAndHalfStep) {
  struct Case {
    bool sens;
    int demipas;
    const char *steps, *frame;
    int16_t counter_after;  // from 100
  } cases[] = {
      {true, 0, "40", "MX00040\n", 140},   {true, 1, "40", "mX00040\n", 140}, {false, 0, "40", "Mx00040\n", 60},
      {false, 1, "40", "mx00040\n", 60},   {false, 0, "0", "Mx00000\n", 100},
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

TEST(Motion, FaultsSuspendSaveAndStillCount) {
  struct Case {
    const char* code;
    std::function<void(Machine&)> spoil;
    const char* caption;
    int x, y, holes;  // the counters after
    bool sent;
    int64_t waited = -1;            // ms the wait for the reply took
    const char* service = nullptr;  // nullptr: the caption, context saved
    std::function<void(Machine&)> then = nullptr;
  } cases[] = {
      {"MX", [](Machine& r) { r.peer.queue("MX", "B"); }, "Erreur repos poinçon", 50, 0, 0, true},
      {"MY", [](Machine& r) { r.peer.queue("MY", "B"); }, "Erreur repos poinçon", 0, 7, 0, true},
      {"CZ", [](Machine& r) { r.peer.queue("CZ", "B"); }, "Erreur repos poinçon", 0, 0, 1, true},
      {"CZ", [](Machine& r) { r.peer.queue("CZ", "C"); }, "Erreur cycle de perforation", 0, 0, 1, true},
      {"MX", [](Machine& r) { r.p.sim_serial().remove_port(10); }, "Liaison série perdue", 50, 0, 0, false, -1, nullptr,
       [](Machine& r) {
         EXPECT_FALSE(r.p.serial().is_open());
         EXPECT_EQ(r.m.Shape2.color(), palette::kLightRed);
       }},
      {"MX", [](Machine& r) { r.m.nb_PasX.set_text("123456"); }, "Déplacement impossible", 0, 0, 0, false, -1,
       "Valeur 123456 refusée pour la commande MX : la machine n'accepte que 0 à 99999 - rien n'a été envoyé - "
       "Contexte sauvegardé"},
      {"MY", [](Machine& r) { r.peer.silent = true; }, "Pas de réponse de la machine", 0, 7, 0, true, -1, nullptr,
       [](Machine& r) {
         const std::string trafic = cp1252_to_utf8(r.read_file("Perfo_en_cours.trafic.txt"));
         // Burst from 902, MY at 990, time-out 5000 + 2 * 70 * 7.5 ms = 6050 ms later.
         EXPECT_NE(trafic.find("        902 > NUxxxxx<LF>\r\n"), std::string::npos);
         EXPECT_NE(trafic.find("        990 > MY00070<LF>\r\n"), std::string::npos);
         EXPECT_NE(trafic.find("       7040 ! pas de réponse après 6050 ms\r\n"), std::string::npos);
         EXPECT_EQ(trafic.substr(trafic.size() - 4), "\r\n\r\n");
       }},
      // The watchdog answers for the board after the first run, unless held off; the wait ends on the tick of
      // the expiry, the lamp's turn adds one.
      {"CZ", [](Machine& r) { r.silence(true, 0); }, "Non réponse poinçon", 0, 0, 1, true, 1001},
      {"CZ", [](Machine& r) { r.silence(false, 0); }, "Pas de réponse de la machine", 0, 0, 1, true,
       kDelaiReponseMs + 1},
      {"CZ", [](Machine& r) { r.silence(true, -1); }, "Pas de réponse de la machine", 0, 0, 1, true,
       kDelaiReponseMs + 1},
  };
  for (const auto& k : cases) {
    Machine r;
    r.m.nb_PasX.set_text("50");
    r.m.nb_PasY.set_text("7");
    r.m.NbpasY.set_text("10");
    k.spoil(r);
    auto from = r.mark();
    const int64_t t = r.p.now();
    r.run(k.code);
    if (k.waited >= 0) {
      EXPECT_EQ(r.p.now() - t, k.waited) << k.caption;
    }
    EXPECT_EQ(r.texts(), k.service ? Texts(k.caption, k.service) : saved(k.caption)) << k.code;
    EXPECT_TRUE(r.suspended()) << k.caption;
    EXPECT_FALSE(r.read_file("Perfo_en_cours.sav").empty()) << k.caption;
    EXPECT_EQ(std::make_tuple(r.s.compteur_X, r.s.compteur_Y, r.s.compteur_trous), std::make_tuple(k.x, k.y, k.holes))
        << k.caption << " " << k.code;
    EXPECT_EQ(r.frames(from).empty(), !k.sent) << k.caption;
    EXPECT_EQ(r.s.watchdog_echu, 0);
    EXPECT_FALSE(r.m.WD_timer.enabled());
    if (k.then) k.then(r);
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

TEST(Motion, CycleFailureDuringACalibrationIsCountedNotSuspended) {
  Machine r;
  r.s.calibration_Z_active = -1;
  r.peer.queue("CZ", "C");
  cycle_Z(r.c);
  EXPECT_EQ(r.m.Label_defaut.text(), "Erreur cycle de perforation");
  EXPECT_EQ(r.s.etat_pause, 0);
  EXPECT_TRUE(r.s.echec_cycle_vu);
  cycle_Z(r.c);
  cycle_Z(r.c);
  EXPECT_EQ(r.s.nb_succes_Z, 2);
  EXPECT_FALSE(r.s.arret_calibration);
  cycle_Z(r.c);
  EXPECT_TRUE(r.s.arret_calibration);
  EXPECT_FALSE(r.s.echec_cycle_vu);
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

TEST(LostSteps, SuspendOnlyAboveHalfTheFirstGap) {
  struct Case {
    const char *pos1, *pos2, *count;
    bool suspends;
  } cases[] = {
      // 100 and 125: the threshold is floor(25 / 2) = 12.
      {"100", "125", "00011", false},
      {"100", "125", "00012", false},
      {"100", "125", "00013", true},
      {"200", "100", "00001", true},  // a descending table makes every loss large
  };
  for (const auto& k : cases) {
    Machine r;
    r.m.Position(1).set_text(k.pos1);
    r.m.Position(2).set_text(k.pos2);
    r.peer.queue("MX", "D");
    r.peer.after_lf(k.count);
    r.m.nb_PasX.set_text("1200");
    auto from = r.mark();
    deplace_X(r.c);
    EXPECT_EQ(r.frame_bytes(from), (std::vector<std::string>{"MX01200\n", "\n", "\n"}));
    EXPECT_EQ(r.m.Label_defautP.text(),
              "Perte d'origine :  " + std::to_string(std::stoi(k.count)) + " pas - Contexte sauvegardé");
    EXPECT_EQ(r.m.Label_defaut.text(), "") << "unchanged by a loss";
    EXPECT_EQ(r.m.Text10.text(), k.count);
    EXPECT_EQ(r.s.etat_pause, k.suspends ? 1 : 0) << k.count;
    EXPECT_EQ(r.s.realignement_demande, k.suspends ? 0 : -1) << k.count;
    EXPECT_EQ(r.read_file("Perfo_en_cours.sav").empty(), !k.suspends) << "a small loss saves no context";
    EXPECT_FALSE(r.s.mode_5car);
  }
}

TEST(LostSteps, LargestLossKeptAndCountGrows) {
  Machine r;
  r.m.Text10.set_text("12");
  for (auto [count, kept] : {std::pair{"00005", "12"}, {"00013", "00013"}}) {
    r.peer.queue("MX", "D");
    r.peer.after_lf(count);
    deplace_X(r.c);
    EXPECT_EQ(r.m.Text10.text(), kept);
  }
  EXPECT_EQ(r.m.Text9.text(), "2");
}

TEST(LinkFaults, UnwritableFolderIsToldOnTheServiceLine) {
  Machine r;
  r.s.dossier_appli = r.home + "missing/";
  r.peer.queue("MY", "B");
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
    const char* during;
    int32_t counter_after;  // from 100
  } cases[] = {{false, "7", 107}, {true, "7", 107}, {true, "40", 140}};
  for (const auto& k : cases) {
    Machine r;
    r.peer.delay_ms = 50;
    r.s.compteur_X = 100;
    r.s.compteur_Y = 100;
    Element& field = k.y ? r.m.nb_PasY : r.m.nb_PasX;
    field.set_text("40");
    r.p.at(r.p.now() + 10, [&] { field.set_text(k.during); });
    r.run(k.y ? "MY" : "MX");
    EXPECT_EQ(k.y ? r.s.compteur_Y : r.s.compteur_X, k.counter_after) << k.y << k.during;
  }
}

}  // namespace
}  // namespace brivel::test
