#include "card/card_layout.h"

#include "geometry/note_names.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <set>

#include "core/numbers.h"
#include "run/engine/ligne_run.h"

namespace brivel {

std::pair<size_t, size_t> CardLayout::holes_between(double from, double to) const {
  auto lo =
      std::lower_bound(holes.begin(), holes.end(), from, [](const PlannedHole& h, double s) { return h.step < s; });
  auto hi = std::upper_bound(lo, holes.end(), to, [](double s, const PlannedHole& h) { return s < h.step; });
  return {static_cast<size_t>(lo - holes.begin()), static_cast<size_t>(hi - holes.begin())};
}

CardLayout::Rect CardLayout::rect(const PlannedHole& h) const {
  const double x = tracks[h.track - 1].x_mm;
  return {x - hole_width_mm / 2, y_mm(h.step), hole_width_mm, punch_mm};
}

CardInput card_input(const Context& c) {
  const Model& m = c.m;
  CardInput in;
  in.plan.rows = m.List3.rows();
  const int n = std::clamp(static_cast<int>(val(m.NBTouches.text())), 0, Model::kNotes);
  for (int k = 1; k <= n; ++k) {
    in.plan.notes.push_back(val(m.Note(k).text()));
    in.plan.positions.push_back(val(m.Position(k).text()));
    const double note = std::round(in.plan.notes.back());
    in.names.push_back(note >= 0 && note < 128
                           ? nom_et_octave(c.s.noms_notes[static_cast<size_t>(note)], note, c.m.Check3.value() == 1)
                           : std::string());
  }
  in.step_mm = c.s.pas_Y_mm > 0 ? c.s.pas_Y_mm : val(m.NbpasY.text()) * val(m.PasmotY.text());
  in.ms_per_step = c.s.ms_par_pas;
  in.mm_per_x_step = val(m.Text11.text());
  in.punch_mm = val(m.Poincon.text());
  in.track_pitch_mm = val(m.Text13.text());
  in.edge_mm = val(m.Text12.text());
  // The piece, and the instrument by its parameter file's name.
  std::string orgue = c.s.nom_fichier_set;
  if (orgue.size() > 4 && orgue.compare(orgue.size() - 4, 4, ".set") == 0) orgue.resize(orgue.size() - 4);
  in.title = c.s.nom_midi_court.empty() || orgue.empty() ? c.s.nom_midi_court + orgue
                                                          : c.s.nom_midi_court + " - " + orgue;
  const int16_t punch_steps = in.step_mm > 0 ? static_cast<int16_t>(std::floor(in.punch_mm / in.step_mm)) : 0;
  in.plan.first_y = static_cast<int32_t>(round_half_even(punch_steps / 2.0));
  in.plan.first_x = static_cast<int32_t>(val(m.Text_origineX.text()));
  if (c.s.ms_par_pas > 0) {
    auto nombre = [](const Element& e) { return to_number_strict(e.text()).value_or(0); };
    const double debut_ms = (nombre(m.Deb_perf_mn) * 60 + nombre(m.Deb_perf_sec)) * 1000;
    const double fin_champs = (nombre(m.Fin_perf_mn) * 60 + nombre(m.Fin_perf_sec)) * 1000;
    const double fin_ms = c.s.fin_saisie ? fin_champs : c.s.reste_fin_ms + fin_champs;
    in.plan.start_step = std::floor(debut_ms / c.s.ms_par_pas);
    in.plan.end_step = round_half_even(fin_ms / c.s.ms_par_pas);
  }
  return in;
}

CardLayout lay_out_card(const CardInput& in) {
  CardLayout l;
  l.title = in.title;
  l.ms_per_step = in.ms_per_step;
  l.step_mm = in.step_mm;
  l.punch_mm = in.punch_mm;
  // The punch is narrower than the gap between tracks; half the pitch reads
  // well on screen and on paper.
  l.hole_width_mm = std::max(0.5, in.track_pitch_mm / 2);
  double widest = 0;
  std::set<int> scale;
  for (size_t i = 0; i < in.plan.notes.size(); ++i) {
    CardTrack t;
    t.k = static_cast<int>(i) + 1;
    t.note = static_cast<int>(std::lround(in.plan.notes[i]));
    t.x_mm = (i < in.plan.positions.size() ? in.plan.positions[i] : 0) * in.mm_per_x_step;
    t.name = i < in.names.size() ? in.names[i] : std::string();
    widest = std::max(widest, t.x_mm);
    scale.insert(t.note);
    l.tracks.push_back(std::move(t));
  }
  l.width_mm = widest + std::max(in.edge_mm, l.hole_width_mm);

  PlanInput whole = in.plan;
  whole.start_step = -1e18;
  whole.end_step = 1e18;
  l.holes = plan_punch(whole).holes;
  l.run_plan = plan_punch(in.plan);
  l.run_holes = l.run_plan.holes;
  l.start_step = in.plan.start_step;
  l.end_step = in.plan.end_step;
  for (const std::string& r : in.plan.rows) {
    const LigneRun row = lit_ligne_run(r);
    l.last_step = std::max<int32_t>(l.last_step, static_cast<int32_t>(row.pas));
  }
  l.length_mm = l.y_mm(l.last_step) + l.punch_mm + 10;
  for (int n : piece_notes(in.plan.rows))
    if (!scale.count(n)) ++l.outside[n];
  return l;
}

std::vector<int> piece_notes(const std::vector<std::string>& rows) {
  std::vector<int> notes;
  for (const std::string& r : rows) {
    const LigneRun l = lit_ligne_run(r);
    if (l.mot == "NOTE") notes.push_back(static_cast<int>(l.note));
  }
  return notes;
}

std::vector<Transposition> transpositions(const std::vector<int>& notes, const std::vector<int>& scale) {
  const std::set<int> in_scale(scale.begin(), scale.end());
  std::vector<Transposition> table;
  for (int shift = -12; shift <= 12; ++shift) {
    Transposition t{shift, 0};
    for (int n : notes)
      if (!in_scale.count(n + shift)) ++t.outside;
    table.push_back(t);
  }
  return table;
}

std::vector<Transposition> best_transpositions(std::vector<Transposition> table, size_t n) {
  std::stable_sort(table.begin(), table.end(), [](const Transposition& a, const Transposition& b) {
    if (a.outside != b.outside) return a.outside < b.outside;
    return std::abs(a.shift) < std::abs(b.shift);
  });
  if (table.size() > n) table.resize(n);
  return table;
}

}  // namespace brivel
