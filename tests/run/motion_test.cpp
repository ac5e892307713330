#include "run/motion/motion.h"

#include <gtest/gtest.h>

#include "console/pages.h"
#include "core/cp1252.h"
#include "link/line.h"
#include "run/engine/progress.h"
#include "run/origin/origin.h"
#include "support/link_rig.h"

namespace brivel::test {
namespace {

using Texts = std::pair<std::string, std::string>;
using Strings = std::vector<std::string>;

struct Machine : LinkRig {
  Machine() {
    EXPECT_TRUE(connect(10));
    m.Demipas.set_value(0);
    s.sens_X = true;
  }
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

TEST(Motion, XCodeByDirectionAndHalfStep) {
  // The other three codes are in the run's frames; the frame rounds away from zero, the counter to even.
  for (auto [sens, demipas, steps, frame, counter] :
       {std::tuple{false, 1, "40", "mx00040\n", 60}, {true, 0, "12.5", "MX00013\n", 112}}) {
    Machine r;
    r.m.Demipas.set_value(demipas);
    r.s.sens_X = sens;
    r.s.compteur_X = 100;
    r.m.nb_PasX.set_text(steps);
    auto from = r.mark();
    deplace_X(r.c);
    EXPECT_EQ(r.frame_bytes(from), Strings{frame});
    EXPECT_EQ(r.s.compteur_X, counter) << frame;
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
      {"CZ", [](Machine& r) { r.peer.queue("CZ", "B"); }, "Erreur repos poinçon", 0, 0, 1, true},
      {"CZ", [](Machine& r) { r.peer.queue("CZ", "C"); }, "Erreur cycle de perforation", 0, 0, 1, true},
      {"MY",
       [](Machine& r) {
         r.s.dossier_appli = r.home + "missing/";
         r.peer.queue("MY", "B");
       },
       "Erreur repos poinçon", 0, 7, 0, true, -1, "Erreur repos poinçon - Contexte non sauvegardé (écriture impossible)"},
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
    const std::string service = k.service ? k.service : std::string(k.caption) + " - Contexte sauvegardé";
    EXPECT_EQ(Texts(r.m.Label_defaut.text(), r.m.Label_defautP.text()), Texts(k.caption, service)) << k.code;
    EXPECT_TRUE(r.suspended()) << k.caption;
    EXPECT_EQ(r.read_file("Perfo_en_cours.sav").empty(), service.find("non sauvegardé") != std::string::npos)
        << service;
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

TEST(Motion, FixedCycleAndNotePageClearsThePause) {
  Machine r;
  fenetre_notes_Click(r.c);
  r.m.Check2.set_value(0);
  r.s.etat_pause = 1;
  r.s.reprise_sans_avance = true;
  r.m.Command12.set_text("Continuer");
  auto from = r.mark();
  cycle_Z(r.c);
  EXPECT_EQ(r.frame_bytes(from), Strings{"cZxxxxx\n"});
  EXPECT_EQ(r.s.etat_pause, 0);
  EXPECT_EQ(r.m.Command12.text(), "Pause");
  EXPECT_FALSE(r.s.reprise_sans_avance) << "a cycle ends the catch-up without moves";
}

TEST(LostSteps, SuspendOnlyAboveHalfTheFirstGap) {
  // 100 and 125: the threshold is floor(25 / 2) = 12; a descending table makes every loss large.
  for (auto [pos1, pos2, count, suspends] : {std::tuple{"100", "125", "00012", false},
                                             {"100", "125", "00013", true}, {"200", "100", "00001", true}}) {
    Machine r;
    r.m.Position(1).set_text(pos1);
    r.m.Position(2).set_text(pos2);
    r.peer.queue("MX", "D");
    r.peer.after_lf(count);
    r.m.nb_PasX.set_text("1200");
    auto from = r.mark();
    deplace_X(r.c);
    EXPECT_EQ(r.frame_bytes(from), (Strings{"MX01200\n", "\n", "\n"}));
    EXPECT_EQ(r.m.Label_defautP.text(),
              "Perte d'origine :  " + std::to_string(std::stoi(count)) + " pas - Contexte sauvegardé");
    EXPECT_EQ(r.m.Label_defaut.text(), "") << "unchanged by a loss";
    EXPECT_EQ(r.m.Text10.text(), count);
    EXPECT_EQ(r.s.etat_pause, suspends ? 1 : 0) << count;
    EXPECT_EQ(r.s.realignement_demande, suspends ? 0 : -1) << count;
    EXPECT_EQ(r.read_file("Perfo_en_cours.sav").empty(), !suspends) << "a small loss saves no context";
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
  // A handler inside the wait (the stop of the continuous feed) rewrites the field: the counter adds the value
  // it holds when the reply has come.
  for (auto [y, during, counter] : {std::tuple{false, "7", 107}, {true, "7", 107}, {true, "40", 140}}) {
    Machine r;
    r.peer.delay_ms = 50;
    r.s.compteur_X = 100;
    r.s.compteur_Y = 100;
    Element& field = y ? r.m.nb_PasY : r.m.nb_PasX;
    field.set_text("40");
    r.p.at(r.p.now() + 10, [&field, d = during] { field.set_text(d); });
    r.run(y ? "MY" : "MX");
    EXPECT_EQ(y ? r.s.compteur_Y : r.s.compteur_X, counter) << y << during;
  }
}

TEST(Origin, SearchAndReRegistration) {
  struct Case {
    const char* what;
    int demipas, recalage, x_before, sens_before, mesure;
    const char *reply, *count;         // to the search frame; after the bare line feed, for "D"
    Strings frames, labelx, service;  // LabelX and the service line: each text they showed
  } cases[] = {
      {"re-registration on the edge keeps the last direction", 0, 1, 220, 0, 0, "A", "",
       {"ORxxxxx\n", "Mx00000\n"}, {"220"}, {"Recalage par rapport à l'origine", "Perforation en cours"}},
      {"half steps, back to the saved X", 1, 1, 400, 0, 0, "A", "", {"oRxxxxx\n", "mX00180\n"},
       {"220", "400"}, {"Recalage par rapport à l'origine", "Perforation en cours"}},
      {"after RAZ without a count", 0, 0, 0, 1, -1, "A", "", {"ORxxxxx\n"}, {"220", "", "0"},
       {"Recherche de l'origine", "Perforation en cours"}},
      {"after RAZ with a count", 0, 0, 0, 1, -1, "D", "00123", {"ORxxxxx\n", "\n", "\n"},
       {"220", "00123", "123"}, {"Recherche de l'origine", "Perforation en cours"}},
  };
  for (const auto& k : cases) {
    Machine r;
    r.m.Demipas.set_value(k.demipas);
    r.s.perforation_lancee = true;
    r.s.recalage_demande = k.recalage;
    r.s.compteur_X = static_cast<int16_t>(k.x_before);
    r.m.LabelX.set_text("0");
    r.s.sens_X = k.sens_before;
    r.s.mesure_origine = static_cast<int16_t>(k.mesure);
    r.peer.queue(k.demipas ? "oR" : "OR", k.reply);
    if (*k.count) r.peer.after_lf(k.count);
    Strings shown, said;
    r.m.subscribe([&](Element& e, Prop p) {
      if (&e == &r.m.LabelX && p == Prop::Text) shown.push_back(e.text());
      if (&e == &r.m.Label_defautP && p == Prop::Text) said.push_back(e.text());
    });
    const auto from = r.mark();
    recherche_origine(r.c);
    EXPECT_EQ(r.frame_bytes(from), k.frames) << k.what;
    EXPECT_EQ(shown, k.labelx) << k.what;
    EXPECT_EQ(said, k.service) << k.what;
    EXPECT_FALSE(r.s.recalage_demande) << k.what;
    EXPECT_EQ(r.s.mesure_origine, 0) << k.what;
    EXPECT_TRUE(r.m.CommandeX_P.enabled()) << k.what;
  }
}

TEST(Origin, ReadinessIsAskedUntilTheBoardSaysYes) {
  Machine r;
  r.peer.queue("ON", "B");
  r.peer.queue("ON", "B");
  Strings service;
  r.m.subscribe([&](Element& e, Prop p) {
    if (&e == &r.m.Label_defautP && p == Prop::Text) service.push_back(e.text());
  });
  const auto from = r.mark();
  r.m.Origine_N.click();
  EXPECT_EQ(r.frame_bytes(from),
            (Strings{"AGxxxxx\n", "ONxxxxx\n", "ONxxxxx\n", "ONxxxxx\n", "ORxxxxx\n", "ZGxxxxx\n"}));
  // Each question 500 ms after the answer before it.
  const auto f = r.frames(from);
  EXPECT_GE(f[2].at_ms - f[1].at_ms, 500);
  EXPECT_EQ(service.front(), "Calage origine impossible. Machine en marche?");
  EXPECT_EQ(r.m.E(5).color(), palette::kWhite);
}

TEST(Progress, CountersFollowTheStepAndTheHead) {
  LinkRig r;
  r.s.ms_par_pas = 10;
  r.s.pas_Y_mm = 0.83;
  r.s.pas_poincon = 12;
  r.s.debut_pas = 2;
  r.m.LabelY.set_text("100");
  // Step 112 at 10 ms a step; 110 steps of card from the start step.
  EXPECT_EQ(r.m.compteurXY(1).text(), "100");
  EXPECT_EQ(r.m.compteurXY(2).text(), "0 mn 01 s");
  EXPECT_EQ(r.m.Long_perforee.text(), "0.091 m");
  r.m.LabelX.set_text("345");
  EXPECT_EQ(r.m.compteurXY(0).text(), "345");
}

}  // namespace
}  // namespace brivel::test
