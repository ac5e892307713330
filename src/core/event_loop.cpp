#include "core/event_loop.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace brivel {

namespace {
void attente_fine(EventLoop& loop, double ms, double start) {
  const double deadline = start + ms;
  loop.turn(0);  // at least one turn, also for 0
  for (;;) {
    const double left = deadline - *loop.fine_ms();
    if (left <= 0) return;
    if (left < 1.5) {
      // The last turn before the sleep: the wait ends on the sleep, on time.
      loop.turn(0);
      loop.sleep_fraction_ms(deadline - *loop.fine_ms());
      return;
    }
    // Woken a little early, the rest slept: the turn's wake-up is whole ms.
    loop.turn(static_cast<int>(std::min(left - 0.5, double(std::numeric_limits<int>::max()))));
  }
}
}  // namespace

void attente_ms_depuis(EventLoop& loop, double ms, std::optional<double> depuis) {
  if (!depuis || !loop.fine_ms()) {
    attente_ms(loop, ms);
    return;
  }
  loop.show_changes();
  attente_fine(loop, ms, *depuis);
}

void attente_ms(EventLoop& loop, double ms) {
  // Painting is part of the wait, not added to it: the fine wait counts from before it.
  if (auto fine = loop.fine_ms()) {
    attente_ms_depuis(loop, ms, fine);
    return;
  }
  loop.show_changes();
  const int32_t start = loop.tick_ms();
  const double deadline = static_cast<double>(start) + ms;
  for (;;) {
    // The turn need not wait past the moment the tick passes the deadline.
    const double left = deadline - static_cast<double>(loop.tick_ms()) + 1;
    const int wake = static_cast<int>(std::clamp(std::ceil(left), 0.0, double(std::numeric_limits<int>::max())));
    loop.turn(wake);
    const int32_t now = loop.tick_ms();
    if (static_cast<double>(now) > deadline) return;
    if (now < start) return;  // the counter wrapped
  }
}

}  // namespace brivel
