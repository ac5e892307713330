// The button Command12, "Pause" or "Continuer". A run can't be stopped,
// only suspended: the pause takes effect at the next hole, whose wait holds
// the run until "Continuer" and the board's yes.
#pragma once

#include "console/context.h"

namespace brivel {

void Command12_Click(Context& c);
void install_pause(Context& c);

}  // namespace brivel
