#include "link/occupation.h"

#include "link/line.h"

namespace brivel {

Occupation::Occupation(Context& c) : c_(c) {
  if (!port_pret(c)) return;
  if (c.s.commande_machine) {
    c.m.Label_defautP.set_text(kCommandeRefusee);
    return;
  }
  c.s.commande_machine = true;
  pris_ = true;
}

Occupation::~Occupation() {
  if (pris_) c_.s.commande_machine = false;
}

}  // namespace brivel
