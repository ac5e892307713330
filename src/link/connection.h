// The serial port's life: opening, the board's reset pulse, the two lamps,
// the port scan, and the device notifier's arrival and removal. Every road
// to an open port resets the board and ends in a full parameter push.
#pragma once

#include <string>

#include "console/context.h"

namespace brivel {

// Line settings and the reset pulse: DTR and RTS up for 400 ms, down, then
// 500 ms for the board to start, so that at least 900 ms pass between the
// opening and the first frame. Then, for a board that greets, until its
// greeting: a bootloader may hold the line past the 900 ms, and what it
// receives never reaches the firmware. Runs with the port open.
void init_port(Context& c);
// Reset, lamps green, end of a scan, parameter burst, pointer normal.
void connexion_on(Context& c);
// Port closed, lamps red, pointer normal.
void connexion_off(Context& c);
// The parameter file's road: opens the port named in AdressePort.
void ouvre_port(Context& c);

// Change handler of AdressePort.
void AdressePort_Change(Context& c);
// Click on Label3: tries ports 32 down to 1, the first that opens wins.
void Label3_Click(Context& c);

// The device notifier. A serial port arrives as type 3, identity 0, with a
// name "COM<n>".
void SysInfo_DeviceArrival(Context& c, int type, int id, const std::string& name);
void SysInfo_DeviceRemoveComplete(Context& c);

// The fault caption of a board that restarted (a brown-out, its watchdog,
// a cable pulled and put back, another program opening the port).
inline constexpr const char* kCarteReinitialisee =
    "La carte s'est réinitialisée (coupure, reset ou câble) : ses paramètres lui sont renvoyés, "
    "Continuer refait l'origine";

// The receive dispatcher found the board's greeting. Outside the
// connection's own wait the board has restarted: its parameters go to it
// again at the next turn, and a run that goes on is told at its next wait.
void carte_a_salue(Context& c);

// The port number that AdressePort names (numeric-prefix rule; 0 when it
// names none).
int numero_port(const Context& c);

}  // namespace brivel
