#include "tools/manual_control.h"

#include "link/line.h"
#include "run/motion/motion.h"

namespace brivel {

void CommandeX_P_Click(Context& c) {
  if (!port_pret(c)) return;
  c.s.sens_X = true;
  debut_travail(c);
  deplace_X(c);
  fin_travail(c);
}

void CommandeX_M_Click(Context& c) {
  if (!port_pret(c)) return;
  c.s.sens_X = false;
  debut_travail(c);
  deplace_X(c);
  fin_travail(c);
}

void CommandeY_M_Click(Context& c) {
  if (!port_pret(c)) return;
  debut_travail(c);
  // The frame counts exactly nb_PasY motor steps: one motor step per Y step
  // for the length of the move.
  c.s.NbpasY_sauve = c.m.NbpasY.text();
  c.m.NbpasY.set_text("1");
  deplace_Y(c);
  c.m.NbpasY.set_text(c.s.NbpasY_sauve);
  fin_travail(c);
}

void CommandeZ_M_Click(Context& c) {
  if (!port_pret(c)) return;
  debut_travail(c);
  cycle_Z(c);
  fin_travail(c);
}

void install_manual_control(Context& c) {
  c.m.CommandeX_P.handler = [&c] { CommandeX_P_Click(c); };
  c.m.CommandeX_M.handler = [&c] { CommandeX_M_Click(c); };
  c.m.CommandeY_M.handler = [&c] { CommandeY_M_Click(c); };
  c.m.CommandeZ_M.handler = [&c] { CommandeZ_M_Click(c); };
  c.m.Perfoman.handler = [&c] { CommandeZ_M_Click(c); };
}

}  // namespace brivel
