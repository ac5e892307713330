#include "run/engine/remaining_time.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>

namespace brivel {

namespace {

int64_t frames(const MachineWork& w) { return w.y_moves + w.x_moves + w.cycles; }

}  // namespace

double work_ms(const MachineWork& w, const MachinePace& pace) {
  const double moves_ms = static_cast<double>(w.x_steps) * pace.x_step_us / 1000.0 +
                          static_cast<double>(w.y_steps) * pace.y_motor_per_step * pace.y_step_us / 1000.0;
  const double waits_ms = static_cast<double>(w.x_moves + w.y_moves) * pace.wait_after_move_ms;
  return moves_ms + waits_ms + static_cast<double>(w.cycles) * pace.cycle_ms;
}

double overhead_per_frame(const MachineWork& done, double elapsed_ms, const MachinePace& pace) {
  if (frames(done) == 0) return 0;
  return (elapsed_ms - work_ms(done, pace)) / static_cast<double>(frames(done));
}

double remaining_ms(const MachineWork& rest, const MachineWork& done, double elapsed_ms, const MachinePace& pace) {
  const double per_frame = overhead_per_frame(done, elapsed_ms, pace);
  return std::max(0.0, work_ms(rest, pace) + per_frame * static_cast<double>(frames(rest)));
}

double chain_rest_ms(const std::vector<MachineWork>& later, const MachineWork& feed, double setup_ms,
                     double per_frame, const MachinePace& pace) {
  double ms = 0;
  for (MachineWork w : later) {
    w += feed;
    ms += work_ms(w, pace) + per_frame * static_cast<double>(frames(w)) + setup_ms;
  }
  return std::max(0.0, ms);
}

std::string texte_duree(double ms) {
  const int64_t s = static_cast<int64_t>(std::ceil(std::max(0.0, ms) / 1000.0));
  char buf[48];
  if (s >= 3600)
    std::snprintf(buf, sizeof buf, "%lld h %02lld mn", static_cast<long long>(s / 3600),
                  static_cast<long long>(s / 60 % 60));
  else if (s >= 60)
    std::snprintf(buf, sizeof buf, "%lld mn %02lld s", static_cast<long long>(s / 60), static_cast<long long>(s % 60));
  else
    std::snprintf(buf, sizeof buf, "%lld s", static_cast<long long>(s));
  return buf;
}

}  // namespace brivel
