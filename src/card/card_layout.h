// The card as it will be punched, in millimetres: one track per note of the
// table, across in the order of their X positions, and every hole the run
// will punch, along the card at its step. Plain data, made once per opening
// of a piece; the card window, its live marks and the SVG and PDF drawings
// all read it.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "console/context.h"
#include "run/engine/punch_plan.h"

namespace brivel {

struct CardInput {
  PlanInput plan;                  // rows, note table, the run's bounds
  std::vector<std::string> names;  // note name of each track, k = 1..N
  double mm_per_x_step = 0.21;     // Text11
  double step_mm = 0.83;           // pas_Y_mm
  double punch_mm = 3;             // Poincon: the hole's length along the card
  double track_pitch_mm = 4.2;     // Text13: from one track to the next
  double edge_mm = 6.3;            // Text12: first track to the card's edge
  std::string title;               // the piece and the instrument, for the exports
  double ms_per_step = 0;          // ms_par_pas: the music a step of the card holds
};

struct CardTrack {
  int k = 0;        // Note(k)
  int note = 0;     // MIDI note number
  double x_mm = 0;  // axis of the track from the card's edge
  std::string name;
};

struct CardLayout {
  std::vector<CardTrack> tracks;  // index k - 1
  // Every hole of the whole piece, in the order a run over all of it would
  // punch them: steps never go down, so a range of steps is found by binary
  // search.
  std::vector<PlannedHole> holes;
  // The holes of the run between the bounds, in punching order: what the
  // live view counts confirmations against.
  std::vector<PlannedHole> run_holes;
  PunchPlan run_plan;
  double step_mm = 0.83, punch_mm = 3, hole_width_mm = 2.1;
  double width_mm = 0;                  // across the card
  double length_mm = 0;                 // along it, to the end of the last hole and a margin
  double start_step = 0, end_step = 0;  // the run's bounds
  int32_t last_step = 0;                // of the list
  std::string title;
  double ms_per_step = 0;  // the music a step holds, ms
  // Notes of the piece that no track holds: note number -> NOTE rows.
  std::map<int, int> outside;

  double y_mm(double step) const { return step * step_mm; }
  double step_at(double y) const { return step_mm > 0 ? y / step_mm : 0; }
  // Holes with a step in [from, to], as indices into `holes`.
  std::pair<size_t, size_t> holes_between(double from, double to) const;
  // The rectangle of a hole: left, top, width, height, in mm.
  struct Rect {
    double x, y, w, h;
  };
  Rect rect(const PlannedHole& h) const;
};

// Bounds as the run reads them: from Deb_perf and Fin_perf, steps of
// ms_par_pas; the whole piece when no piece is open.
CardInput card_input(const Context& c);
CardLayout lay_out_card(const CardInput& in);

// The MIDI notes of the piece's NOTE rows, one per row.
std::vector<int> piece_notes(const std::vector<std::string>& rows);

struct Transposition {
  int shift = 0;    // semitones, -12 to +12
  int outside = 0;  // notes of the piece that then fall outside the scale
};
// One entry per shift from -12 to +12, in that order.
std::vector<Transposition> transpositions(const std::vector<int>& notes, const std::vector<int>& scale);
// The shifts with the fewest notes outside, nearest to 0 first, at most `n`.
std::vector<Transposition> best_transpositions(std::vector<Transposition> table, size_t n);

}  // namespace brivel
