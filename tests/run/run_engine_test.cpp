// The punch run on the simulated line with the board model, and its deferred start.
#include "run/engine/run_engine.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <optional>
#include <set>

#include "core/cp1252.h"
#include "link/connection.h"
#include "persistence/files/text_file.h"
#include "persistence/journal/hole_journal.h"
#include "run/engine/deferred.h"
#include "support/punch_rig.h"

namespace brivel::test {
namespace {

using Holes = std::vector<std::pair<int, int>>;
using Strings = std::vector<std::string>;

// A held note (60, rows 74 to 107, PASY every 3 steps), a chord of 62 and 64 (rows 147 to 151, PASY at 150),
// and a note no longer than the punch (65 at 219). Default console: 10 motor steps a Y step, punch 3, half-step X.
const std::string kPiece = fichier_evenements(
    {note_line(1000, 60, 500), note_line(2000, 62, 100), note_line(2000, 64, 100), note_line(3000, 65, 0)}, 3100);

// The holes of an uninterrupted run: X the note's position, Y (motor steps) the row's step less 2, times 10.
Holes reference_holes() {
  Holes h;
  for (int y = 74; y <= 107; y += 3) h.push_back({108, (y - 2) * 10});
  // Chord at 147 upwards, PASY 150 downwards, ends at 151 upwards.
  for (auto p : Holes{{125, 147}, {141, 147}, {141, 150}, {125, 150}, {125, 151}, {141, 151}})
    h.push_back({p.first, (p.second - 2) * 10});
  h.push_back({158, (219 - 2) * 10});
  return h;
}

Holes sorted(Holes h) {
  std::sort(h.begin(), h.end());
  return h;
}

int count_of(const Strings& f, const char* frame) { return static_cast<int>(std::count(f.begin(), f.end(), frame)); }

Holes minus(Holes a, const Holes& b) {
  for (const auto& x : b)
    if (auto it = std::find(a.begin(), a.end(), x); it != a.end()) a.erase(it);
  return a;
}

// The run of kPiece on a fresh rig, `before` done between the opening and the start.
struct PieceRun : PunchRig {
  explicit PieceRun(BoardOptions o = {}, const std::function<void(PieceRun&)>& before = {}, bool simulation = false)
      : PunchRig(std::move(o)) {
    if (simulation) m.Text9.set_text("7351");
    EXPECT_TRUE(load(kPiece));
    if (before) before(*this);
    from = mark();
    punch();
    f = frame_bytes(from);
  }
  // Runs `act` once, when the gauge first reaches `line`.
  void at_line(int line, std::function<void()> act) {
    m.subscribe([this, line, act, done = false](Element& e, Prop p) mutable {
      if (&e != &m.gauge1 || p != Prop::Value || e.value() != line || done) return;
      done = true;
      act();
    });
  }
  std::size_t from = 0;
  Strings f;
};

TEST(RunEngine, HandWorkedPieceFrameByFrame) {
  // The note states at each hole: track 6 holds note 60, track 7 note 62.
  std::vector<std::tuple<int, int, std::string>> seen;
  PieceRun r({}, [&](PieceRun& r) {
    r.m.subscribe([&](Element& e, Prop p) {
      if (&e == &r.m.E(7) && p == Prop::Color && e.color() == palette::kLightRed)
        seen.emplace_back(r.m.Note(6).color(), r.m.Note(7).color(), r.m.Note(6).tooltip());
    });
  });
  ASSERT_EQ(seen.size(), 19u);
  EXPECT_EQ(seen[0], std::make_tuple(kEtatActif, kEtatRepos, std::string(" 0000107")));
  EXPECT_EQ(seen[11], std::make_tuple(kEtatFermant, kEtatRepos, std::string()));  // NTOF at 107
  EXPECT_EQ(seen[12], std::make_tuple(kEtatRepos, kEtatActif, std::string()));
  EXPECT_EQ(seen[16], std::make_tuple(kEtatRepos, kEtatFermant, std::string()));
  // Working sequence, readiness, origin search with its counted reply, then MY per step, X and Z per hole; the
  // head comes from the card's edge (220) to note 60 (108).
  Strings expected = {"AGxxxxx\n", "ONxxxxx\n", "oRxxxxx\n", "\n", "\n", "MY00720\n", "mx00112\n", "CZxxxxx\n"};
  for (int i = 0; i < 11; ++i) expected.insert(expected.end(), {"MY00030\n", "mx00000\n", "CZxxxxx\n"});
  expected.insert(expected.end(), {"MY00400\n", "mX00017\n", "CZxxxxx\n", "mX00016\n", "CZxxxxx\n",  // 147 up
                                   "MY00030\n", "mx00000\n", "CZxxxxx\n", "mx00016\n", "CZxxxxx\n",  // 150 down
                                   "MY00010\n", "mx00000\n", "CZxxxxx\n", "mX00016\n", "CZxxxxx\n",  // 151 up
                                   "MY00680\n", "mX00017\n", "CZxxxxx\n", "ZGxxxxx\n"});
  EXPECT_EQ(r.f, expected);
  EXPECT_EQ(r.holes(), reference_holes());
  EXPECT_EQ(r.s.compteur_trous, 19);
  EXPECT_EQ(r.m.Label_defaut.text(), "Perforation terminée");
  EXPECT_EQ(r.m.LabelY.text(), "219");  // the last row's step
  EXPECT_EQ(r.m.compteurXY(2).text(), "0 mn 03 s");
  EXPECT_EQ(r.m.gauge1.value(), r.m.List3.count());
  for (int k = 1; k <= 29; ++k) EXPECT_EQ(r.m.Note(k).color(), kEtatRepos) << k;
  EXPECT_TRUE(r.m.Avance.enabled() && r.m.nb_trou.visible() && r.s.perforation_lancee);
  // The context marked before each Y move that follows a hole was written
  // ahead, while the hole was punched, and only renamed.
  EXPECT_EQ(ecritures(r.c).bilan().renommees, 15);
  EXPECT_EQ(ecritures(r.c).bilan().perdues, 0);
}

TEST(RunEngine, BoundsAndRefusals) {
  const char* done = "Perforation terminée";
  struct Case {
    const char *what, *deb_sec, *fin_sec;  // nullptr: the bounds as the opening left them
    std::string service;                   // its start
    Holes holes;
    std::function<void(PieceRun&)> spoil = {};
  } cases[] = {
      // 1.2 s is step 86 (floor), 1.4 s step 101 (half to even): the held note, on before the start, is punched
      // at the PASY rows 86 to 101; the card's first move is the 3 steps from row 83 to row 86.
      {"start after the first notes", "1.2", "1.4", done,
       {{108, 30}, {108, 60}, {108, 90}, {108, 120}, {108, 150}, {108, 180}}},
      {"start and end on one step", "1", "1", done, {}},
      {"end left at the piece's end", nullptr, nullptr, done, reference_holes()},
      {"start after end", "2", "1", "Erreur de définition des bornes de perforation", {}},
      {"end beyond the piece", "0", "4", "Borne de fin au-delà de la durée du morceau", {}},
      {"port closed", nullptr, nullptr, "Machine non connectée : perforation impossible", {},
       [](PieceRun& r) { r.p.serial().close(); }},
      {"no step duration", nullptr, nullptr, "Durée d'un pas nulle", {}, [](PieceRun& r) { r.s.ms_par_pas = 0; }},
      {"bound that is no number", nullptr, nullptr, "Bornes de perforation illisibles : \"dix\" n'est pas un nombre",
       {}, [](PieceRun& r) { r.m.Deb_perf_sec.set_text("dix"); }},
      {"Y move of six digits", nullptr, nullptr, "Avance du carton trop grande pour la machine : 144000 pas moteur",
       {}, [](PieceRun& r) { r.m.NbpasY.set_text("2000"); }},
      {"X move of six digits", nullptr, nullptr, "Déplacement de la tête trop grand pour la machine : 149875 pas",
       {}, [](PieceRun& r) { r.m.Position(6).set_text("150000"); }},
  };
  for (const auto& k : cases) {
    PieceRun r({}, [&k](PieceRun& r) {
      if (k.deb_sec) {
        r.m.Deb_perf_mn.set_text("0");
        r.m.Deb_perf_sec.set_text(k.deb_sec);
        r.m.Fin_perf_mn.set_text("0");
        r.m.Fin_perf_sec.set_text(k.fin_sec);
      }
      if (k.spoil) k.spoil(r);
    });
    EXPECT_EQ(r.m.Label_defautP.text().rfind(k.service, 0), 0u) << k.what << ": " << r.m.Label_defautP.text();
    EXPECT_EQ(sorted(r.holes()), sorted(k.holes)) << k.what;
    const bool ok = k.service == done;
    EXPECT_EQ(r.m.Command11.enabled(), !ok) << k.what;
    if (!ok) {
      // Bad bounds close the working sequence the check opened; the other refusals send nothing.
      EXPECT_EQ(r.f, k.spoil ? Strings{} : Strings{"ZGxxxxx\n"}) << k.what;
      EXPECT_FALSE(r.s.perforation_lancee) << k.what;
      EXPECT_TRUE(r.m.fenetre_moteurs.enabled()) << k.what;
    } else if (!k.holes.empty()) {  // nothing moves before the start step: the first Y frame reaches it
      auto my = std::find_if(r.f.begin(), r.f.end(), [](const std::string& s) { return s.rfind("MY", 0) == 0; });
      ASSERT_NE(my, r.f.end());
      EXPECT_EQ(*my, k.holes.front().second == 30 ? "MY00030\n" : "MY00720\n") << k.what;
    }
  }
}

TEST(RunEngine, EveryFaultThenContinuer) {
  struct Case {
    const char* script;
    const char* fault_text;  // on the service line
    int continues;
    Holes extra;      // holes beyond the reference run
    int y_short = 0;  // motor steps the card stays short from the 3rd Y move on
  } cases[] = {
      // A refused 3rd Y move is not repaired: the rest of the card stays 30 steps short, its hole punched again.
      {"B MY 3", "Erreur repos poinçon - Contexte sauvegardé", 1, {{108, 750}}, 30},
      // A refused X move punches where the head stood (the card's edge), then re-registers and repeats the hole.
      {"B mx 1", "Erreur repos poinçon - Contexte sauvegardé", 1, {{220, 720}}},
      {"C CZ 3", "Erreur cycle de perforation - Contexte sauvegardé", 1, {}},
      {"silence CZ 3", "Non réponse poinçon - Contexte sauvegardé", 1, {}},
      // A small loss re-registers at once, without a stop, and repeats.
      {"D mx 3 4", "Perte d'origine :  4 pas - Contexte sauvegardé", 0, {{108, 780}}},
      {"D mx 1 40", "Perte d'origine :  40 pas - Contexte sauvegardé", 1, {{148, 720}}},
      {"refuse ON 2", "Calage origine impossible. Machine en marche?", 0, {}},
      // The 2nd ON is the first "Continuer": answered no, the run stays suspended until asked again.
      {"B ON 2\nC CZ 2", "Résoudre le défaut avant de Continuer", 2, {}},
      // No answer to the readiness question: its time runs out once, the run suspends at its first hole.
      {"silence ON 1", "Pas de réponse de la machine - Contexte sauvegardé", 1, {{108, 720}}},
  };
  for (const auto& k : cases) {
    PieceRun r(fault_script(k.script), [](PieceRun& r) { r.continue_after(1000); });
    EXPECT_EQ(r.m.Label_defautP.text(), "Perforation terminée") << k.script;
    EXPECT_EQ(r.continues, k.continues) << k.script;
    EXPECT_NE(std::find(r.service.begin(), r.service.end(), k.fault_text), r.service.end()) << k.script;
    Holes want = reference_holes();
    for (auto& h : want)
      if (h.second >= 780) h.second -= k.y_short;
    EXPECT_TRUE(minus(want, r.holes()).empty()) << k.script << ": a hole is missing";
    EXPECT_EQ(minus(r.holes(), want), k.extra) << k.script;
    EXPECT_EQ(r.s.etat_pause, 0) << k.script;
  }
}

// A board that restarts under the run (a brown-out as the gauge reaches a line) forgets its parameters and
// where the head stands: the run suspends on its greeting, the parameters go to it again, and "Continuer"
// re-registers and punches every hole in its place.
TEST(RunEngine, ABoardThatRestartsIsNoticedAndPutRight) {
  for (const int line : {2, 9}) {
    PieceRun r({}, [line](PieceRun& r) {
      r.continue_after(1000);
      r.at_line(line, [&r] {
        r.peer.on_modem_lines(true, false, r.p.now());
        r.peer.on_modem_lines(false, false, r.p.now());
      });
    });
    EXPECT_EQ(r.m.Label_defautP.text(), "Perforation terminée") << line;
    EXPECT_EQ(r.continues, 1) << line;
    EXPECT_NE(std::find(r.service.begin(), r.service.end(), kCarteReinitialisee), r.service.end()) << line;
    EXPECT_EQ(count_of(r.f, "NUxxxxx\n"), 1) << line << ": the parameters pushed again";
    EXPECT_EQ(r.board.parameters().at("OX"), 220) << line;
    EXPECT_EQ(r.board.resets(), 2) << line;
    EXPECT_TRUE(minus(reference_holes(), r.holes()).empty()) << line << ": a hole is missing";
    for (const auto& h : minus(r.holes(), reference_holes()))
      EXPECT_NE(std::find(reference_holes().begin(), reference_holes().end(), h), reference_holes().end())
          << line << ": a hole out of place at " << h.first << "," << h.second;
  }
}

// The deferred start fires after any number of runs, takes a time earlier than now for tomorrow's, counts down
// while armed, can be taken back from its menu entry, and says so when it cannot start the run at its time.
TEST(Deferred, FiresAfterARunAtTomorrowsTimeAndCanBeTakenBack) {
  struct Case {
    const char* what;
    int now_s;
    const char* answer;
    bool earlier_run = false, take_back = false, machine_gone = false;
    int fires_after_s = -1;  // -1: never within two hours
  } cases[] = {
      {"after a finished run", 12 * 3600, "12:05", true, false, false, 300},
      {"a time past is tomorrow's", 23 * 3600 + 50 * 60, "00:10", false, false, false, 1200},
      {"the default answer starts at once", 12 * 3600 + 20, "12:00", false, false, false, 0},
      {"taken back from the menu", 12 * 3600, "12:05", false, true},
      {"no machine at its time", 12 * 3600, "12:05", false, false, true},
  };
  for (const auto& k : cases) {
    SCOPED_TRACE(k.what);
    PunchRig r;
    ASSERT_TRUE(r.load(kPiece));
    r.s.nom_midi_court = "piece";
    HoleJournal journal(r.c);
    if (k.earlier_run) r.punch();
    std::optional<int64_t> set_up;
    r.s.evenements.subscribe([&](const RunEvent& e) {
      if (e.kind == RunEvent::Kind::SetUp && !set_up) set_up = r.p.now();
    });
    r.p.set_time_of_day(k.now_s - static_cast<int>(r.p.now() / 1000));
    const int64_t armed = r.p.now();
    r.p.sim_dialogs().input_answers.push_back(k.answer);
    r.m.perfo_retard.click();
    if (k.fires_after_s != 0) {
      EXPECT_EQ(r.m.perfo_retard.text(), kAnnulerDiffere);
      EXPECT_EQ(r.m.Label_defautP.text().rfind("Début perforation différé à : ", 0), 0u) << r.m.Label_defautP.text();
      r.p.run_for(60000);
      EXPECT_NE(r.m.Label_defautP.text().find(" - Départ dans "), std::string::npos) << r.m.Label_defautP.text();
    }
    if (k.take_back) {
      r.m.perfo_retard.click();
      EXPECT_EQ(r.m.perfo_retard.text(), "Perforation différée...");
      EXPECT_EQ(r.m.Label_defautP.text(), "Perforation différée annulée");
      EXPECT_TRUE(r.m.Command11.enabled());
    }
    if (k.machine_gone) r.p.sim_devices().removal_();
    r.p.run_until([&] { return set_up.has_value() || r.m.Label_defaut.text() == "Départ différé impossible"; },
                  2 * 3600 * 1000);
    r.p.run_until([&] { return !r.s.run_on_stack; }, 3600 * 1000);
    if (k.fires_after_s < 0) {
      EXPECT_FALSE(set_up);
    } else {
      ASSERT_TRUE(set_up);
      EXPECT_GE(*set_up - armed, k.fires_after_s * 1000);
      EXPECT_LE(*set_up - armed, k.fires_after_s * 1000 + 30000);
      EXPECT_EQ(r.m.Label_defautP.text(), "Perforation terminée");
    }
    if (k.machine_gone) {
      EXPECT_EQ(r.m.Label_defautP.text().rfind("Départ différé de 12:05:00 impossible : Machine non connectée", 0), 0u)
          << r.m.Label_defautP.text();
      EXPECT_TRUE(journal.healthy());
      EXPECT_NE(cp1252_to_utf8(read_journal(r.p.storage(), journal.path())).find(" Départ différé de 12:05:00 impossible : "),
                std::string::npos);
    }
  }
}

// A disk that refuses a write of the run (the context at a card feed, the
// journal at a hole) suspends it with what and why on the service line;
// once the disk is set right, "Continuer" goes on and the card, the journal
// and the context end as in a run that met no fault (the hole at which the
// run held is punched once more, as after any fault, and counted).
TEST(RunEngine, ADiskThatRefusesSuspendsTheRunUntilItIsSetRight) {
  using F = FaultyStorage::Fault;
  const struct {
    F fault;
    const char* file;
    const char* said;
  } kCases[] = {
      {F::DiskFull, "Perfo_en_cours.sav",
       "Écriture impossible : Perfo_en_cours.sav : disque plein - Contexte non sauvegardé (écriture impossible)"},
      {F::RenameRefused, "Perfo_en_cours.sav",
       "Écriture impossible : Perfo_en_cours.sav : occupé par un autre programme - Contexte non sauvegardé (écriture "
       "impossible)"},
      {F::WriteFails, "Journal_trous.txt",
       "Écriture impossible : Journal_trous.txt : erreur d'entrée-sortie du disque - Contexte sauvegardé"},
      {F::ReadOnly, "", "Écriture impossible : Perfo_en_cours.sav : disque en lecture seule - Contexte non sauvegardé "
                        "(écriture impossible)"},
  };
  PieceRun clean;
  // The context but its hole count (line 3).
  auto context = [](const SimDesk& d) {
    std::string t = d.read_file("Perfo_en_cours.sav");
    const auto a = t.find("\r\n", t.find("\r\n") + 2) + 2;
    return t.erase(a, t.find("\r\n", a) - a);
  };
  for (const auto& k : kCases) {
    SCOPED_TRACE(k.said);
    std::string said;
    PunchRig r;
    ASSERT_TRUE(r.load(kPiece));
    r.s.nom_midi_court = "piece";
    HoleJournal journal(r.c);
    // The disk fails from the fifth hole on, until the run has suspended.
    int holes = 0;
    r.s.evenements.subscribe([&](const RunEvent& e) {
      if (e.kind == RunEvent::Kind::Hole && ++holes == 5) r.p.storage().set_fault(k.fault, k.file);
    });
    r.m.subscribe([&](Element& e, Prop p) {
      if (p == Prop::Text && &e == &r.m.Command12 && e.text() == "Continuer" && said.empty()) {
        said = r.m.Label_defautP.text();
        r.p.storage().set_fault(F::None);
      }
    });
    r.continue_after(500);
    r.punch();
    EXPECT_EQ(said, k.said);
    EXPECT_EQ(r.continues, 1);
    EXPECT_EQ(r.m.Label_defautP.text(), "Perforation terminée");
    auto holes_made = r.holes();
    EXPECT_EQ(r.s.compteur_trous, clean.s.compteur_trous + 1);
    holes_made.erase(std::unique(holes_made.begin(), holes_made.end()), holes_made.end());
    EXPECT_EQ(holes_made, clean.holes());
    EXPECT_TRUE(journal.healthy());
    const auto journaled = holes_of_last_run(read_journal(r.p.storage(), journal.path()), "piece");
    ASSERT_EQ(journaled.size(), r.holes().size());
    for (std::size_t i = 0; i < journaled.size(); ++i)
      EXPECT_EQ(std::make_pair(journaled[i].x, static_cast<int>(journaled[i].y)), r.holes()[i]) << i;
    EXPECT_EQ(context(r), context(clean));
  }
}

// Held in a pause, the step fields are the operator's and stay theirs, the
// line says the run is paused and how to go on (after a hand origin search
// too), and "Avance" feeds the card: a feed the question then offers to
// bring back.
TEST(RunEngine, APauseDoesNotSurprise) {
  std::vector<std::string> at_hold;
  PieceRun r({}, [&](PieceRun& r) {
    r.at_line(3, [&r, &at_hold] {
      r.m.Command12.operator_click();
      r.p.at(r.p.now() + 500, [&r, &at_hold] {
        at_hold = {r.m.nb_PasX.text(), r.m.nb_PasY.text(), r.m.Label_defautP.text()};
        r.m.nb_PasX.set_text("12");
        ASSERT_TRUE(r.m.fenetre_moteurs.operator_click());
        EXPECT_TRUE(r.m.OrigineX_M.operator_click());
        at_hold.push_back(r.m.Label_defautP.text());
        r.m.fenetre_perforation.operator_click();
        r.p.at(r.p.now() + 1000, [&r] { r.m.Avance.operator_click(); });
        ASSERT_TRUE(r.m.Avance.operator_click());
        at_hold.push_back(r.m.nb_PasX.text());
        r.p.sim_dialogs().box_answers.push_back(BoxAnswer::Yes);
        r.m.Command12.operator_click();
      });
    });
    r.m.nb_PasX.set_text("7");
    r.m.nb_PasY.set_text("3");
  });
  EXPECT_EQ(at_hold, (Strings{"7", "3", "Contexte sauvegardé - Cliquer Continuer pour reprendre",
                              "Perforation en pause - Cliquer Continuer pour reprendre", "12"}));
  EXPECT_EQ(r.m.Label_defautP.text(), "Perforation terminée");
  EXPECT_EQ(r.m.nb_PasX.text() + " " + r.m.nb_PasY.text(), "12 200");
  ASSERT_EQ(r.p.sim_dialogs().boxes.size(), 1u);
  EXPECT_EQ(r.p.sim_dialogs().boxes[0].rfind("Le carton a avancé de ", 0), 0u);
  Holes want = reference_holes();
  want.push_back({108, 840});  // the hole where the run stood, once more
  EXPECT_EQ(sorted(r.holes()), sorted(want));
}

TEST(RunEngine, NothingDoneInAPauseSpoilsTheCard) {
  // A pause at the 4th row of the held note (Y 840), work by hand on the motor page, then "Continuer": the run
  // brings the head back to the hole before it punches it again.
  const int y_hole = 840;
  auto y_by_hand = [](PieceRun& r) {
    r.m.nb_PasY.set_text("200");
    r.m.CommandeY_M.operator_click();
  };
  struct Case {
    const char* what;
    std::function<void(PieceRun&)> hands;
    std::optional<BoxAnswer> card_back;  // the question about the card, if asked
    Holes extra;              // holes beyond the reference run and its repeated hole
    int y_shift, hand_holes;  // motor steps later holes stand further down the card
    bool enter = false;       // the question answered by its default button
    const char* fields = "7 3";  // the step fields after the run: the operator's, as the pause left them
  } cases[] = {
      {"origin search by hand", [](PieceRun& r) { r.m.Origine_N.operator_click(); }, std::nullopt, {}, 0, 0},
      {"Y by hand, brought back", y_by_hand, BoxAnswer::Yes, {}, 0, 0, false, "7 200"},
      // "Non": the card stays where the hand left it, and so does the rest of the piece.
      {"Y by hand, left there", y_by_hand, BoxAnswer::No, {}, 200, 0, false, "7 200"},
      {"Y by hand, Enter: brought back", y_by_hand, std::nullopt, {}, 0, 0, true, "7 200"},
      {"a hole by hand after X+ 50",
       [](PieceRun& r) {
         r.m.nb_PasX.set_text("50");
         r.m.CommandeX_P.operator_click();
         r.m.CommandeZ_M.operator_click();
       },
       std::nullopt, {{158, y_hole}}, 0, 1, false, "50 3"},
  };
  for (const auto& k : cases) {
    PieceRun r({}, [&k](PieceRun& r) {
      r.at_line(3, [&r, &k] {
        r.m.Command12.operator_click();
        r.p.at(r.p.now() + 500, [&r, &k] {
          ASSERT_TRUE(r.m.fenetre_moteurs.operator_click()) << k.what;
          k.hands(r);
          r.m.fenetre_perforation.operator_click();
          if (k.card_back) r.p.sim_dialogs().box_answers.push_back(*k.card_back);
          r.m.Command12.operator_click();
        });
      });
      r.m.nb_PasX.set_text("7");
      r.m.nb_PasY.set_text("3");
    });
    EXPECT_EQ(r.m.Label_defautP.text(), "Perforation terminée") << k.what;
    EXPECT_EQ(r.m.nb_PasX.text() + " " + r.m.nb_PasY.text(), k.fields) << k.what;
    Holes want = reference_holes();
    for (auto& h : want)
      if (h.second > y_hole) h.second += k.y_shift;
    want.push_back({108, y_hole + k.y_shift});  // the hole where the run stood, once more
    for (const auto& h : k.extra) want.push_back(h);
    EXPECT_EQ(sorted(r.holes()), sorted(want)) << k.what;
    EXPECT_EQ(r.p.sim_dialogs().boxes, k.card_back || k.enter ? Strings{"Le carton a avancé de 200 pas moteur pendant la "
                                                              "pause. Le ramener au trou où la perforation s'est "
                                                              "arrêtée ?"}
                                                    : Strings{})
        << k.what;
    EXPECT_EQ(count_of(r.f, "My00200\n"), k.card_back == BoxAnswer::Yes || k.enter ? 1 : 0) << k.what;
    EXPECT_EQ(r.s.trous_main, k.hand_holes) << k.what;
    EXPECT_EQ(r.s.trous_confirmes, static_cast<int>(reference_holes().size()) + 1) << k.what;
    // The operator's pages and the opening are back after the run.
    for (Element* e : {&r.m.fenetre_moteurs, &r.m.fenetre_notes, &r.m.Ouvre_midi}) EXPECT_TRUE(e->enabled()) << k.what;
  }
}

}  // namespace
}  // namespace brivel::test
