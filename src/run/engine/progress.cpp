#include "run/engine/progress.h"

#include <cmath>

#include "core/numbers.h"

namespace brivel {

std::string texte_temps(double ms) {
  const double mn = std::floor(ms / 1000 / 60);
  const double sec = std::floor(ms / 1000) - 60 * mn;
  return format_picture(mn, mn >= 10 ? "00" : "0") + " mn " + format_picture(sec, "00") + " s";
}

std::string texte_longueur(double metres) {
  return format_picture(metres, metres > 10 ? "00.000" : "0.000") + " m";
}

void LabelX_Change(Context& c) { c.m.compteurXY(0).set_text(c.m.LabelX.text()); }

void LabelY_Change(Context& c) {
  Model& m = c.m;
  const RunState& s = c.s;
  m.compteurXY(1).set_text(m.LabelY.text());
  const double y_absolu = val(m.LabelY.text()) + s.pas_poincon;
  m.compteurXY(2).set_text(texte_temps(s.ms_par_pas * y_absolu));
  // Counted from the run's start step, in whole millimetres.
  const double metres = std::floor(s.pas_Y_mm * (y_absolu - s.debut_pas)) / 1000;
  m.Long_perforee.set_text(texte_longueur(metres));
}

void install_progress(Context& c) {
  c.m.LabelX.handler = [&c] { LabelX_Change(c); };
  c.m.LabelY.handler = [&c] { LabelY_Change(c); };
}

}  // namespace brivel
