// The decoder's stops: code and text of each, in one place. Codes 1 to 7 are
// the converter's own and keep their English texts, which operators and old
// logs know; 8 and up refuse files whose timing can't be read in ticks per
// quarter note, in French.
#pragma once

#include <cstdint>
#include <string>

namespace brivel {

enum CodeMidi : int16_t {
  kMidiFinInattendue = 1,    // a byte read behind the end of the file
  kMidiDeltaInvalide = 2,    // a delta time with a fifth byte
  kMidiStatutCourant = 3,    // a data byte where no channel status runs on
  kMidiSansMThd = 5,         // the file doesn't start with "MThd"
  kMidiSansMTrk = 6,         // a track doesn't start with "MTrk"
  kMidiTropDeTempos = 7,     // the 999th tempo event of a track
  kMidiDivisionSmpte = 8,    // division with its top bit set (frames per second)
  kMidiEnTeteTropGrand = 9,  // format or track count above 32767
  kMidiDivisionNulle = 10,   // division 0: no tick has a length
};

// A stop of the conversion. `avec_lieu`: the text gets the location of the
// event being read, as the converter printed it.
struct ArretMidi {
  int16_t code;
  bool avec_lieu;
};

// The converter's text of a stop; `lieu` is the number of file bytes
// consumed up to the status byte of the event being read.
std::string texte_arret_midi(const ArretMidi& a, int64_t lieu);

}  // namespace brivel
