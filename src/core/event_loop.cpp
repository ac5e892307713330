#include "core/event_loop.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace brivel {

void attente_ms(EventLoop& loop, double ms) {
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
