// The board's copy of the machine's parameters. The console is the master:
// the whole set goes out after every connection, and each value goes out
// again when it is changed on a page that shows the machine's parameters.
// The board acknowledges none of these frames.
#pragma once

#include "console/context.h"

namespace brivel {

// The burst: NUxxxxx, PX, PY, OX, IZ, MZ, [PW], CP/cp, 10 ms after each.
// Assumes an open port.
void param_arduino(Context& c);

// Live frames on a change of the value fields.
void VitesseX_Change(Context& c);
void VitesseY_Change(Context& c);
void Text_origineX_Change(Context& c);
void TempoZ_Change(Context& c);
void MaxZ_Change(Context& c);
void dcycle_pwm_Change(Context& c);

void valid_pwm_Click(Context& c);
void Check1_Click(Context& c);
void Check2_Click(Context& c);

}  // namespace brivel
