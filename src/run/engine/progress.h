// What the operator sees of the run's progress. The primitives write only
// LabelX and LabelY; these observers follow them. compteurXY(1) is also the
// position that context files store.
#pragma once

#include <string>

#include "console/context.h"

namespace brivel {

void LabelX_Change(Context& c);
void LabelY_Change(Context& c);

// The time in the music at `ms`: "3 mn 07 s", "12 mn 40 s".
std::string texte_temps(double ms);
// Metres of card: "0.830 m", "12.450 m", with the locale's decimal mark.
std::string texte_longueur(double metres);

void install_progress(Context& c);

}  // namespace brivel
