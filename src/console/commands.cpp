#include "console/commands.h"

namespace brivel {

namespace {
void set_block(Model& m, bool on) {
  for (Element* e : {&m.CommandeX_P, &m.CommandeX_M, &m.CommandeY_M, &m.CommandeZ_M, &m.OrigineX_M})
    e->set_enabled(on);
}
}  // namespace

void Enabled_commande(Model& m) { set_block(m, true); }
void Disabled_commande(Model& m) { set_block(m, false); }

}  // namespace brivel
