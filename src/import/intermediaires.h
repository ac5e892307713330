// The button "calcul  PasY": intermediate steps of held notes into List3.
#pragma once

#include "console/context.h"

namespace brivel {

// Expects a complete List3 and the pas_Y_mm of its opening. A second run
// adds nothing while the parameters stand.
void Command7_Click(Context& c);

}  // namespace brivel
