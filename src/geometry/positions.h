// The X positions of the tracks, worked out from three lengths of the card.
#pragma once

#include <optional>
#include <string_view>
#include <vector>

namespace brivel {

// Position of tracks 1 to n in X motor steps from the edge of the card:
// (talon + pas * (i - 1)) / pas_moteur, rounded half to even. Element 0 is
// Position(1). With `inverse` (punching from below) the same set of values
// runs from the far track to the edge: element 0 then holds the value of
// track n. Empty when n > 0 and pas_moteur is 0: there is no result.
// talon, pas in mm; pas_moteur in mm per X motor step.
std::optional<std::vector<double>> calcule_positions(double talon, double pas, double pas_moteur, int n, bool inverse);

// The number of tracks in use from the text of NBTouches: a whole number
// from 0 to 63 (the entries of the note table). Empty for anything else,
// text that is no number included, so that no caller can index past the
// table.
std::optional<int> nb_touches(std::string_view text);

// The count of tracks that the calculation of the positions fills, from the
// text of NBTouches read by the numeric-prefix rule ("" gives 0, "3abc" 3),
// whole tracks only, none below 0. Empty above 63: the table has no more.
std::optional<int> nb_touches_calcul(std::string_view text);

// The MIDI note number of a Note(k) text, halves to even, when it is a
// note that exists (0 to 127). Text is read by the numeric-prefix rule.
std::optional<int> numero_note(std::string_view text);

}  // namespace brivel
