// What a run must have before anything moves. The system itself only knows
// the two bound errors; everything else that would stop a run half-way
// (a closed port, a card speed that gives no step duration, bound fields
// that hold no number, a move the five digits of a frame can't carry) is
// refused here, up front, with the reason on the service line.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "console/context.h"

namespace brivel {

// The largest count a frame carries.
inline constexpr double kCompteMax = 99999;

// The largest Y move of a piece, in Y steps of the event list: the card
// starts half a punch (`depart`) ahead and moves from row to row. The rows
// are those of List3, sorted.
double plus_grande_avance_Y(const std::vector<std::string>& lignes, double depart);

// The largest X move between any two of `positions` (motor steps): the
// tracks the piece punches and the origin's edge, from which a
// re-registration comes back.
double plus_grand_ecart_X(const std::vector<double>& positions);

// The reason why the run can't start, or nothing. Reads the fields as the
// run will read them.
std::optional<std::string> refus_perforation(Context& c);

// The notes in use: the value of NBTouches, whole, within 0..63.
int notes_utilisees(const Model& m);

}  // namespace brivel
