// The punch run: "Perforer" walks once down List3, moving the card and
// punching each step's holes. The whole run is one call of Command11_Click
// that stays on the stack for the length of the piece; every wait in it
// gives the event loop turns, so that "Pause", the receive handler and the
// timers run inside it. A pause or a fault waits inside, at the hole where
// the run stands. At the end of the piece the next file of a chain is
// opened and the handler calls itself.
#pragma once

#include "console/context.h"

namespace brivel {

// The button "Perforer"; also called by the deferred start and by a chain.
void Command11_Click(Context& c);
// Feeds the card between two files of a chain and starts the next one.
void enchaine_fichier(Context& c);

// The note states of a run, kept in the background colour of Note(k).
inline constexpr int kEtatRepos = 15;    // idle
inline constexpr int kEtatActif = 12;    // on: punched at each step
inline constexpr int kEtatFermant = 13;  // closing: punched once more, then idle

// Registers Command11, Command12, the progress observers and the deferred start.
void install_run(Context& c);

}  // namespace brivel
