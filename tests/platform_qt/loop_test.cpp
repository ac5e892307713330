// The turn of the real event loop: it blocks until something happens and
// wakes for the caller's deadline; timers tick inside turns and a handler
// still on the stack is not entered again.
#include <gtest/gtest.h>

#include <chrono>

#include "core/event_loop.h"
#include "platform/qt/qt_platform.h"
#include "platform_qt/qt_app.h"

namespace brivel {
namespace {

using Clock = std::chrono::steady_clock;

long ms_since(Clock::time_point t0) {
  return static_cast<long>(std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - t0).count());
}

// Counts the turns that a wait takes.
struct CountingLoop : EventLoop {
  QtPlatform& p;
  int turns = 0;
  explicit CountingLoop(QtPlatform& q) : p(q) {}
  void turn(int wake_within_ms) override {
    ++turns;
    p.turn(wake_within_ms);
  }
  int32_t tick_ms() override { return p.tick_ms(); }
};

class QtLoop : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { test::ensure_qt_app(); }
};

TEST_F(QtLoop, AWaitBlocksUntilItsDeadlineAndATimerWakesATurn) {
  QtPlatform p;
  CountingLoop loop(p);
  auto t0 = Clock::now();
  int32_t tick0 = p.tick_ms();
  attente_ms(loop, 50);
  EXPECT_GE(ms_since(t0), 50);
  EXPECT_LT(loop.turns, 10) << "a wait must block, not spin";
  EXPECT_GT(p.tick_ms() - tick0, 50) << "the tick counts milliseconds; the wait ends only past its deadline";
  EXPECT_LT(p.tick_ms() - tick0, 1000);

  t0 = Clock::now();
  for (int i = 0; i < 20; ++i) p.turn(0);
  EXPECT_LT(ms_since(t0), 100) << "a zero turn does not block";

  int ticks = 0;
  int id = p.add_timer(20, [&] { ++ticks; });
  t0 = Clock::now();
  p.turn(-1);
  EXPECT_GE(ms_since(t0), 15) << "a turn without a deadline waits for the timer";
  p.remove_timer(id);
  EXPECT_EQ(ticks, 1);
}

TEST_F(QtLoop, TimerHandlersAreNotReentered) {
  QtPlatform p;
  int entries = 0, depth = 0, max_depth = 0;
  int id = p.add_timer(5, [&] {
    ++entries;
    max_depth = std::max(max_depth, ++depth);
    attente_ms(p, 30);
    --depth;
  });
  attente_ms(p, 120);
  p.remove_timer(id);
  EXPECT_GE(entries, 2);
  EXPECT_EQ(max_depth, 1);
}

TEST_F(QtLoop, ANestedWaitKeepsTheDeadlineOfTheWaitBelow) {
  // A timer handler waits 30 ms inside an outer 60 ms wait: the outer wait
  // still ends soon after its own deadline.
  QtPlatform p;
  int id = p.add_timer(10, [&] { attente_ms(p, 30); });
  auto t0 = Clock::now();
  attente_ms(p, 60);
  long spent = ms_since(t0);
  p.remove_timer(id);
  EXPECT_GE(spent, 60);
  EXPECT_LT(spent, 500);
}

TEST_F(QtLoop, ATimerRemovedInItsOwnHandlerTicksNoMore) {
  QtPlatform p;
  int ticks = 0, id = 0;
  id = p.add_timer(5, [&] {
    ++ticks;
    p.remove_timer(id);
    attente_ms(p, 20);  // turns with the removed timer's signal on the stack
  });
  attente_ms(p, 80);
  EXPECT_EQ(ticks, 1);
  int other = p.add_timer(5, [] {});
  EXPECT_NE(other, id) << "ids are never reused";
  p.remove_timer(other);
  p.remove_timer(id);  // a second removal is harmless
}

}  // namespace
}  // namespace brivel
