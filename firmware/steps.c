#include "steps.h"

#include <avr/interrupt.h>
#include <util/atomic.h>
#include <avr/io.h>
#include <util/delay.h>

#include "pins.h"
#include "protocol.h"

static volatile uint32_t remaining, done, transitions;
static volatile uint8_t axis_bit;
static volatile bool x_axis;
static volatile uint8_t last_linear;

void steps_init(void) {
  X_STEP_DDR |= _BV(X_STEP_BIT);
  Y_STEP_DDR |= _BV(Y_STEP_BIT);
  X_DIR_DDR |= _BV(X_DIR_BIT);
  Y_DIR_DDR |= _BV(Y_DIR_BIT);
  TCCR1A = 0;
  TCCR1B = 0;
}

void steps_start(enum axis a, uint32_t count, uint16_t period_us) {
  steps_stop();
  done = 0;
  transitions = 0;
  x_axis = a == AXIS_X;
  axis_bit = x_axis ? _BV(X_STEP_BIT) : _BV(Y_STEP_BIT);
  last_linear = LINEAR_PIN & _BV(LINEAR_BIT);
  if (count == 0) return;
  remaining = count;
  /* Prescaler 8: two ticks a microsecond; 32 ms a step at the most. */
  if (period_us < PROTO_STEP_US_MIN) period_us = PROTO_STEP_US_MIN;
  if (period_us > PROTO_STEP_US_MAX) period_us = PROTO_STEP_US_MAX;
  TCNT1 = 0;
  OCR1A = (uint16_t)(period_us * 2 - 1);
  TIFR1 = _BV(OCF1A);
  TIMSK1 = _BV(OCIE1A);
  TCCR1B = _BV(WGM12) | _BV(CS11);
}

/* The counters are four bytes the interrupt changes: read with it held off,
 * or 256 steps to go can be read as none between its two halves. */
static uint32_t read_atomic(volatile uint32_t* v) {
  uint32_t out;
  ATOMIC_BLOCK(ATOMIC_RESTORESTATE) { out = *v; }
  return out;
}

bool steps_busy(void) { return read_atomic(&remaining) != 0; }

void steps_stop(void) {
  TCCR1B = 0;
  TIMSK1 = 0;
  remaining = 0;
}

uint32_t steps_linear_transitions(void) { return read_atomic(&transitions); }
uint32_t steps_done(void) { return read_atomic(&done); }

ISR(TIMER1_COMPA_vect) {
  if (remaining == 0) return;
  /* One pulse of 2 us: the drivers step on its rising edge. */
  if (x_axis)
    X_STEP_PORT |= axis_bit;
  else
    Y_STEP_PORT |= axis_bit;
  _delay_us(2);
  if (x_axis)
    X_STEP_PORT &= (uint8_t)~axis_bit;
  else
    Y_STEP_PORT &= (uint8_t)~axis_bit;
  ++done;
  if (x_axis) {
    const uint8_t now = LINEAR_PIN & _BV(LINEAR_BIT);
    if (now != last_linear) ++transitions;
    last_linear = now;
  }
  if (--remaining == 0) {
    TCCR1B = 0;
    TIMSK1 = 0;
  }
}
