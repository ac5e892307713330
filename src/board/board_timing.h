// How long the board takes over its work, in whole milliseconds.
#pragma once

#include <cstdint>

namespace brivel {

// `steps` motor steps of `step_us` microseconds each ("PX" or "PY"), rounded
// up to the next millisecond; never less than 1 ms, since even an empty move
// is answered after the board has looked at it.
int64_t steps_duration_ms(int64_t steps, int64_t step_us);

// One punch cycle: the command pulse "IZ" then the delay "MZ". Our firmware
// takes both in milliseconds. At least 1 ms.
int64_t punch_cycle_ms(int64_t pulse_ms, int64_t delay_ms);

// An origin search from `x_steps`: the head runs back to the origin switch,
// then out by `origin_steps` ("OX") to the card's edge, at `step_us` a step.
int64_t origin_search_ms(int64_t x_steps, int64_t origin_steps, int64_t step_us);

}  // namespace brivel
