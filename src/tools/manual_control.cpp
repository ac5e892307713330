#include "tools/manual_control.h"

#include <optional>

#include "console/commands.h"
#include "core/numbers.h"
#include "link/frames.h"
#include "link/line.h"
#include "run/motion/motion.h"
#include "tools/calibration.h"
#include "tools/detecteurs.h"
#include "tools/eeprom.h"
#include "link/occupation.h"
#include "tools/upload.h"

namespace brivel {

namespace {
void commande_X(Context& c, bool sens) {
  Occupation occ(c);
  if (!occ) return;
  c.s.sens_X = sens;
  debut_travail(c);
  deplace_X(c);
  fin_travail(c);
}
}  // namespace

void CommandeX_P_Click(Context& c) { commande_X(c, true); }
void CommandeX_M_Click(Context& c) { commande_X(c, false); }

void CommandeY_M_Click(Context& c) {
  Occupation occ(c);
  if (!occ) return;
  RunState& s = c.s;
  debut_travail(c);
  s.NbpasY_sauve = c.m.NbpasY.text();
  c.m.NbpasY.set_text("1");
  const int32_t avant = s.compteur_Y;
  deplace_Y(c);
  c.m.NbpasY.set_text(s.NbpasY_sauve);
  // The frame carried nb_PasY motor steps; the counter and the length it
  // shows count steps of the list, NbpasY motor steps each.
  const double par_pas = val(s.NbpasY_sauve);
  if (par_pas > 0) {
    s.compteur_Y = clng_borne(avant + round_half_even(val(c.m.nb_PasY.text()) / par_pas));
    c.m.LabelY.set_text(str_plain(s.compteur_Y));
  }
  fin_travail(c);
}

void CommandeZ_M_Click(Context& c) {
  Occupation occ(c);
  if (!occ) return;
  debut_travail(c);
  cycle_Z(c);
  fin_travail(c);
}

void Avance_Click(Context& c) {
  Model& m = c.m;
  RunState& s = c.s;
  // The stop runs inside the feed's wait and takes nothing; a start takes
  // the line for the whole feed.
  std::optional<Occupation> occ;
  if (!s.avance_continue) {
    occ.emplace(c);
    if (!*occ) return;
  }
  s.hors_watchdog = -1;
  s.avance_continue = !s.avance_continue;
  if (s.avance_continue) {
    // The service line's text waits in its own tool tip until the stop.
    m.Label_defautP.set_tooltip(m.Label_defautP.text());
    m.Label_defautP.set_text("Avance en continu du carton");
    m.Avance.set_text("Stop");
  } else {
    m.Label_defautP.set_text(m.Label_defautP.tooltip());
    m.Label_defautP.set_tooltip("");
    m.Avance.set_text("Avance");
  }
  debut_travail(c);
  m.nb_PasY.set_text("200");
  while (s.avance_continue && c.p.serial().is_open()) deplace_Y(c);
  if (s.avance_continue) {
    // The port went under the feed: nobody is left to click "Stop", and the
    // service line keeps the link's fault.
    s.avance_continue = false;
    m.Label_defautP.set_tooltip("");
    m.Avance.set_text("Avance");
  }
  fin_travail(c);
  s.hors_watchdog = 0;
}

void RAZ_Click(Context& c) {
  Model& m = c.m;
  RunState& s = c.s;
  Enabled_commande(m);
  if (s.perforation_lancee) return;
  s.compteur_X = 0;
  s.compteur_Y = 0;
  m.LabelX.set_text("0");
  m.LabelY.set_text("0");
  m.Label_defaut.set_text("");
  s.mesure_origine = -1;
  s.recalage_demande = false;
  if (c.p.serial().is_open()) {
    envoie(c, fixed_frame("ZX"));
    c.p.turn(0);
    attente_ms(c.p, 10);
  }
}

void install_manual_control(Context& c) {
  Model& m = c.m;
  m.CommandeX_P.handler = [&c] { CommandeX_P_Click(c); };
  m.CommandeX_M.handler = [&c] { CommandeX_M_Click(c); };
  m.CommandeY_M.handler = [&c] { CommandeY_M_Click(c); };
  m.CommandeZ_M.handler = [&c] { CommandeZ_M_Click(c); };
  m.Perfoman.handler = [&c] { CommandeZ_M_Click(c); };
  m.Avance.handler = [&c] { Avance_Click(c); };
  m.RAZ.handler = [&c] { RAZ_Click(c); };
  install_calibration(c);
  install_detecteurs(c);
  install_eeprom(c);
  install_upload(c);
}

}  // namespace brivel
