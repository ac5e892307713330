/* Step pulses timed by Timer1 at the step duration the program set ("PX",
 * "PY", microseconds), and the lost X steps seen by the linear sensor. */
#ifndef BRIVEL_STEPS_H
#define BRIVEL_STEPS_H

#include <stdbool.h>
#include <stdint.h>

enum axis { AXIS_X, AXIS_Y };

void steps_init(void);
/* Starts `count` steps on `axis` at `period_us` each, the direction pin set
 * beforehand. Returns at once; steps_busy() tells when they are done. */
void steps_start(enum axis a, uint32_t count, uint16_t period_us);
bool steps_busy(void);
/* Stops any move under way (a cancel). */
void steps_stop(void);
/* Transitions of the linear sensor seen during the last X move. */
uint32_t steps_linear_transitions(void);
/* Steps made since the last start (an origin search stops on the switch). */
uint32_t steps_done(void);

#endif
