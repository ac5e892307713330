// What a run will do, worked out from the event list and the note table
// before anything moves: the holes in the order the engine punches them, and
// the machine work that stands between each row of List3 and the end. The
// card view draws from it and the remaining time is counted on it; the run
// itself never reads it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace brivel {

// Machine work as the line carries it: moves with their lengths, punch cycles.
struct MachineWork {
  int64_t y_moves = 0;  // MY frames, one per row group in bounds (a move of 0 counts)
  int64_t y_steps = 0;  // their length in steps of the event list
  int64_t x_moves = 0;  // X frames, one per hole (a move of 0 counts)
  int64_t x_steps = 0;  // their length in X motor steps
  int64_t cycles = 0;   // punch cycles, one per hole

  MachineWork& operator+=(const MachineWork& o);
  MachineWork operator-(const MachineWork& o) const;
  bool operator==(const MachineWork&) const = default;
};

struct PlannedHole {
  int32_t step = 0;  // position along the card, steps of the event list
  int track = 0;     // index k of Note(k), from 1
  int row = 0;       // the List3 row at which the engine punches it
  bool operator==(const PlannedHole&) const = default;
};

struct PlanInput {
  std::vector<std::string> rows;  // List3, in its order
  std::vector<double> notes;      // value of Note(k) for k = 1..NBTouches
  std::vector<double> positions;  // value of Position(k), X motor steps
  double start_step = 0;          // the run's bounds, in steps; holes outside
  double end_step = 1e18;         //   them are not punched
  int32_t first_y = 0;            // compteur_Y at the start: the half punch
  int32_t first_x = 0;            // the head after the origin search
};

struct PunchPlan {
  std::vector<PlannedHole> holes;  // in punching order; steps never go down
  // work_from_row[i]: what remains from row i to the end. One more entry
  // than rows, the last one empty.
  std::vector<MachineWork> work_from_row;
  MachineWork total() const { return work_from_row.empty() ? MachineWork{} : work_from_row.front(); }
};

// Walks the rows as the run does: the events of a step first, then one
// sweep over the notes that sound, alternately up and down the table. A
// fresh run: every note idle at the start.
PunchPlan plan_punch(const PlanInput& in);

}  // namespace brivel
