#include "card/live_run.h"

#include <algorithm>
#include <cmath>

#include "core/numbers.h"
#include "import/lignes_morceau.h"
#include "import/ouvre_midi.h"
#include "import/refus_import.h"
#include "persistence/journal/hole_journal.h"
#include "run/engine/deferred.h"

namespace brivel {

namespace {

int64_t last_x(const PunchPlan& plan, const std::vector<double>& positions) {
  if (plan.holes.empty()) return 0;
  const size_t k = static_cast<size_t>(plan.holes.back().track);
  return k >= 1 && k <= positions.size() ? static_cast<int64_t>(std::llround(positions[k - 1])) : 0;
}

// The end of a run, or of a chain with each file's holes.
std::string texte_de_fin(const std::vector<std::pair<std::string, int>>& files, double ms, int again, int by_hand) {
  int total = 0;
  std::string detail;
  for (const auto& [name, holes] : files) {
    total += holes;
    detail += (detail.empty() ? "" : ", ") + name + " " + std::to_string(holes);
  }
  std::string t = std::string(files.size() > 1 ? "Chaîne terminée en " : "Perforation terminée en ") +
                  texte_duree(ms) + " - " + std::to_string(total) + " trous";
  if (files.size() > 1) t += " : " + detail;
  std::string apart;
  if (again > 0) apart = std::to_string(again) + (again == 1 ? " refait" : " refaits");
  if (by_hand > 0) apart += (apart.empty() ? "" : ", ") + std::to_string(by_hand) + " à la main";
  return apart.empty() ? t : t + " (et " + apart + ")";
}

}  // namespace

LiveRun::LiveRun(Context& c) : c_(c) {
  subscription_ = c_.m.subscribe([this](Element& e, Prop p) { changed(e, p); });
  events_ = c_.s.evenements.subscribe([this](const RunEvent& e) { heard(e); });
}

LiveRun::~LiveRun() {
  c_.m.unsubscribe(subscription_);
  c_.s.evenements.unsubscribe(events_);
}

// What the run does, from its events: never from its captions, buttons or
// lamps.
void LiveRun::heard(const RunEvent& e) {
  switch (e.kind) {
    case RunEvent::Kind::SetUp:
      // "Perforer" has begun its set-up: the working sequence, the origin.
      if (!running_) asked_at_ = now();
      return;
    case RunEvent::Kind::Started:
      // The origin is found and the run walks the list from here (each file
      // of a chain; the set-up is measured on the first).
      if (!e.in_chain) {
        setup_ms_ = asked_at_ ? static_cast<double>(now() - *asked_at_) : 0;
        chain_files_.clear();
        chain_ms_ = 0;
        chain_again_ = chain_by_hand_ = 0;
      }
      asked_at_.reset();
      start();
      break;
    case RunEvent::Kind::Hole:
      going_on();
      hole_done();
      break;
    case RunEvent::Kind::Row:
      if (!running_) return;
      going_on();
      if (e.step > 0) row_done(e.step);
      break;
    case RunEvent::Kind::PieceChanged:
      // The opening is over, bounds included: laid out again when asked.
      dirty_ = true;
      if (!c_.s.run_on_stack) forget_last_run();
      break;
    case RunEvent::Kind::Ended: {
      if (!running_) return;
      // The holes of the piece the board confirmed: a hole punched again
      // after a pause and the hand's are told apart.
      const RunState& s = c_.s;
      chain_files_.push_back({s.nom_midi_court, restored_count_ + s.trous_confirmes - s.trous_repetes});
      chain_ms_ += elapsed_ms();
      chain_again_ += s.trous_repetes;
      chain_by_hand_ += s.trous_main;
      // The card feeds to the next file: the chain runs on.
      if (s.fichiers_restants > 1) return;
      summary_ = texte_de_fin(chain_files_, chain_ms_, chain_again_, chain_by_hand_);
      remaining_ = 0;
      running_ = false;
      break;
    }
    default:
      return;
  }
  if (on_change) on_change();
}

const CardLayout& LiveRun::layout() {
  if (dirty_) {
    layout_ = lay_out_card(card_input(c_));
    dirty_ = false;
    punched_.assign(layout_.holes.size(), 0);
    punched_count_ = 0;
    run_index_ = 0;
    last_hole_.reset();
    // Settings or a piece changed: the later files are read again.
    file_work_.clear();
  }
  return layout_;
}

std::optional<size_t> LiveRun::next_hole() const {
  // A pause holds the run behind a good hole, which it punches again on
  // resuming; a fault holds it at the hole that failed, the next one planned.
  if (paused_ && !last_failed_ && last_hole_) return last_hole_;
  if (run_index_ >= layout_.run_holes.size()) return std::nullopt;
  const PlannedHole& h = layout_.run_holes[run_index_];
  auto [a, b] = layout_.holes_between(h.step, h.step);
  for (size_t i = a; i < b; ++i)
    if (layout_.holes[i].track == h.track) return i;
  return std::nullopt;
}

double LiveRun::head_x_mm() const { return val(c_.m.LabelX.text()) * val(c_.m.Text11.text()); }

double LiveRun::elapsed_ms() const {
  if (!running_) return 0;
  const int32_t until = paused_ ? paused_at_ : c_.p.tick_ms();
  return static_cast<double>(until - started_) - paused_ms_;
}

std::optional<double> LiveRun::remaining_ms() const {
  if (!remaining_ || !running_) return remaining_;
  return std::max(0.0, *remaining_ - (elapsed_ms() - estimated_at_));
}

std::optional<double> LiveRun::chain_remaining_ms() const {
  if (!running_ || later_.empty()) return std::nullopt;
  return remaining_ms().value_or(0) + chain_rest_ms(later_, feed_, setup_ms_ + kAttenteConversionMs, per_frame_, pace());
}

std::optional<double> LiveRun::deferred_start_ms() const {
  const RunState& s = c_.s;
  if (!c_.m.Timer2.enabled() || !s.heure_differee) return std::nullopt;
  return attente_depart_ms(c_);
}

double LiveRun::planned_ms() {
  const MachinePace p = pace();
  double ms = work_ms(layout().run_plan.total(), p);
  if (c_.s.fichiers_restants > 1) {
    estimate_chain();
    ms += chain_rest_ms(later_, feed_, kAttenteConversionMs, 0, p);
  }
  return ms;
}


void LiveRun::estimate_chain() {
  const Model& m = c_.m;
  const RunState& s = c_.s;
  later_.clear();
  feed_ = {};
  feed_.y_moves = 1;
  feed_.y_steps = static_cast<int64_t>(std::floor(val(m.Dist_cartons.text()) / (val(m.NbpasY.text()) * val(m.PasmotY.text()))));
  int64_t head_x = last_x(layout().run_plan, card_input(c_).plan.positions);
  const int last = std::min(m.Liste_fichiers.count(), s.rang_fichier + s.fichiers_restants);
  for (int i = s.rang_fichier + 1; i < last; ++i) {
    const std::string path = m.Liste_fichiers.row(i);
    auto known = file_work_.find(path);
    if (known == file_work_.end()) known = file_work_.emplace(path, file_work(path)).first;
    // A file that can't be read stops the chain there.
    if (!known->second) break;
    MachineWork w = known->second->work;
    // Its origin search first brings the head back from the last hole.
    w.x_steps += head_x;
    later_.push_back(w);
    head_x = known->second->last_x;
  }
}

std::optional<LiveRun::FileWork> LiveRun::file_work(const std::string& path) {
  const PreparationImport prep = prepare_import(champs_import(c_.m));
  if (!prep.reglages) return std::nullopt;
  const auto gamme = gamme_verifiee(c_.m);
  auto rows = lignes_morceau(path, *prep.reglages, gamme ? &*gamme : nullptr, c_.s.compteur_Y);
  if (!rows) return std::nullopt;
  PlanInput in = card_input(c_).plan;
  in.rows = std::move(*rows);
  // A chained file is punched whole.
  in.start_step = 0;
  in.end_step = 1e18;
  const PunchPlan plan = plan_punch(in);
  return FileWork{plan.total(), last_x(plan, in.positions)};
}

MachinePace LiveRun::pace() const {
  const Model& m = c_.m;
  MachinePace p;
  p.x_step_us = val(m.VitesseX.text());
  p.y_step_us = val(m.VitesseY.text());
  p.y_motor_per_step = val(m.NbpasY.text());
  // In a simulation no cycle goes to the board.
  p.cycle_ms = c_.s.mode_simulation ? 0 : val(m.TempoZ.text()) + val(m.MaxZ.text());
  return p;
}

void LiveRun::changed(Element& e, Prop p) {
  Model& m = c_.m;

  bool redraw = false;
  if (&e == &m.List3 || &e == &m.NBTouches || &e == &m.Text11 || &e == &m.Poincon || &e == &m.Deb_perf_mn ||
      &e == &m.Deb_perf_sec || &e == &m.Fin_perf_mn || &e == &m.Fin_perf_sec || &e == &m.Check3) {
    // Laid out again when next asked, not at each row of an opening.
    dirty_ = true;
    redraw = p != Prop::Rows && !running_;
    // A new piece: nothing of the last run is shown for it.
    if (&e == &m.List3 && !c_.s.run_on_stack) forget_last_run();
  } else if (p == Prop::Text && !running_ && (e.name().rfind("Note(", 0) == 0 || e.name().rfind("Position(", 0) == 0)) {
    dirty_ = true;
  } else if (&e == &m.Timer2 && p == Prop::Enabled) {
    redraw = true;
  } else if (&e == &m.LabelY && p == Prop::Text) {
    card_step_ = val(e.text());
    redraw = true;
  } else if (&e == &m.LabelX && p == Prop::Text) {
    redraw = true;
  }
  // A pause or a fault: the run waits at the hole where it stands, until
  // it walks its list again (going_on).
  if (running_ && c_.s.etat_pause != 0 && !paused_) {
    paused_at_ = now();
    paused_ = true;
    redraw = true;
  }
  if (redraw && on_change) on_change();
}

void LiveRun::start() {
  dirty_ = true;
  layout();
  running_ = true;
  paused_ = false;
  paused_ms_ = 0;
  started_ = now();
  summary_.clear();
  hand_holes_.clear();
  // A restored run goes on from where the journal says the last one stood.
  if (c_.s.reprise_contexte) mark_from_journal();
  restored_count_ = punched_count_;
  remaining_ = brivel::remaining_ms(layout_.run_plan.total(), {}, 0, pace());
  estimated_at_ = 0;
  per_frame_ = 0;
  if (c_.s.fichiers_restants > 1)
    estimate_chain();
  else
    later_.clear();
}

void LiveRun::mark_from_journal() {
  for (const JournalHole& j : holes_of_last_run(read_journal(c_.p.storage(), journal_path(c_.s)), c_.s.nom_midi_court))
    mark(j.step, j.track);
}

void LiveRun::mark(int32_t step, int track) {
  auto [a, b] = layout_.holes_between(step, step);
  for (size_t i = a; i < b; ++i) {
    if (layout_.holes[i].track != track) continue;
    if (!punched_[i]) {
      punched_[i] = 1;
      ++punched_count_;
    }
    last_hole_ = i;
    // The run's own order: the next planned hole after this one.
    for (size_t j = run_index_; j < layout_.run_holes.size() && layout_.run_holes[j].step <= step; ++j)
      if (layout_.run_holes[j].step == step && layout_.run_holes[j].track == track) run_index_ = j + 1;
    return;
  }
}

void LiveRun::forget_last_run() {
  summary_.clear();
  remaining_.reset();
  hand_holes_.clear();
  card_step_ = 0;
}

void LiveRun::going_on() {
  // The re-registration after "Continuer" is part of the stop, not of the
  // run's pace: the time to go stays where the pause left it.
  if (!paused_ || c_.s.etat_pause != 0) return;
  paused_ms_ += static_cast<double>(now() - paused_at_);
  paused_ = false;
  if (on_change) on_change();
}

void LiveRun::hole_done() {
  const RunState& s = c_.s;
  if (!running_) return;
  const bool good = s.rep_A && !s.rep_B && !s.rep_C;
  if (!s.cycle_de_la_piece) {
    // The operator's own hole, in a pause: shown apart, never one of the piece's.
    if (good) hand_holes_.push_back({head_x_mm(), s.compteur_Y});
    return;
  }
  last_failed_ = !good;
  if (last_failed_) return;
  const double x = val(c_.m.LabelX.text());
  const int32_t step = s.compteur_Y;
  auto [a, b] = layout_.holes_between(step, step);
  for (size_t i = a; i < b; ++i) {
    if (val(c_.m.Position(layout_.holes[i].track).text()) != x) continue;
    mark(step, layout_.holes[i].track);
    return;
  }
}

void LiveRun::row_done(int row) {
  const auto& work = layout_.run_plan.work_from_row;
  if (work.empty()) return;
  // The gauge shows the last row done; 0 is also its value before the
  // first row, and the first row's own work is small beside a piece.
  const size_t next = row <= 0 ? 0 : std::min(static_cast<size_t>(row) + 1, work.size() - 1);
  const MachineWork rest = work[next];
  estimated_at_ = elapsed_ms();
  const MachineWork done = layout_.run_plan.total() - rest;
  per_frame_ = overhead_per_frame(done, estimated_at_, pace());
  remaining_ = brivel::remaining_ms(rest, done, estimated_at_, pace());
}

}  // namespace brivel
