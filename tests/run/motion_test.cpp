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

}  // namespace
}  // namespace brivel::test
