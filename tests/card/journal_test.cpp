// The hole journal: its lines, what a restore reads back from it, and the
// journal of a whole run against the holes the board recorded.
#include <gtest/gtest.h>

#include <filesystem>

#include "card/live_run.h"
#include "persistence/journal/durable_appender.h"
#include "persistence/journal/hole_journal.h"
#include "support/punch_rig.h"

namespace brivel::test {
namespace {

const std::string kPiece = fichier_evenements(
    {note_line(1000, 60, 500), note_line(2000, 62, 100), note_line(2000, 64, 100), note_line(3000, 65, 0)}, 3100);

// The journal and the card view hear what the run does from its events: a
// console whose every caption is reworded and whose lamps are recoloured
// as the run writes them keeps the same journal and the same holes on the
// card.
TEST(HoleJournal, OneLinePerConfirmedHoleOfARun) {
  std::string first;
  for (const bool reworded : {false, true}) {
    SCOPED_TRACE(reworded);
    // The fifth cycle fails and is punched again after "Continuer": it is in
    // the journal once, when the board confirmed it.
    PunchRig r(fault_script("C CZ 5"));
    ASSERT_TRUE(r.load(kPiece));
    r.s.nom_midi_court = "piece";
    HoleJournal journal(r.c);
    LiveRun live(r.c);
    if (reworded) {
      r.m.subscribe([&r](Element& e, Prop p) {
        if (p == Prop::Text && (&e == &r.m.Label_defautP || &e == &r.m.Label_defaut) && e.text().rfind("~", 0) != 0)
          e.set_text("~ " + e.text() + " ~");
        if (p == Prop::Color && &e == &r.m.E(7) && e.color() != palette::kLightGreen)
          e.set_color(palette::kLightGreen);
      });
    }
    r.continue_after(500);
    r.punch();
    EXPECT_TRUE(journal.healthy());
    const std::string text = read_journal(r.p.storage(), journal.path());
    ASSERT_EQ(text.rfind("# Perforation de piece ", 0), 0u) << text;
    if (!reworded) first = text;
    EXPECT_EQ(text, first);
    EXPECT_EQ(live.punched_count(), 19);
    const auto holes = holes_of_last_run(text, "piece");
    // The board's own record, hole for hole: X and Y in motor steps.
    const auto board = r.holes();
    ASSERT_EQ(holes.size(), board.size());
    ASSERT_EQ(holes.size(), 19u);
    for (size_t i = 0; i < holes.size(); ++i) {
      SCOPED_TRACE(i);
      EXPECT_EQ(holes[i].x, board[i].first);
      EXPECT_EQ(holes[i].y, board[i].second);
    }
    EXPECT_EQ(holes[0].step, 74);
    EXPECT_EQ(holes[0].track, 6);
    EXPECT_EQ(holes.back().step, 219);
    EXPECT_EQ(holes.back().track, 9);
  }
}

TEST(HoleJournal, ARestoredRunShowsWhatWasPunched) {
  PunchRig r;
  ASSERT_TRUE(r.load(kPiece));
  r.s.nom_midi_court = "piece";
  std::string text = journal_start_line("piece", 0) + "\r\n";
  for (int step : {74, 77, 80, 83, 86}) text += journal_line({0, "piece", step, 6, 108, (step - 2) * 10}) + "\r\n";
  ASSERT_EQ(r.p.storage().append(r.home + kJournalTrous, text), 0);
  r.s.reprise_contexte = true;
  LiveRun live(r.c);
  std::optional<std::pair<int, std::optional<size_t>>> at_start;
  live.on_change = [&] {
    if (live.running() && !at_start) at_start = {live.punched_count(), live.next_hole()};
  };
  r.punch();
  ASSERT_TRUE(at_start);
  EXPECT_EQ(at_start->first, 5);
  EXPECT_EQ(at_start->second, 5u);
}

}  // namespace
}  // namespace brivel::test
