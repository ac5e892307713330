// The bridge calculator of the motor page.
#pragma once

#include "console/context.h"

namespace brivel {

// Lists every (NbpasY, PontY) whose bridge lies strictly between Text14
// and Text15.
void Calculer_ponts_Y_Click(Context& c);
// Writes the selected solution into NbpasY and PontY.
void Appliquer_ponts_Click(Context& c);
// Opens the calculator in place of calibration and detectors ("Définir"),
// or closes it and applies the selection ("OK").
void Def_ponts_Click(Context& c);

}  // namespace brivel
