// The deferred start: "Perforation différée..." asks for a time of day and
// Timer2 starts the run at its first tick after that time. Times of day
// alone are compared, with no date: a time already past (any time after the
// next midnight included) starts the run at the first tick.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "console/context.h"

namespace brivel {

// A time of day typed by the operator, in seconds after midnight: "14:30",
// "14:30:15", "9:05", "14h30". Empty when it is no time of day.
std::optional<int> lit_heure(std::string_view texte);
// "14:30:00".
std::string texte_heure(int secondes);

void perfo_retard_Click(Context& c);
void Timer2_Timer(Context& c);

void install_deferred(Context& c);

}  // namespace brivel
