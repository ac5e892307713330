// The EEPROM utility (Alt+E): reads and writes single bytes of the board's
// EEPROM through the two fields of its box. The frame "wr" carries no
// address: it writes to the cell that the last "rd" named, so the operator
// reads a cell before changing it.
#pragma once

#include <optional>

#include "console/context.h"

namespace brivel {

// The cell's value from the reply to "rd": the code of the one character the
// board sent, 0 to 255.
int valeur_cellule(char car_autre);
// The codes of "A" to "D" (65 to 68) reach the reply flags instead of
// car_autre: the code of the letter whose flag is set, if one is.
std::optional<int> valeur_lettre(const RunState& s);

// "NUxxxxx", "rd" and the address, the one-character reply, a bare line
// feed; the value goes into `value`. A letter A to D as the reply is read as
// its code and said so; a silent board ends the wait after the line's
// time-out, with a word on the service line.
void read_EEPROM(Context& c);
// "NUxxxxx", "wr" and the value, wait for "A", 300 ms.
void write_EEPROM(Context& c);

void install_eeprom(Context& c);

}  // namespace brivel
