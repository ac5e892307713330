// The plan of a run and the remaining time counted on it, against holes worked out by hand; the progress texts.
#include "run/engine/punch_plan.h"

#include <gtest/gtest.h>

#include "run/engine/progress.h"
#include "run/engine/remaining_time.h"

namespace brivel::test {
namespace {

template <class... A>
std::string row(const char* format, A... a) {
  char b[40];
  std::snprintf(b, sizeof b, format, a...);
  return b;
}
std::string note_row(int step, int note, int end) { return row("%07d %05d NOTE %07d", step, note, end); }
std::string ntof_row(int step, int note) { return row("%07d %05d NTOF ", step, note); }
std::string pasy_row(int step) { return row("%07d ##### PASY", step); }

// The piece of the run-engine tests: note 60 held from 74 to 107, a chord of 62 and 64 from 147 to 151, a short
// note 65 at 219; the default scale, punch of 3 steps (the counter starts at 2), the head at 220 after the origin
// search.
PlanInput piece() {
  PlanInput in;
  in.rows = {note_row(74, 60, 107)};
  for (int s = 77; s <= 104; s += 3) in.rows.push_back(pasy_row(s));
  in.rows.insert(in.rows.end(), {ntof_row(107, 60), note_row(147, 62, 151), note_row(147, 64, 151),
                                 pasy_row(150), ntof_row(151, 62), ntof_row(151, 64),
                                 note_row(219, 65, 219), ntof_row(219, 65)});
  in.notes = {57, 48, 50, 53, 55, 60, 62, 64, 65, 66};
  in.positions = {25, 42, 58, 75, 91, 108, 125, 141, 158, 175};
  in.first_y = 2;
  in.first_x = 220;
  return in;
}

using Holes = std::vector<std::pair<int, int>>;  // (step, track)

Holes holes_of(const PunchPlan& p) {
  Holes h;
  for (const PlannedHole& x : p.holes) h.push_back({x.step, x.track});
  return h;
}

TEST(PunchPlan, HolesAndWorkOfTheHandWorkedPiece) {
  struct Case {
    const char* name;
    double start, end;
    Holes holes;
    MachineWork work;
  };
  Holes whole;
  for (int s = 74; s <= 107; s += 3) whole.push_back({s, 6});
  // 147 upwards, PASY 150 downwards, 151 upwards, 219.
  for (auto h : Holes{{147, 7}, {147, 8}, {150, 8}, {150, 7}, {151, 7}, {151, 8}, {219, 9}}) whole.push_back(h);
  const Case cases[] = {
      // Y: 16 moves, 217 steps from 2 to 219. X: 220 to 108, then 17, 16, 16 (150 down), 16 (151 up), 17.
      {"whole piece", 0, 1e9, whole, {16, 217, 19, 194, 19}},
      // Note 60 is on by 100 and gets 101 to 107; 219 is past the end. The sweeps still follow the rows before the
      // start: 147 goes upwards.
      {"bounds 100 to 150", 100, 150, {{101, 6}, {104, 6}, {107, 6}, {147, 7}, {147, 8}, {150, 8}, {150, 7}},
       {5, 3 + 3 + 3 + 40 + 3, 7, 112 + 17 + 16 + 0 + 16, 7}},
      // The PASY sweep at 150 runs downwards here too: 220 to 141, then 16.
      {"bounds on one step with events", 150, 150, {{150, 8}, {150, 7}}, {1, 3, 2, 79 + 16, 2}},
      {"bounds between events", 152, 218, {}, {}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    PlanInput in = piece();
    in.start_step = c.start;
    in.end_step = c.end;
    const PunchPlan p = plan_punch(in);
    EXPECT_EQ(holes_of(p), c.holes);
    EXPECT_EQ(p.total(), c.work);
    ASSERT_EQ(p.work_from_row.size(), in.rows.size() + 1);
    EXPECT_EQ(p.work_from_row.back(), MachineWork{});
  }
  const PunchPlan p = plan_punch(piece());
  // From the chord at 147 (row 12): Y 40 + 3 + 1 + 68 in 4 moves; X 17 + 16 + 0 + 16 + 0 + 16 + 17 in 7 holes.
  // The group's second row and the closing rows add nothing of their own.
  EXPECT_EQ(p.work_from_row[12], (MachineWork{4, 112, 7, 82, 7}));
  EXPECT_EQ(p.work_from_row[13], p.work_from_row[14]);
  EXPECT_EQ(p.holes[12].row, 12);
  EXPECT_EQ(p.holes.back().row, 17);
}

TEST(PunchPlan, NoteOnTwoTracksAndNotesOutsideTheScale) {
  PlanInput in;
  in.rows = {note_row(10, 60, 10), ntof_row(10, 60), note_row(20, 99, 20), ntof_row(20, 99)};
  in.notes = {60, 62, 60};
  in.positions = {100, 120, 140};
  in.first_x = 0;
  const PunchPlan p = plan_punch(in);
  EXPECT_EQ(holes_of(p), (Holes{{10, 1}, {10, 3}}));
  // Note 99 still costs its Y move.
  EXPECT_EQ(p.total(), (MachineWork{2, 20, 2, 140, 2}));
}

TEST(RemainingTime, WorkAndPaceCorrection) {
  // PX 500 µs, PY 400 µs, 10 motor steps a step, a cycle of 30 ms.
  const MachinePace pace{500, 400, 10, 30, 25};
  const MachineWork done{2, 10, 3, 100, 3};  // 50 + 40 + 5 × 25 + 90 = 305 ms, 8 frames
  const MachineWork rest{1, 5, 1, 20, 1};    // 10 + 20 + 50 + 30 = 110 ms, 3 frames
  struct Case {
    const char* name;
    MachineWork done;
    double elapsed, expected;
  };
  const Case cases[] = {
      {"nothing done yet: the lower bound", {}, 0, 110},
      {"2 ms a frame of line and board", done, 305 + 16, 116},
      {"exactly the board's time", done, 305, 110},
      {"faster than the sent durations", done, 297, 107},
      {"never below zero", done, 0, 0},
  };
  EXPECT_DOUBLE_EQ(work_ms(done, pace), 305);
  for (const Case& c : cases) EXPECT_DOUBLE_EQ(remaining_ms(rest, c.done, c.elapsed, pace), c.expected) << c.name;
  // Two later files of a chain, each fed 100 steps (1 move: 400 + 25 ms) and set up in 3 s, at 2 ms of line a
  // frame: (110 + 425 + 3000 + 4 frames x 2) + (305 + 425 + 3000 + 9 frames x 2).
  EXPECT_DOUBLE_EQ(chain_rest_ms({rest, done}, {1, 100, 0, 0, 0}, 3000, 2, pace), 3543 + 3748);
  EXPECT_DOUBLE_EQ(chain_rest_ms({}, {1, 100, 0, 0, 0}, 3000, 2, pace), 0);
}

TEST(ProgressTexts, DurationsTimesAndLengths) {
  for (auto [ms, text] : {std::pair{0.0, "0 s"}, {1, "1 s"}, {59000, "59 s"}, {59001, "1 mn 00 s"},
                          {754000, "12 mn 34 s"}, {3599001, "1 h 00 mn"}, {3900000, "1 h 05 mn"}})
    EXPECT_EQ(texte_duree(ms), text) << ms;
  for (auto [ms, text] : {std::pair{0.0, "0 mn 00 s"}, {187000.0, "3 mn 07 s"}, {599999.0, "9 mn 59 s"},
                          {600000.0, "10 mn 00 s"}, {760000.0, "12 mn 40 s"}})
    EXPECT_EQ(texte_temps(ms), text) << ms;
  for (auto [m, text] : {std::pair{0.83, "0.830 m"}, {10.0, "10.000 m"}, {12.45, "12.450 m"}})
    EXPECT_EQ(texte_longueur(m), text);
}

}  // namespace
}  // namespace brivel::test
