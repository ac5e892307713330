#include "board/board_timing.h"

#include <algorithm>
#include <cstdlib>

namespace brivel {

int64_t steps_duration_ms(int64_t steps, int64_t step_us) {
  const int64_t us = std::max<int64_t>(0, steps) * std::max<int64_t>(0, step_us);
  return std::max<int64_t>(1, (us + 999) / 1000);
}

int64_t punch_cycle_ms(int64_t pulse_ms, int64_t delay_ms) {
  return std::max<int64_t>(1, std::max<int64_t>(0, pulse_ms) + std::max<int64_t>(0, delay_ms));
}

int64_t origin_search_ms(int64_t x_steps, int64_t origin_steps, int64_t step_us) {
  return steps_duration_ms(std::llabs(x_steps) + std::max<int64_t>(0, origin_steps), step_us);
}

}  // namespace brivel
