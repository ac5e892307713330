// Names of the notes that the console shows while the head moves to a track.
// They serve the operator's eye only; no calculation, file or frame uses them.
#pragma once

#include <array>
#include <string>

#include "console/context.h"

namespace brivel {

// The 128 names, index the MIDI note number, without octave. 0 to 119 get
// the name of their pitch class (French "Do", "Ré#"... or letters "C",
// "D#"...); 120 to 127 stay empty: the table covers ten octaves.
std::array<std::string, 128> table_noms_notes(bool francais);

// A name with its octave, for the views that show a note beside the name:
// "Do3" for MIDI 60 in the French way (the octave of the middle Do is 3),
// "C4" with letter names; the name alone when it is empty.
std::string nom_et_octave(const std::string& nom, int note, bool francais);

// Fills noms_notes for the present value of Check3 (1: French names, any
// other value: letter names).
void charge_noms_notes(Context& c);

// Check3: caption "Do Ré Mi " or "  A B C ", then the names.
void Check3_Click(Context& c);

}  // namespace brivel
