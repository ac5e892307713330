// The deferred start: "Perforation différée..." asks for a time of day and
// Timer2 starts the run at its first tick after that time, after any number
// of earlier runs. A time earlier than now is that time tomorrow. While
// armed the service line counts down and the menu entry cancels it; a start
// that cannot happen at its time is said on the fault line and in the
// hole journal, for the operator who comes back in the morning.
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
// "2 h 14 mn", "14 mn 05 s", "45 s": the time left before the start.
std::string texte_attente(double ms);
// Milliseconds before an armed deferred start; empty when none is armed.
std::optional<double> attente_depart_ms(const Context& c);

// The menu entry's caption while a start is armed.
inline constexpr const char* kAnnulerDiffere = "Annuler la perforation différée";

void perfo_retard_Click(Context& c);
void Timer2_Timer(Context& c);

void install_deferred(Context& c);

}  // namespace brivel
