/* The punch's controller: reads the program's frames, moves the head (X)
 * and the card (Y), fires the punch (Z), searches the origin, reports the
 * sensors and keeps the EEPROM cells. One command at a time, answered when
 * it is done; bytes keep arriving by interrupt meanwhile. */
#include <avr/eeprom.h>
#include <avr/interrupt.h>
#include <avr/io.h>
#include <avr/wdt.h>

#include "config.h"
#include "pins.h"
#include "protocol.h"
#include "steps.h"
#include "uart.h"

/* --- Time: Timer0 counts milliseconds ----------------------------------- */
static volatile uint32_t ms_count;
ISR(TIMER0_COMPA_vect) { ++ms_count; }
static uint32_t now_ms(void) {
  uint32_t t;
  const uint8_t sreg = SREG;
  cli();
  t = ms_count;
  SREG = sreg;
  return t;
}

/* --- What the program set ----------------------------------------------- */
static uint16_t px_us = DEFAULT_X_STEP_US, py_us = DEFAULT_Y_STEP_US; /* step durations */
static uint16_t ox_steps = 0;               /* origin point to the card's edge */
static uint16_t iz_ms = DEFAULT_PULSE_MS, mz_ms = DEFAULT_DELAY_MS; /* punch pulse and delay */
static bool two_sensors = false;            /* "CP": no punch-low nor rotary sensor */
static uint16_t eeprom_address = 0;
static struct proto line;

#define PIN_HIGH(pin, bit) (((pin) & _BV(bit)) != 0)
#define UNMASKED(pin, bit) (PIN_HIGH(pin, bit) == (SENSOR_HIGH_WHEN_UNMASKED != 0))
static bool punch_high(void) { return UNMASKED(PUNCH_HIGH_PIN, PUNCH_HIGH_BIT); }
static bool punch_low(void) { return UNMASKED(PUNCH_LOW_PIN, PUNCH_LOW_BIT); }
static bool rotary(void) { return UNMASKED(ROTARY_PIN, ROTARY_BIT); }
static bool linear(void) { return UNMASKED(LINEAR_PIN, LINEAR_BIT); }
static bool switch_pressed(void) { return PIN_HIGH(SWITCH_PIN, SWITCH_BIT) != (SWITCH_LOW_WHEN_PRESSED != 0); }
/* The punch at rest: up, and in four-sensor mode its crank at rest too. */
static bool at_rest(void) { return punch_high() && (two_sensors || rotary()); }

static void reply(char c) { uart_put((uint8_t)c); }

static void select_half_steps(bool half) {
  if (half == (HALF_STEP_SELECT_HIGH != 0))
    HALF_PORT |= _BV(HALF_BIT);
  else
    HALF_PORT &= (uint8_t)~_BV(HALF_BIT);
}

/* "ZXxxxxx" frames the main loop has read; while the receive interrupt has
 * seen more, a cancel came after the command under way: its move stops (the
 * interrupt stopped it already) or is not begun, and the command answers at
 * once as a finished one does, counting what it made. */
static uint8_t cancels_read;
static bool cancelled(void) { return uart_cancels_seen != cancels_read; }

static void start_steps(enum axis a, uint32_t count, uint16_t period_us) {
  steps_start(a, cancelled() ? 0 : count, period_us); /* 0: counters cleared, nothing moves */
}

static void wait_steps(void) {
  while (steps_busy() && !cancelled()) wdt_reset();
  steps_stop();
}

/* --- Moves ---------------------------------------------------------------- */
static void move_x(bool positive, bool half, uint32_t count) {
  if (!at_rest()) {
    reply('B');
    return;
  }
  select_half_steps(half);
  if (positive)
    X_DIR_PORT |= _BV(X_DIR_BIT);
  else
    X_DIR_PORT &= (uint8_t)~_BV(X_DIR_BIT);
  start_steps(AXIS_X, count, px_us);
  wait_steps();
  /* Cut short, the move is answered as done: what it lost is mended by
   * the re-registration that follows a cancel. */
  if (cancelled()) {
    reply('A');
    return;
  }
  /* The linear sensor changes at every full step the head really makes. */
  const uint32_t full = half ? count / 2 : count;
  const uint32_t seen = steps_linear_transitions();
  uint32_t lost = full > seen ? full - seen : 0;
  if (half) lost *= 2;
  /* In half steps the count may be off by one by the sensor's phase. */
  if (lost == 0 || (half && lost <= 2)) {
    reply('A');
    return;
  }
  char five[5];
  proto_five_digits(lost, five);
  reply('D');
  proto_hold(&line, five, true);
}

