#include <gtest/gtest.h>

#include "link/connection.h"
#include "link/frames.h"
#include "link/line.h"
#include "support/link_rig.h"

namespace brivel::test {
namespace {

struct Connected : LinkRig {
  Connected() { EXPECT_TRUE(connect(10)); }
};

// One frame and the wait for its reply: how and when it ends, what the operator is told, what the traffic
// recorder keeps.
TEST(Waits, HowAWaitEnds) {
  using Set = std::function<void(Connected&, int64_t t)>;
  auto garbage = [](const std::string& g) -> Set {
    return [g](Connected& r, int64_t t) {
      r.peer.silent = true;
      for (std::size_t i = 0; i < g.size(); ++i) r.p.deliver(t + 10 + static_cast<int64_t>(i), g.substr(i, 1));
    };
  };
  struct Case {
    const char* what;
    Set set;
    Attente ending;
    int64_t took;
    std::string words, recorded;  // "": not looked at
    double delai = kDelaiReponseMs;
    std::function<void(Connected&)> then = {};
  } cases[] = {
      {"only what no wait awaits", garbage("x\n\x01"), Attente::Inattendue, kDelaiReponseMs,
       "Réponse inattendue de la machine : x<LF><01>", "réponse inattendue après 5000 ms : x<LF><01>"},
      {"another character does not end it; each clears the others",
       [](Connected& r, int64_t t) {
         r.peer.queue("MY", "");
         r.p.deliver(t + 5, "C");
         r.p.deliver(t + 7, "a");
         r.p.deliver(t + 9, "A");
       },
       Attente::Reponse, 9, "", "", kDelaiReponseMs,
       [](Connected& r) {
         EXPECT_TRUE(r.s.rep_A);
         EXPECT_FALSE(r.s.rep_C);
         EXPECT_EQ(r.s.car_autre, 'a');
       }},
      {"a reply with no wait keeps its flag until the next frame",
       [](Connected& r, int64_t) {
         r.p.deliver(r.p.now() + 1, "B");
         r.p.run_for(5);
         EXPECT_TRUE(r.s.rep_B);
       },
       Attente::Reponse, 1, "", "", kDelaiReponseMs, [](Connected& r) { EXPECT_FALSE(r.s.rep_B); }},
      {"the port closed under the wait",
       [](Connected& r, int64_t t) {
         r.peer.silent = true;
         r.p.at(t + 300, [&r] { r.p.sim_devices().removal_(); });
       },
       Attente::PortPerdu, 300, "", ""},
      // The board's greeting is no reply: it ends the wait as a restart, and its pieces set no flag.
      {"the board restarts under the wait", garbage(std::string(kSalutCarte)), Attente::CarteReinitialisee, 17,
       kCarteReinitialisee, "la carte a redémarré pendant l'attente", kDelaiReponseMs,
       [](Connected& r) {
         EXPECT_FALSE(r.s.rep_B || r.s.rep_autre);
         EXPECT_EQ(r.s.saluts, 2);  // the connection's and this one
       }},
      {"an ESC that starts no greeting gives back the replies behind it", garbage("\x1b" "BRA"), Attente::Reponse,
       13, "", "", kDelaiReponseMs, [](Connected& r) { EXPECT_TRUE(r.s.salut_partiel.empty()); }},
      {"a greeting that came while the run went on ends the next wait before its frame",
       [](Connected& r, int64_t) {
         r.s.reinit_a_signaler = true;
         EXPECT_EQ(attend(r.c, [] { return false; }, 100), Attente::CarteReinitialisee);
         r.s.reinit_a_signaler = true;
       },
       Attente::CarteReinitialisee, 0, "", "", kDelaiReponseMs,
       [](Connected& r) { EXPECT_TRUE(r.frames().back().bytes != "MY00720\n"); }},
      {"a time-out across a wrap of the tick",
       [](Connected& r, int64_t) {
         r.peer.silent = true;
         r.p.set_tick_offset(2147483647LL - r.p.now() - 100);
       },
       Attente::Delai, 1000, "", "", 1000},
  };
  for (const auto& k : cases) {
    Connected r;
    k.set(r, r.p.now());
    const int64_t t0 = r.p.now();
    EXPECT_EQ(ecrit_et_attend(r.c, "MY00720\n", kRepA | kRepB, k.delai), k.ending) << k.what;
    EXPECT_EQ(r.p.now() - t0, k.took) << k.what;
    if (!k.words.empty()) {
      EXPECT_EQ(texte_defaut_liaison(r.s, k.ending), k.words);
      const auto lines = lignes_trafic(r.s.trafic);
      EXPECT_NE(lines.back().find(" ! " + k.recorded), std::string::npos) << lines.back();
    }
    if (k.then) k.then(r);
  }
  EXPECT_EQ(delai_mouvement_ms(0, 5000), kDelaiReponseMs);
  EXPECT_EQ(delai_mouvement_ms(1000, 5000), kDelaiReponseMs + 10000);
  EXPECT_EQ(delai_mouvement_ms(1000, -5), kDelaiReponseMs);
}

}  // namespace
}  // namespace brivel::test
