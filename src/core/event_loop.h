// The one way to give the event loop a turn, and the millisecond tick.
#pragma once

#include <cstdint>
#include <optional>

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

  // A finer clock where the platform has one, in milliseconds with their
  // fraction, on no particular origin; empty where the tick is all there is
  // (the simulated platform's virtual clock).
  virtual std::optional<double> fine_ms() { return std::nullopt; }
  // Sleeps a fraction of a millisecond without taking events, to end a wait
  // on time where the event loop's own wake-ups are whole milliseconds.
  virtual void sleep_fraction_ms(double /*ms*/) {}
  // Lets the window show what changed. Called where the console waits
  // anyway (attente_ms), so that painting never comes between a reply and
  // the next frame; a platform that paints on its own ignores it.
  virtual void show_changes() {}
};

// The shared delay: waits at least `ms` milliseconds with the event loop live.
// Gives at least one turn, also for 0; ends when the tick is strictly higher
// than the deadline, and at once when the tick has wrapped below its start.
// With a fine clock it ends when `ms` have passed, to a small fraction of a
// millisecond, without the whole millisecond the tick rule adds.
void attente_ms(EventLoop& loop, double ms);

// The same wait counted from `depuis`, an earlier reading of fine_ms(): what
// was done since is not waited again. Without a fine clock, or without a
// start, it is attente_ms.
void attente_ms_depuis(EventLoop& loop, double ms, std::optional<double> depuis);

}  // namespace brivel
