#include <algorithm>
#include <gtest/gtest.h>

#include <vector>

#include "core/app_paths.h"
#include "core/cp1252.h"
#include "core/event_loop.h"

namespace brivel {
namespace {

// A loop whose tick follows a script: each turn moves it by the next step.
class ScriptedLoop : public EventLoop {
 public:
  ScriptedLoop(int32_t start, std::vector<int32_t> after_each_turn) : tick_(start), ticks_(std::move(after_each_turn)) {}
  void turn(int) override {
    ++turns;
    if (next_ < ticks_.size()) tick_ = ticks_[next_++];
  }
  int32_t tick_ms() override { return tick_; }
  int turns = 0;

 private:
  int32_t tick_;
  std::vector<int32_t> ticks_;
  std::size_t next_ = 0;
};

TEST(AttenteMs, TurnsUntilTheTickPassesTheDeadline) {
  struct Case {
    const char* what;
    double ms;
    int32_t start;
    std::vector<int32_t> ticks;
    int expected_turns;
  } cases[] = {
      {"zero waits one turn when the tick moved", 0, 100, {101}, 1},
      {"zero keeps turning while the tick stands", 0, 100, {100, 100, 101}, 3},
      {"equal to the deadline does not end", 10, 100, {105, 110, 111}, 3},
      {"past the deadline ends", 10, 100, {120}, 1},
      {"a wrapped tick ends at once", 1000, 2147483000, {2147483600, -2147483000}, 2},
      {"fractional deadline", 2.5, 0, {2, 3}, 2},
  };
  for (const auto& c : cases) {
    ScriptedLoop loop(c.start, c.ticks);
    attente_ms(loop, c.ms);
    EXPECT_EQ(loop.turns, c.expected_turns) << c.what;
  }
}

// A loop with a fine clock: each turn moves it by the time asked for, plus
// a late wake-up; the fractions are slept; painting the window takes `paint`.
class FineLoop : public EventLoop {
 public:
  FineLoop(double late, double paint) : late_(late), paint_(paint) {}
  void turn(int wake) override {
    ++turns;
    if (wake > 0) now_ += wake + late_;
  }
  int32_t tick_ms() override { return static_cast<int32_t>(now_); }
  std::optional<double> fine_ms() override { return now_; }
  void sleep_fraction_ms(double ms) override { now_ += std::max(ms, 0.0); }
  void show_changes() override {
    ++shown;
    now_ += paint_;
  }
  double now_ = 1000.3;
  int turns = 0, shown = 0;

 private:
  double late_, paint_;
};

TEST(AttenteMs, WithAFineClockEndsOnTimeToAFraction) {
  // The window is painted once per wait, inside it: a paint shorter than
  // the wait doesn't lengthen it.
  for (double paint : {0.0, 3.0}) {
    for (double late : {0.0, 0.2, 0.45}) {
      for (double ms : {0.0, 0.4, 25.0, 250.0}) {
        FineLoop loop(late, paint);
        attente_ms(loop, ms);
        const double expected = std::max(ms, paint);
        EXPECT_GE(loop.now_ - 1000.3, expected - 1e-9) << ms << " late " << late << " paint " << paint;
        EXPECT_LT(loop.now_ - 1000.3, expected + 0.1) << ms << " late " << late << " paint " << paint;
        EXPECT_GE(loop.turns, 1);
        EXPECT_EQ(loop.shown, 1);
      }
    }
  }
  // Counted from an earlier moment (a reply's arrival): what passed since is
  // not waited again; without a start it is the plain wait.
  for (auto [passe, expected] : {std::pair{10.0, 15.0}, {30.0, 0.0}, {-1.0, 25.0}}) {
    FineLoop loop(0.2, 0.0);
    const double now = loop.now_;
    attente_ms_depuis(loop, 25, passe < 0 ? std::nullopt : std::optional<double>(now - passe));
    EXPECT_NEAR(loop.now_ - now, expected, 0.1) << passe;
    EXPECT_GE(loop.turns, 1);
  }
}

TEST(Cp1252, RoundTripOfTheConsoleTexts) {
  const std::string fr = "Poinçon Début Sélectionner Réalignements œ € ’";
  std::string bytes = utf8_to_cp1252(fr);
  EXPECT_EQ(bytes.size(), fr.size() - 9);  // ç é é é œ one byte each, € ’ too
  EXPECT_EQ(static_cast<unsigned char>(bytes[4]), 0xE7);  // ç
  EXPECT_EQ(static_cast<unsigned char>(bytes[bytes.size() - 3]), 0x80);  // €
  EXPECT_EQ(cp1252_to_utf8(bytes), fr);
  EXPECT_EQ(utf8_to_cp1252("日"), "?");
  auto lines = split_cp1252_lines("a\r\nb\r\n\r\nc");
  EXPECT_EQ(lines, (std::vector<std::string>{"a", "b", "", "c"}));
  EXPECT_EQ(split_cp1252_lines("x\r\n").size(), 1u);
}

}  // namespace
}  // namespace brivel
