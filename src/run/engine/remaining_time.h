// The remaining time of a run, from the machine itself: the moves and punch
// cycles still to go, each at the durations the board was sent, plus the
// waits the program adds after every move, corrected by the pace measured
// so far. Plain values in, milliseconds out.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "run/engine/punch_plan.h"

namespace brivel {

struct MachinePace {
  double x_step_us = 0;            // "PX": one X motor step (VitesseX)
  double y_step_us = 0;            // "PY": one Y motor step (VitesseY)
  double y_motor_per_step = 1;     // Y motor steps per step of the event list (NbpasY)
  double cycle_ms = 0;             // "IZ" + "MZ": one punch cycle (TempoZ + MaxZ)
  double wait_after_move_ms = 25;  // the program's own wait behind each X and Y move
};

// What `w` costs the machine and the program's waits, with no overhead of
// the line: the lower bound of the time.
double work_ms(const MachineWork& w, const MachinePace& pace);

// The time still to go for `rest`, once `done` has taken `elapsed_ms` of
// running time (pauses left out). What the line and the board add beyond
// work_ms is measured on `done` as a cost per frame and charged to each
// frame of `rest`; before any frame is done, the lower bound stands.
// Never negative.
double remaining_ms(const MachineWork& rest, const MachineWork& done, double elapsed_ms, const MachinePace& pace);

// What the line and the board added to each frame of `done` beyond work_ms,
// ms; 0 before any frame.
double overhead_per_frame(const MachineWork& done, double elapsed_ms, const MachinePace& pace);

// The later files of a chain, each costing its own work at the pace of the
// run so far (`per_frame` from overhead_per_frame), the card fed by `feed`
// before it, and `setup_ms`: the opening's wait, the working sequence and the
// origin search, which the current file took before its first row.
double chain_rest_ms(const std::vector<MachineWork>& later, const MachineWork& feed, double setup_ms,
                     double per_frame, const MachinePace& pace);

// "1 h 05 mn", "12 mn 40 s", "45 s": a duration for the operator, rounded
// up to the second.
std::string texte_duree(double ms);

}  // namespace brivel
