#include "tools/calibration.h"

#include <algorithm>
#include <functional>

#include "console/commands.h"
#include "core/numbers.h"
#include "link/line.h"
#include "run/motion/motion.h"
#include "link/occupation.h"

namespace brivel {

namespace {
constexpr int kEntreCyclesZMs = 500;

// The start (`debut`) and the end that the three calibrations share: while
// one runs, the manual commands, the two other calibrations and the detector
// view are out of reach, and no punch cycle arms the watchdog.
void cadre_commun(Context& c, const Element& lui, bool debut) {
  Model& m = c.m;
  if (debut)
    Disabled_commande(m);
  else
    Enabled_commande(m);
  for (Element* b : {&m.CalibrerX, &m.CalibrerY, &m.CalibrerZ})
    if (b != &lui) b->set_enabled(!debut);
  m.visu_detecteurs.set_enabled(!debut);
  c.s.hors_watchdog = debut ? -1 : 0;
}

// A calibration runs until Stop_cal; a port that went away ends it too,
// since every pass would fail at once and save a context.
bool continuer(Context& c) { return !c.s.arret_calibration && c.p.serial().is_open(); }

// One pass lowers the step duration in `field` (whose change sends it).
void accelere(Context& c, Element& field) {
  auto v = to_number_strict(field.text());
  if (!v) return;  // the operator is typing into it: left alone this pass
  const double suivante = duree_pas_suivante(*v);
  if (suivante == *v) {
    c.m.Label_defautP.set_text("Durée de pas minimale atteinte : " + str_plain(kDureePasMin) + " µs (" + field.label() +
                               ")");
    return;
  }
  field.set_text(str_plain(suivante));
}
}  // namespace

double duree_pas_suivante(double duree_us) {
  if (!(duree_us > kDureePasMin)) return duree_us;
  return std::max(duree_us - kBaissePas, kDureePasMin);
}

double delai_cycle_calibration_ms(double tempo, double max_z) {
  const double cycle = std::max(0.0, tempo) + std::max(0.0, max_z);
  return kDelaiReponseMs + 2 * cycle;
}

std::optional<double> nombre_calibration(Context& c, const Element& field) {
  auto v = to_number_strict(field.text());
  if (!v)
    c.m.Label_defautP.set_text("Calibration impossible : " + field.label() + " \"" + field.text() +
                               "\" n'est pas un nombre");
  return v;
}

namespace {
// X and Y: the motor runs pass after pass, each 50 µs a step faster, until
// Stop_cal. `passe` makes one move; the speed field's change sends it.
void calibre_moteur(Context& c, Element& bouton, Element& vitesse, const char* moteur,
                    const std::function<void()>& passe) {
  Model& m = c.m;
  if (!nombre_calibration(c, vitesse)) return;
  Occupation occ(c);
  if (!occ) return;
  cadre_commun(c, bouton, true);
  m.Calibration.set_text(std::string("Calibration moteur ") + moteur + " en cours");
  c.s.arret_calibration = false;
  debut_travail(c);
  while (continuer(c)) {
    passe();
    accelere(c, vitesse);
    c.p.turn(0);
  }
  m.Calibration.set_text(std::string("Fin calibration moteur ") + moteur);
  cadre_commun(c, bouton, false);
}
}  // namespace

void CalibrerX_Click(Context& c) {
  // The head goes to and fro by nb_PasX.
  c.s.sens_X = true;
  calibre_moteur(c, c.m.CalibrerX, c.m.VitesseX, "X", [&c] {
    deplace_X(c);
    c.s.sens_X = !c.s.sens_X;
  });
}

void CalibrerY_Click(Context& c) {
  Model& m = c.m;
  // nb_PasY motor steps a pass, always forward.
  bool premiere = true;
  calibre_moteur(c, m.CalibrerY, m.VitesseY, "Y", [&c, &premiere] {
    if (premiere) {
      c.s.NbpasY_sauve = c.m.NbpasY.text();
      c.m.NbpasY.set_text("1");
      premiere = false;
    }
    deplace_Y(c);
  });
  if (!premiere) m.NbpasY.set_text(c.s.NbpasY_sauve);
}

void CalibrerZ_Click(Context& c) {
  Model& m = c.m;
  RunState& s = c.s;
  if (!nombre_calibration(c, m.TempoZ)) return;
  Occupation occ(c);
  if (!occ) return;
  cadre_commun(c, m.CalibrerZ, true);
  // The fixed cycle, whose pulse is TempoZ.
  m.Check2.set_value(0);
  debut_travail(c);
  s.arret_calibration = false;
  s.calibration_Z_active = -1;
  s.echec_cycle_vu = false;
  s.nb_succes_Z = 0;
  // A failed cycle ("C") is a measurement here: cycle_Z counts the good
  // ones behind the first failure and sets arret_calibration at the third.
  while (continuer(c)) {
    attente_ms(c.p, kEntreCyclesZMs);
    m.Label_defaut.set_text("");
    m.Calibration.set_text("Calibration durée impulsion de commande");
    s.delai_cycle_Z_ms = delai_cycle_calibration_ms(val(m.TempoZ.text()), val(m.MaxZ.text()));
    cycle_Z(c);
    if (auto tempo = to_number_strict(m.TempoZ.text())) m.TempoZ.set_text(str_plain(*tempo + kHaussePulse));
    m.MaxZ.set_text(str_plain(2 * val(m.TempoZ.text())));
    c.p.turn(0);
  }
  m.MaxZ.set_text(str_plain(2 * val(m.TempoZ.text())));
  s.arret_calibration = true;
  s.calibration_Z_active = 0;
  s.delai_cycle_Z_ms = 0;
  m.Calibration.set_text("Fin calibration Z. Penser à sauvegarder!");
  fin_travail(c);
  cadre_commun(c, m.CalibrerZ, false);
}

void Stop_cal_Click(Context& c) {
  // Runs inside the calibration's wait: the move under way finishes first.
  if (c.p.serial().is_open()) fin_travail(c);
  c.s.arret_calibration = true;
}

void install_calibration(Context& c) {
  Model& m = c.m;
  m.CalibrerX.handler = [&c] { CalibrerX_Click(c); };
  m.CalibrerY.handler = [&c] { CalibrerY_Click(c); };
  m.CalibrerZ.handler = [&c] { CalibrerZ_Click(c); };
  m.Stop_cal.handler = [&c] { Stop_cal_Click(c); };
}

}  // namespace brivel
