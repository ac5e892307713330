// The manual commands: one move or one punch, each inside a working
// sequence of its own, the card's continuous feed, and RAZ. They need the
// machine, and one at a time: with the port closed, or while another command
// waits on the machine, they are refused with a word on the service line.
#pragma once

#include "console/context.h"

namespace brivel {

void CommandeX_P_Click(Context& c);
void CommandeX_M_Click(Context& c);
// The frame counts exactly nb_PasY motor steps: NbpasY is "1" for the move
// and gets its text back afterwards.
void CommandeY_M_Click(Context& c);
void CommandeZ_M_Click(Context& c);  // also Perfoman

// Continuous feed. The first click feeds the card by 200 Y steps at a time
// until the second click, whose handler runs inside the first one's wait;
// the service line shows "Avance en continu du carton" meanwhile and gets
// its text back at the stop. A lost port ends the feed too.
void Avance_Click(Context& c);

// Enables the block of manual commands whatever held it; before the first
// run also sets the counters to 0 and tells the board to drop every command
// ("ZXxxxxx", with the port open).
void RAZ_Click(Context& c);

// Registers the manual commands and every other machine tool: calibration,
// detector view, EEPROM utility, firmware upload.
void install_manual_control(Context& c);

}  // namespace brivel
