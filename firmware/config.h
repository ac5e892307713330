/* What a builder may tune for a machine, beside its wiring (pin_table.h).
 * The console sends the step durations and the punch timing at every
 * connection; the values here hold until it does. */
#ifndef BRIVEL_CONFIG_H
#define BRIVEL_CONFIG_H

/* Step durations at power-on, microseconds ("PX", "PY" replace them). */
#define DEFAULT_X_STEP_US 5000
#define DEFAULT_Y_STEP_US 7500
/* The fixed punch cycle at power-on, milliseconds ("IZ", "MZ"). */
#define DEFAULT_PULSE_MS 2
#define DEFAULT_DELAY_MS 12

/* The automatic cycle: the solenoid is driven until the crank leaves its
 * rest, this long at most; the crank must then be back within the second. */
#define AUTO_CYCLE_TRIP_MS 100
#define AUTO_CYCLE_RETURN_MS 500

/* The longest origin search, in steps: no switch by then is a fault. */
#define ORIGIN_SEARCH_MAX_STEPS 60000

/* Sensor polarity: 1 when a sensor's input is high with its light passing
 * (unmasked), as the common optical forks are; 0 for the other kind. The
 * origin switch: 1 when its input is low pressed (a normally open switch
 * to ground on the pull-up). */
#define SENSOR_HIGH_WHEN_UNMASKED 1
#define SWITCH_LOW_WHEN_PRESSED 1

/* The X driver's half-step select: 1 when a high output selects half
 * steps (MS1 of an A4988), 0 when low does. */
#define HALF_STEP_SELECT_HIGH 1

#endif
