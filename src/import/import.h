// Opening a piece: from a MIDI file to the sorted event list List3.
#pragma once

#include "console/context.h"

namespace brivel {

// Registers Ouvre_midi, Command7 and the bridge calculator's buttons.
void install_import(Context& c);

}  // namespace brivel
