#include "run/engine/punch_plan.h"

#include <cmath>
#include <cstdlib>

#include "core/numbers.h"
#include "run/engine/ligne_run.h"

namespace brivel {

MachineWork& MachineWork::operator+=(const MachineWork& o) {
  y_moves += o.y_moves;
  y_steps += o.y_steps;
  x_moves += o.x_moves;
  x_steps += o.x_steps;
  cycles += o.cycles;
  return *this;
}

MachineWork MachineWork::operator-(const MachineWork& o) const {
  return {y_moves - o.y_moves, y_steps - o.y_steps, x_moves - o.x_moves, x_steps - o.x_steps, cycles - o.cycles};
}

namespace {

enum class State { Idle, On, Closing };

struct Track {
  double note;
  double position;
  State state = State::Idle;
  double end = 0;  // the tool tip's value: the end step of the longest event
};

class Walker {
 public:
  explicit Walker(const PlanInput& in) : in_(in), y_(in.first_y), x_(in.first_x) {
    for (size_t k = 0; k < in.notes.size(); ++k)
      tracks_.push_back({in.notes[k], k < in.positions.size() ? in.positions[k] : 0});
    per_row_.resize(in.rows.size() + 1);
  }

  PunchPlan run() {
    const int n = static_cast<int>(in_.rows.size());
    for (int i = 0; i < n; ++i) {
      const LigneRun l = lit_ligne_run(in_.rows[i]);
      if (l.mot == "PASY") {
        y_step(i, l.pas);
        if (sweep(i, l.pas)) inverse_ ^= 1;
      } else if (l.mot == "NOTE" || l.mot == "NTOF") {
        y_step(i, l.pas);
        int j = i;
        for (; j < n; ++j) {
          const LigneRun e = lit_ligne_run(in_.rows[j]);
          if (e.pas != l.pas) break;
          apply(e);
        }
        sweep(i, l.pas);
        inverse_ ^= 1;
        i = j - 1;
      }
    }
    for (int i = n - 1; i >= 0; --i) per_row_[i] += per_row_[i + 1];
    plan_.work_from_row = std::move(per_row_);
    return std::move(plan_);
  }

 private:
  bool in_bounds(double p) const { return p >= in_.start_step && p <= in_.end_step; }

  void y_step(int row, double p) {
    if (in_bounds(p)) {
      per_row_[row].y_moves += 1;
      per_row_[row].y_steps += static_cast<int64_t>(p - y_);
    }
    y_ = p;
  }

  void apply(const LigneRun& e) {
    for (Track& t : tracks_) {
      if (t.note != e.note) continue;
      if (e.mot == "NOTE") {
        t.state = State::On;
        t.end = std::max(t.end, val(e.fin));
      } else if (e.mot == "NTOF" && t.end == e.pas) {
        t.state = State::Closing;
        t.end = 0;
      }
    }
  }

  // True when a hole was punched.
  bool sweep(int row, double p) {
    bool punched = false;
    const int n = static_cast<int>(tracks_.size());
    for (int i = 0; i < n; ++i) {
      const int k = inverse_ ? n - 1 - i : i;
      Track& t = tracks_[k];
      if (t.state == State::Idle) continue;
      if (in_bounds(p)) {
        plan_.holes.push_back({static_cast<int32_t>(p), k + 1, row});
        per_row_[row].x_moves += 1;
        per_row_[row].x_steps += static_cast<int64_t>(std::llabs(static_cast<long long>(t.position - x_)));
        per_row_[row].cycles += 1;
        x_ = t.position;
        punched = true;
      }
      if (t.state == State::Closing) t.state = State::Idle;
    }
    return punched;
  }

  const PlanInput& in_;
  std::vector<Track> tracks_;
  double y_, x_;
  int inverse_ = 0;
  std::vector<MachineWork> per_row_;
  PunchPlan plan_;
};

}  // namespace

PunchPlan plan_punch(const PlanInput& in) { return Walker(in).run(); }

}  // namespace brivel
