// The manual commands of the motor and note pages: one move or one punch,
// each inside a working sequence of its own. They need the machine: with the
// port closed they are refused with a word on the service line.
#pragma once

#include "console/context.h"

namespace brivel {

void CommandeX_P_Click(Context& c);
void CommandeX_M_Click(Context& c);
void CommandeY_M_Click(Context& c);
void CommandeZ_M_Click(Context& c);  // also Perfoman

void install_manual_control(Context& c);

}  // namespace brivel
