/* The registers of every pin, from the one table a builder edits
 * (pin_table.h). */
#ifndef BRIVEL_PINS_H
#define BRIVEL_PINS_H

#include <avr/io.h>

#include "pin_table.h"

#define PINS_CAT_(a, b) a##b
#define PINS_CAT(a, b) PINS_CAT_(a, b)
#define PORT_OF(name) PINS_CAT(PORT, name##_PORT_LETTER)
#define DDR_OF(name) PINS_CAT(DDR, name##_PORT_LETTER)
#define PIN_OF(name) PINS_CAT(PIN, name##_PORT_LETTER)

#define X_STEP_PORT PORT_OF(X_STEP)
#define X_STEP_DDR DDR_OF(X_STEP)
#define Y_STEP_PORT PORT_OF(Y_STEP)
#define Y_STEP_DDR DDR_OF(Y_STEP)
#define X_DIR_PORT PORT_OF(X_DIR)
#define X_DIR_DDR DDR_OF(X_DIR)
#define Y_DIR_PORT PORT_OF(Y_DIR)
#define Y_DIR_DDR DDR_OF(Y_DIR)

#define ENABLE_PORT PORT_OF(ENABLE)
#define ENABLE_DDR DDR_OF(ENABLE)

#define SWITCH_PIN PIN_OF(SWITCH)
#define SWITCH_PORT PORT_OF(SWITCH)
#define PUNCH_LOW_PIN PIN_OF(PUNCH_LOW)
#define PUNCH_LOW_PORT PORT_OF(PUNCH_LOW)
#define PUNCH_HIGH_PIN PIN_OF(PUNCH_HIGH)
#define PUNCH_HIGH_PORT PORT_OF(PUNCH_HIGH)

#define PUNCH_PORT PORT_OF(PUNCH)
#define PUNCH_DDR DDR_OF(PUNCH)

#define HALF_PORT PORT_OF(HALF)
#define HALF_DDR DDR_OF(HALF)

#define LINEAR_PIN PIN_OF(LINEAR)
#define LINEAR_PORT PORT_OF(LINEAR)
#define ROTARY_PIN PIN_OF(ROTARY)
#define ROTARY_PORT PORT_OF(ROTARY)

#endif
