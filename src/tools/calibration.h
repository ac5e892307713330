// Calibration of the machine on the motor page: the X and Y motors are run
// faster and faster until the operator stops them, the punch pulse is made
// longer until the punch works three times in a row. The result is what
// VitesseX, VitesseY, TempoZ and MaxZ hold at the end; each change has gone
// to the board by its live frame. Nothing is saved by itself.
#pragma once

#include <optional>
#include <string>

#include "console/context.h"

namespace brivel {

// Shortest step duration a calibration tries, in microseconds. 100 µs is
// 10 000 steps a second, far past the point where the steppers of such a
// machine stall, so no calibration needs less; it keeps the step duration
// that goes to the board positive and clear of the board's own work per step.
inline constexpr double kDureePasMin = 100;
// Step duration less at each pass of an X or Y calibration, in microseconds.
inline constexpr double kBaissePas = 50;
// Pulse length more at each pass of a Z calibration, in the board's unit.
inline constexpr double kHaussePulse = 5;

// The step duration of the next pass from the present one: 50 µs less, but
// never below kDureePasMin. A duration already at or below the floor stays.
double duree_pas_suivante(double duree_us);

// Time-out of a punch cycle's wait in ms for a pulse of `tempo` followed by
// a delay of `max_z` (the board's unit, taken as milliseconds, the longest
// one it could mean): the line's own time-out plus twice the cycle's time.
double delai_cycle_calibration_ms(double tempo, double max_z);

// The number a calibration starts from, converted as a whole (the locale's
// decimal mark, no text around it). Empty when the field holds no number,
// with the refusal written on the service line.
std::optional<double> nombre_calibration(Context& c, const Element& field);

void CalibrerX_Click(Context& c);
void CalibrerY_Click(Context& c);
void CalibrerZ_Click(Context& c);
void Stop_cal_Click(Context& c);

void install_calibration(Context& c);

}  // namespace brivel
