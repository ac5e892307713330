/* Every pin of the punch's controller, on an Arduino Uno or Nano
 * (ATmega328P at 16 MHz) with the common CNC shield (V3) layout. A builder
 * who wires the machine otherwise edits this file alone.
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
#ifndef BRIVEL_PINS_H
#define BRIVEL_PINS_H

#include <avr/io.h>

#define X_STEP_PORT PORTD
#define X_STEP_DDR DDRD
#define X_STEP_BIT PD2
#define Y_STEP_PORT PORTD
#define Y_STEP_DDR DDRD
#define Y_STEP_BIT PD3
#define X_DIR_PORT PORTD
#define X_DIR_DDR DDRD
#define X_DIR_BIT PD5
#define Y_DIR_PORT PORTD
#define Y_DIR_DDR DDRD
#define Y_DIR_BIT PD6

#define ENABLE_PORT PORTB
#define ENABLE_DDR DDRB
#define ENABLE_BIT PB0

#define SWITCH_PIN PINB
#define SWITCH_PORT PORTB
#define SWITCH_BIT PB1
#define PUNCH_LOW_PIN PINB
#define PUNCH_LOW_PORT PORTB
#define PUNCH_LOW_BIT PB2
#define PUNCH_HIGH_PIN PINB
#define PUNCH_HIGH_PORT PORTB
#define PUNCH_HIGH_BIT PB3

#define PUNCH_PORT PORTB
#define PUNCH_DDR DDRB
#define PUNCH_BIT PB4

#define HALF_PORT PORTC
#define HALF_DDR DDRC
#define HALF_BIT PC3

#define LINEAR_PIN PINC
#define LINEAR_PORT PORTC
#define LINEAR_BIT PC0
#define ROTARY_PIN PINC
#define ROTARY_PORT PORTC
#define ROTARY_BIT PC1

#endif
