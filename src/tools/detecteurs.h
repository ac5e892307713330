// The live view of the machine's sensors on the motor page: while it is on,
// Timer1 asks the board for its detectors ten times a second and the four
// lamps show them, red for a sensor that is unmasked; the manual commands
// and the calibration are out of reach meanwhile.
#pragma once

#include <array>
#include <string_view>

#include "console/context.h"

namespace brivel {

// Lamp colours for the five characters of a reply to "VDxxxxx", in the order
// Poin_B, Poin_H, Det_L(4), Det_T(3). "O" (the capital letter) is an
// unmasked sensor, light red; any other character white. In two-sensor mode
// (`deux_capteurs`, Check1) the low punch sensor and the rotary one aren't
// used and take the neutral colour. Character 5 is nobody's.
std::array<int, 4> couleurs_detecteurs(std::string_view reponse, bool deux_capteurs);

// Click on visu_detecteurs: the view on or off. Turning it on needs the
// machine; turning it off always works.
void visu_detecteurs_Click(Context& c);
// One poll: "VDxxxxx", the counted reply, the lamps. A tick that finds the
// line held by another command passes; one that finds the port closed turns
// the view off.
void Timer1_Timer(Context& c);

void install_detecteurs(Context& c);

}  // namespace brivel