static void move_y(bool forward, uint32_t count) {
  if (!at_rest()) {
    reply('B');
    return;
  }
  if (forward)
    Y_DIR_PORT |= _BV(Y_DIR_BIT);
  else
    Y_DIR_PORT &= (uint8_t)~_BV(Y_DIR_BIT);
  start_steps(AXIS_Y, count, py_us);
  wait_steps();
  reply('A');
}

/* Back to the switch, counting, then out to the card's edge. */
static void origin_search(bool half) {
  if (!at_rest()) {
    reply('B');
    return;
  }
  select_half_steps(half);
  X_DIR_PORT &= (uint8_t)~_BV(X_DIR_BIT);
  uint32_t count = 0;
  if (!switch_pressed()) {
    start_steps(AXIS_X, ORIGIN_SEARCH_MAX_STEPS, px_us);
    while (steps_busy() && !switch_pressed() && !cancelled()) wdt_reset();
    steps_stop();
    count = steps_done();
    if (!switch_pressed() && !cancelled()) {
      reply('B'); /* no switch within the longest travel: look at the machine */
      return;
    }
  }
  /* Cut short, it counts the steps it made back and goes no further. */
  X_DIR_PORT |= _BV(X_DIR_BIT);
  start_steps(AXIS_X, ox_steps, px_us);
  wait_steps();
  char five[5];
  proto_five_digits(count, five);
  reply('D');
  proto_hold(&line, five, true);
}

/* --- The punch ------------------------------------------------------------ */
static void punch_on(void) { PUNCH_PORT |= _BV(PUNCH_BIT); }
static void punch_off(void) { PUNCH_PORT &= (uint8_t)~_BV(PUNCH_BIT); }

/* Waits until `cond` holds, `limit_ms` at the most, noting whether the
 * punch was seen down and whether it left the top. */
static bool seen_low, seen_left_top;
static void watch(void) {
  if (punch_low()) seen_low = true;
  if (!punch_high()) seen_left_top = true;
}
static bool wait_until(bool (*cond)(void), uint32_t limit_ms) {
  const uint32_t start = now_ms();
  while (!cond()) {
    watch();
    wdt_reset();
    if (now_ms() - start >= limit_ms) return false;
  }
  watch();
  return true;
}
static bool crank_away(void) { return two_sensors ? !punch_high() : !rotary(); }
static bool back_at_rest(void) { return at_rest(); }

static void punch_cycle(bool automatic) {
  if (!at_rest()) {
    reply('B');
    return;
  }
  seen_low = seen_left_top = false;
  bool ok;
  if (automatic) {
    /* Driven until the crank leaves its rest, then back to rest. */
    punch_on();
    const bool away = wait_until(crank_away, AUTO_CYCLE_TRIP_MS);
    punch_off();
    ok = away && wait_until(back_at_rest, AUTO_CYCLE_RETURN_MS);
  } else {
    /* The pulse and the delay the program set, then the punch must be back. */
    punch_on();
    const uint32_t start = now_ms();
    while (now_ms() - start < iz_ms) {
      watch();
      wdt_reset();
    }
    punch_off();
    const uint32_t after = now_ms();
    while (now_ms() - after < mz_ms) {
      watch();
      wdt_reset();
    }
    ok = at_rest();
  }
  ok = ok && (two_sensors ? seen_left_top : seen_low);
  reply(ok ? 'A' : 'C');
}

/* --- The frames ----------------------------------------------------------- */
static void detectors(void) {
  const char five[5] = {punch_low() && !two_sensors ? 'O' : '-', punch_high() ? 'O' : '-', linear() ? 'O' : '-',
                        rotary() && !two_sensors ? 'O' : '-', switch_pressed() ? 'O' : '-'};
  proto_hold(&line, five, false);
}

