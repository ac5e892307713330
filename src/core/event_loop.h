// The one way to give the event loop a turn, and the millisecond tick.
#pragma once

#include <cstdint>

namespace brivel {

class EventLoop {
 public:
  virtual ~EventLoop() = default;

  // Gives the event loop one turn: handlers whose events are due run inside
  // it (receive events, timers, clicks). When nothing is due the turn may wait
  // for something to happen, but not longer than `wake_within_ms` when that
  // is 0 or more. A negative value means: wait for the next event.
  virtual void turn(int wake_within_ms = -1) = 0;

  // Millisecond tick, signed 32 bits. It may wrap.
  virtual int32_t tick_ms() = 0;
};

// The shared delay: waits at least `ms` milliseconds with the event loop live.
// Gives at least one turn, also for 0; ends when the tick is strictly higher
// than the deadline, and at once when the tick has wrapped below its start.
void attente_ms(EventLoop& loop, double ms);

}  // namespace brivel
