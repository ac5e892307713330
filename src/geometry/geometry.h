// The instrument's scale: note table, X positions and note names.
#pragma once

#include "console/context.h"

namespace brivel {

// Registers Valcalc, Calculer_pas_X, Check3, Check4, Check6 and perfo(k).
void install_geometry(Context& c);

// Unlocks the calculation when Valcalc is on.
void Valcalc_Click(Context& c);
// Fills Position(1..NBTouches) from Text12, Text13, Text11 and locks again.
// Refuses, with a message and the lock left open, a NBTouches that is not a
// whole number from 0 to 63 and a zero Text11.
void Calculer_pas_X_Click(Context& c);
// Mechanical reading: Text16 on, one motor step per Y step, no bridges.
void Check4_Click(Context& c);
// The reminder of the heel, whichever way the box goes.
void Check6_Click(Context& c);
// Sends the head over track k (1 to 63) and shows the note's name. The
// operator's button and the run engine call the same routine; only with the
// note page showing does it open and close a working sequence of its own.
void perfo_Click(Context& c, int k);

}  // namespace brivel
