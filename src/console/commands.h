// The five manual commands of the motor page, switched as one block while an
// origin search or a calibration holds the machine.
#pragma once

#include "console/model.h"

namespace brivel {

void Enabled_commande(Model& m);
void Disabled_commande(Model& m);

}  // namespace brivel
