// The instrument's scale: note table, X positions and note names.
#pragma once

#include "console/context.h"

namespace brivel {

// Registers Valcalc, Calculer_pas_X, Check3, Check4, Check6 and perfo(k).
void install_geometry(Context& c);

}  // namespace brivel
