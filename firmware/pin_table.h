/* Every pin of the punch's controller, on an Arduino Uno or Nano
 * (ATmega328P at 16 MHz) with the common CNC shield (V3) layout: its port's
 * letter and its bit. A builder who wires the machine otherwise edits this
 * file alone: the firmware (pins.h) and the simulated machine
 * (brivel-machine-sim) both read it, so a pin moved here moves in both.
 * Plain preprocessor definitions, no register: it builds for the host too.
 *
 *   function            Arduino  AVR   shield    level
 *   X step              D2       PD2   X.STEP    rising edge = one step
 *   Y step              D3       PD3   Y.STEP    rising edge = one step
 *   X direction         D5       PD5   X.DIR     high = away from the origin switch
 *   Y direction         D6       PD6   Y.DIR     high = card fed forward
 *   drivers enable      D8       PB0   EN        low = drivers powered
 *   origin switch       D9       PB1   X limit   pull-up, low = pressed
 *   punch low sensor    D10      PB2   Y limit   pull-up, high = unmasked
 *   punch high sensor   D11      PB3   Z limit   pull-up, high = unmasked
 *   punch command       D12      PB4   SpnEn     high = clutch solenoid driven
 *   X half-step select  A3       PC3   CoolEn    high = half steps (MS1 of X)
 *   linear sensor       A0       PC0   Abort     pull-up, high = unmasked
 *   rotary sensor       A1       PC1   Hold      pull-up, high = unmasked
 */
#ifndef BRIVEL_PIN_TABLE_H
#define BRIVEL_PIN_TABLE_H

#define X_STEP_PORT_LETTER D
#define X_STEP_BIT 2
#define Y_STEP_PORT_LETTER D
#define Y_STEP_BIT 3
#define X_DIR_PORT_LETTER D
#define X_DIR_BIT 5
#define Y_DIR_PORT_LETTER D
#define Y_DIR_BIT 6
#define ENABLE_PORT_LETTER B
#define ENABLE_BIT 0
#define SWITCH_PORT_LETTER B
#define SWITCH_BIT 1
#define PUNCH_LOW_PORT_LETTER B
#define PUNCH_LOW_BIT 2
#define PUNCH_HIGH_PORT_LETTER B
#define PUNCH_HIGH_BIT 3
#define PUNCH_PORT_LETTER B
#define PUNCH_BIT 4
#define HALF_PORT_LETTER C
#define HALF_BIT 3
#define LINEAR_PORT_LETTER C
#define LINEAR_BIT 0
#define ROTARY_PORT_LETTER C
#define ROTARY_BIT 1

/* The port's letter as a character ('D'), for the host. */
#define PIN_TABLE_STR_(x) #x
#define PIN_TABLE_STR(x) PIN_TABLE_STR_(x)
#define PORT_LETTER_CHAR(name) (PIN_TABLE_STR(name##_PORT_LETTER)[0])

#endif