static void frame(void) {
  const uint32_t v = line.value;
  const uint16_t v16 = v > 65535 ? 65535 : (uint16_t)v;
  /* A step shorter than the board drives keeps the duration it had. */
  if (proto_is(&line, 'P', 'X')) px_us = v < PROTO_STEP_US_MIN ? px_us : v16;
  else if (proto_is(&line, 'P', 'Y')) py_us = v < PROTO_STEP_US_MIN ? py_us : v16;
  else if (proto_is(&line, 'O', 'X')) ox_steps = v16;
  else if (proto_is(&line, 'I', 'Z')) iz_ms = v16;
  else if (proto_is(&line, 'M', 'Z')) mz_ms = v16;
  else if (proto_is(&line, 'C', 'P')) two_sensors = true;
  else if (proto_is(&line, 'c', 'p')) two_sensors = false;
  else if (proto_is(&line, 'A', 'G')) ENABLE_PORT &= (uint8_t)~_BV(ENABLE_BIT);
  else if (proto_is(&line, 'Z', 'G')) ENABLE_PORT |= _BV(ENABLE_BIT);
  else if (proto_is(&line, 'M', 'X')) move_x(true, false, v);
  else if (proto_is(&line, 'm', 'X')) move_x(true, true, v);
  else if (proto_is(&line, 'M', 'x')) move_x(false, false, v);
  else if (proto_is(&line, 'm', 'x')) move_x(false, true, v);
  else if (proto_is(&line, 'M', 'Y')) move_y(true, v);
  else if (proto_is(&line, 'M', 'y')) move_y(false, v);
  else if (proto_is(&line, 'C', 'Z')) punch_cycle(true);
  else if (proto_is(&line, 'c', 'Z')) punch_cycle(false);
  else if (proto_is(&line, 'O', 'R')) origin_search(false);
  else if (proto_is(&line, 'o', 'R')) origin_search(true);
  else if (proto_is(&line, 'O', 'N')) reply(at_rest() ? 'A' : 'B');
  else if (proto_is(&line, 'V', 'D')) detectors();
  else if (proto_is(&line, 'Z', 'X')) {
    steps_stop();
    ++cancels_read;
  }
  else if (proto_is(&line, 'r', 'd')) {
    eeprom_address = (uint16_t)(v % 1024);
    reply((char)eeprom_read_byte((const uint8_t*)(uintptr_t)eeprom_address));
    proto_expect_lf(&line);
  } else if (proto_is(&line, 'w', 'r')) {
    eeprom_update_byte((uint8_t*)(uintptr_t)eeprom_address, (uint8_t)(v & 0xFF));
    reply('A');
  }
  /* "NU", "PW", "Pw" and codes this firmware doesn't know: nothing, no reply. */
}

int main(void) {
  /* A reset by the watchdog leaves it running: stop it before anything. */
  MCUSR = 0;
  wdt_disable();
  ENABLE_PORT |= _BV(ENABLE_BIT); /* drivers free until "AG" */
  ENABLE_DDR |= _BV(ENABLE_BIT);
  PUNCH_DDR |= _BV(PUNCH_BIT);
  HALF_DDR |= _BV(HALF_BIT);
  SWITCH_PORT |= _BV(SWITCH_BIT); /* pull-ups on every input */
  PUNCH_LOW_PORT |= _BV(PUNCH_LOW_BIT);
  PUNCH_HIGH_PORT |= _BV(PUNCH_HIGH_BIT);
  LINEAR_PORT |= _BV(LINEAR_BIT);
  ROTARY_PORT |= _BV(ROTARY_BIT);
  TCCR0A = _BV(WGM01); /* 1 kHz: 16 MHz / 64 / 250 */
  OCR0A = 249;
  TIMSK0 = _BV(OCIE0A);
  TCCR0B = _BV(CS01) | _BV(CS00);
  steps_init();
  uart_init();
  proto_init(&line);
  wdt_enable(WDTO_500MS);
  sei();
  uart_write(PROTO_GREETING, PROTO_GREETING_LEN);
  for (;;) {
    wdt_reset();
    uint8_t b;
    if (!uart_get(&b)) continue;
    switch (proto_byte(&line, b)) {
      case PROTO_FRAME:
        frame();
        break;
      case PROTO_SEND_HELD:
        uart_write(line.held, 5);
        break;
      default:
        break;
    }
  }
}
