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

TEST(HoleJournal, LinesAndTheLastRunOfAPiece) {
  const JournalHole h{12 * 3600 + 4 * 60 + 31, "Valse", 1234, 6, 108, 12320};
  EXPECT_EQ(journal_line(h), "12:04:31;Valse;0001234;6;108;12320");
  EXPECT_EQ(journal_line({0, "Valse", 1234, 0, 150, 12320, true}), "00:00:00;Valse;0001234;0;150;12320;main");
  EXPECT_EQ(journal_start_line("Valse", 43202), "# Perforation de Valse 12:00:02");

  const std::string text =
      "# Perforation de Valse 11:00:00\r\n"
      "11:00:05;Valse;0000074;6;108;720\r\n"
      "# Perforation de Valse 12:00:00\r\n"  // a new run: the one above is over
      "12:00:05;Valse;0000074;6;108;720\r\n"
      "12:00:06;Polka;0000010;3;58;80\r\n"  // another piece's hole
      "12:00:07;Valse;0000077;6;108;750\r\n"
      "12:00:07;Valse;0000077;0;150;750;main\r\n"  // a hole by hand in a pause
      "# Perforation de Valse Musette 12:01:00\r\n"  // another piece whose name begins alike
      "12:00:08;Valse;xx;6;108;780\r\n"              // no step
      "12:00:09;Valse;0000083;6;108";                // cut by a crash
  const auto holes = holes_of_last_run(text, "Valse");
  ASSERT_EQ(holes.size(), 2u);
  EXPECT_EQ(holes[0], (JournalHole{43205, "Valse", 74, 6, 108, 720}));
  EXPECT_EQ(holes[1].step, 77);
  EXPECT_TRUE(holes_of_last_run(text, "Menuet").empty());
}

// The writer beside the run: every line handed over lands, in order, by the
// time it is flushed or dropped; a file that can't be written is said.
TEST(HoleJournal, TheWriterBesideTheRun) {
  const std::string dir = ::testing::TempDir() + "brivel-appender/";
  std::filesystem::create_directories(dir);
  std::filesystem::remove(dir + "j.txt");
  std::string want;
  {
    DurableAppender w;
    for (int i = 0; i < 50; ++i) {
      w.append(dir + "j.txt", "ligne " + std::to_string(i) + " é");
      want += "ligne " + std::to_string(i) + " \xE9\r\n";
    }
    w.flush();
    EXPECT_EQ(read_journal(dir + "j.txt"), want);
    w.append(dir + "j.txt", "dernière");
    EXPECT_TRUE(w.healthy());
  }
  EXPECT_EQ(read_journal(dir + "j.txt"), want + "derni\xE8re\r\n") << "the last line lands as the writer ends";
  DurableAppender bad;
  bad.append(dir + "pas/de/dossier.txt", "x");
  bad.flush();
  EXPECT_FALSE(bad.healthy());
}

TEST(HoleJournal, OneLinePerConfirmedHoleOfARun) {
  // The fifth cycle fails and is punched again after "Continuer": it is in
  // the journal once, when the board confirmed it.
  PunchRig r(fault_script("C CZ 5"));
  ASSERT_TRUE(r.load(kPiece));
  r.s.nom_midi_court = "piece";
  HoleJournal journal(r.c);
  r.continue_after(500);
  r.punch();
  EXPECT_TRUE(journal.healthy());
  const std::string text = read_journal(journal.path());
  ASSERT_EQ(text.rfind("# Perforation de piece ", 0), 0u) << text;
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

TEST(HoleJournal, ARestoredRunShowsWhatWasPunched) {
  PunchRig r;
  ASSERT_TRUE(r.load(kPiece));
  r.s.nom_midi_court = "piece";
  std::string text = journal_start_line("piece", 0) + "\r\n";
  for (int step : {74, 77, 80, 83, 86}) text += journal_line({0, "piece", step, 6, 108, (step - 2) * 10}) + "\r\n";
  ASSERT_TRUE(append_durably(r.home + kJournalTrous, text.substr(0, text.size() - 2)));
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
