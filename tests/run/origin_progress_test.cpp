// The origin search, the progress observers and the deferred start.
#include <gtest/gtest.h>

#include "run/engine/deferred.h"
#include "run/engine/progress.h"
#include "run/origin/origin.h"
#include "support/link_rig.h"
#include "support/punch_rig.h"

namespace brivel::test {
namespace {

TEST(Origin, SearchAndReRegistration) {
  struct Case {
    const char* what;
    int demipas;
    bool recalage;
    int16_t x_before;
    bool sens_before;
    int16_t mesure;
    const char *reply, *count;             // to the search frame; after the bare line feed, for "D"
    std::vector<std::string> frames, labelx;  // LabelX: each text it showed
  } cases[] = {
      {"re-registration on the edge keeps the last direction", 0, true, 220, false, 0, "A", "",
       {"ORxxxxx\n", "Mx00000\n"}, {"220"}},
      {"half steps, back to the saved X", 1, true, 400, false, 0, "A", "", {"oRxxxxx\n", "mX00180\n"},
       {"220", "400"}},
      {"after RAZ without a count", 0, false, 0, true, -1, "A", "", {"ORxxxxx\n"}, {"220", "", "0"}},
      {"after RAZ with a count", 0, false, 0, true, -1, "D", "00123", {"ORxxxxx\n", "\n", "\n"},
       {"220", "00123", "123"}},
  };
  for (const auto& k : cases) {
    LinkRig r;
    ASSERT_TRUE(r.connect(10));
    r.m.Demipas.set_value(k.demipas);
    r.s.perforation_lancee = true;
    r.s.recalage_demande = k.recalage;
    r.s.compteur_X = k.x_before;
    r.m.LabelX.set_text("0");
    r.s.sens_X = k.sens_before;
    r.s.mesure_origine = k.mesure;
    r.peer.queue(k.demipas ? "oR" : "OR", k.reply);
    if (*k.count) r.peer.after_lf(k.count);
    std::vector<std::string> shown, said;
    r.m.subscribe([&](Element& e, Prop p) {
      if (&e == &r.m.LabelX && p == Prop::Text) shown.push_back(e.text());
      if (&e == &r.m.Label_defautP && p == Prop::Text) said.push_back(e.text());
    });
    const auto from = r.mark();
    recherche_origine(r.c);
    EXPECT_EQ(r.frame_bytes(from), k.frames) << k.what;
    EXPECT_EQ(shown, k.labelx) << k.what;
    ASSERT_FALSE(said.empty());
    EXPECT_EQ(said.front(), k.recalage ? "Recalage par rapport à l'origine" : "Recherche de l'origine") << k.what;
    EXPECT_FALSE(r.s.recalage_demande) << k.what;
    EXPECT_EQ(r.s.mesure_origine, 0) << k.what;
    EXPECT_EQ(r.m.Label_defautP.text(), "Perforation en cours") << k.what;
    EXPECT_TRUE(r.m.CommandeX_P.enabled()) << k.what;
  }
}

TEST(Origin, ReadinessIsAskedUntilTheBoardSaysYes) {
  LinkRig r;
  ASSERT_TRUE(r.connect(10));
  r.m.Demipas.set_value(0);
  r.peer.queue("ON", "B");
  r.peer.queue("ON", "B");
  std::vector<std::string> service;
  r.m.subscribe([&](Element& e, Prop p) {
    if (&e == &r.m.Label_defautP && p == Prop::Text) service.push_back(e.text());
  });
  const auto from = r.mark();
  r.m.Origine_N.click();
  EXPECT_EQ(r.frame_bytes(from),
            (std::vector<std::string>{"AGxxxxx\n", "ONxxxxx\n", "ONxxxxx\n", "ONxxxxx\n", "ORxxxxx\n", "ZGxxxxx\n"}));
  // Each question 500 ms after the answer before it.
  const auto f = r.frames(from);
  EXPECT_GE(f[2].at_ms - f[1].at_ms, 500);
  EXPECT_EQ(service.front(), "Calage origine impossible. Machine en marche?");
  EXPECT_EQ(r.m.E(5).color(), palette::kWhite);
}

TEST(Progress, TimeAndLengthPictures) {
  for (auto [ms, text] : {std::pair{0.0, "0 mn 00 s"}, {187000.0, "3 mn 07 s"}, {599999.0, "9 mn 59 s"},
                         {600000.0, "10 mn 00 s"}, {760000.0, "12 mn 40 s"}})
    EXPECT_EQ(texte_temps(ms), text) << ms;
  for (auto [m, text] : {std::pair{0.83, "0.830 m"}, {10.0, "10.000 m"}, {12.45, "12.450 m"}})
    EXPECT_EQ(texte_longueur(m), text);

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

TEST(Deferred, ReadingATimeOfDay) {
  struct Case {
    const char* text;
    std::optional<int> s;
  } cases[] = {{"14:30", 52200}, {"14:30:15", 52215}, {"9:05", 32700}, {"14h30", 52200}, {"00:10", 600},
               {"24:00", {}},    {"12:60", {}},       {"", {}},        {"midi", {}},     {"1:2:3:4", {}}};
  for (const auto& k : cases) EXPECT_EQ(lit_heure(k.text), k.s) << k.text;
  EXPECT_EQ(texte_heure(52215), "14:30:15");
}

TEST(Deferred, StartsAtTheFirstTickAfterItsTime) {
  struct Case {
    const char* what;
    int now_s;                          // time of day when the box opens
    std::optional<std::string> answer;  // nullopt: the box cancelled; "=": the default
    bool armed;
    int64_t starts_within_ms;  // -1: never
    const char* service;
  } cases[] = {
      {"default answer: at once", 12 * 3600, "=", false, 0, nullptr},
      {"past midnight: at the first tick", 23 * 3600 + 50 * 60, "00:10", true, 30000, nullptr},
      {"ten minutes on: the tick after", 12 * 3600, "12:10", true, 630000, nullptr},
      {"no time", 12 * 3600, "bientôt", false, -1,
       "Perforation différée annulée : \"bientôt\" n'est pas une heure (format hh:mn)"},
      {"cancelled", 12 * 3600, std::nullopt, false, -1, "Perforation différée annulée"},
  };
  for (const auto& k : cases) {
    PunchRig r;
    ASSERT_TRUE(r.load(fichier_evenements({note_line(1000, 60, 0)}, 1000)));
    r.p.set_time_of_day(k.now_s - static_cast<int>(r.p.now() / 1000));
    if (k.answer) r.p.sim_dialogs().input_answers.push_back(*k.answer == "=" ? texte_heure(k.now_s) : *k.answer);
    const int64_t t0 = r.p.now();
    r.m.perfo_retard.click();
    EXPECT_EQ(r.p.sim_dialogs().input_prompts.back(), "Heure de démarrage de la perforation :\r\n\n(Format : hh:mn)");
    EXPECT_EQ(r.p.sim_dialogs().input_defaults.back(), texte_heure(k.now_s));
    EXPECT_EQ(r.m.Timer2.enabled(), k.armed) << k.what;
    if (k.service) {
      EXPECT_EQ(r.m.Label_defautP.text(), k.service) << k.what;
      EXPECT_TRUE(r.m.Command11.enabled()) << k.what;
    }
    if (k.starts_within_ms > 0) r.p.run_until([&] { return r.s.perforation_lancee; }, 700000);
    if (k.starts_within_ms >= 0) {
      EXPECT_TRUE(r.s.perforation_lancee) << k.what;
      EXPECT_EQ(r.board.holes().size(), 1u) << k.what;
      EXPECT_LE(r.p.now() - t0, k.starts_within_ms + 5000) << k.what;
      EXPECT_FALSE(r.m.Timer2.enabled()) << k.what;
    } else {
      r.p.run_for(120000);
      EXPECT_FALSE(r.s.perforation_lancee) << k.what;
    }
  }
}

TEST(Deferred, NeverAfterAFinishedRun) {
  PunchRig r;
  ASSERT_TRUE(r.load(fichier_evenements({note_line(1000, 60, 0)}, 1000)));
  r.punch();
  ASSERT_EQ(r.board.holes().size(), 1u);
  r.p.sim_dialogs().input_answers.push_back("00:00");
  r.m.perfo_retard.click();
  EXPECT_TRUE(r.m.Timer2.enabled());
  r.p.run_for(120000);
  EXPECT_EQ(r.board.holes().size(), 1u);
}

}  // namespace
}  // namespace brivel::test
