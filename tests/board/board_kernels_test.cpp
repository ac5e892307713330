// The pure pieces of the board: reading frames, splitting lines, durations,
// and the log's text form.
#include <gtest/gtest.h>

#include "board/board_log.h"
#include "board/board_timing.h"
#include "board/frame_reader.h"

namespace brivel {
namespace {

TEST(FrameReader, ReadsFramesAndRefusesTheRest) {
  struct Case {
    const char* line;
    bool frame;
    const char* code;
    int value;  // -1: the fixed field
  } cases[] = {
      {"MX00012", true, "MX", 12},
      {"mx00000", true, "mx", 0},
      {"PX05000", true, "PX", 5000},
      {"wr00200", true, "wr", 200},
      {"ONxxxxx", true, "ON", -1},
      {"MXxxxxx", true, "MX", -1},
      {"MX99999\r", true, "MX", 99999},  // typed in a terminal
      {"MX-0012", false, "", 0},         // no sign on the line
      {"MX123456", false, "", 0},        // a sixth digit
      {"MX0012", false, "", 0},
      {"MXXXXXX", false, "", 0},         // the fixed field is lower case
      {"M100012", false, "", 0},
      {"MX 0012", false, "", 0},
      {"", false, "", 0},
      {"\r", false, "", 0},
  };
  for (const auto& c : cases) {
    auto f = parse_frame(c.line);
    ASSERT_EQ(f.has_value(), c.frame) << c.line;
    if (!f) continue;
    EXPECT_EQ(f->code, c.code) << c.line;
    EXPECT_EQ(f->value.value_or(-1), c.value) << c.line;
  }
  EXPECT_TRUE(is_bare_line_feed(""));
  EXPECT_TRUE(is_bare_line_feed("\r"));
  EXPECT_FALSE(is_bare_line_feed(" "));
}

TEST(FrameReader, GathersLinesAcrossReadsAndCutsEndlessOnes) {
  LineSplitter s;
  EXPECT_TRUE(s.feed("MX0").empty());
  EXPECT_TRUE(s.has_partial());
  EXPECT_EQ(s.feed("0012\n\nON"), (std::vector<std::string>{"MX00012", ""}));
  EXPECT_EQ(s.feed("xxxxx\n"), (std::vector<std::string>{"ONxxxxx"}));
  EXPECT_FALSE(s.has_partial());

  const std::string endless(100000, 'Z');
  EXPECT_TRUE(s.feed(endless).empty());
  auto lines = s.feed("\nNUxxxxx\n");
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(lines[0], std::string(LineSplitter::kMaxLine, 'Z'));
  EXPECT_EQ(lines[1], "NUxxxxx");
}

TEST(BoardTiming, DurationsInWholeMilliseconds) {
  struct Case {
    int64_t got, want;
    const char* what;
  } cases[] = {
      {steps_duration_ms(250, 4000), 1000, "250 steps of 4000 us"},
      {steps_duration_ms(720, 7500), 5400, "the worked example's feed at the power-on PY"},
      {steps_duration_ms(3, 1500), 5, "4.5 ms is rounded up"},
      {steps_duration_ms(1, 1), 1, "a microsecond costs a whole millisecond"},
      {steps_duration_ms(0, 5000), 1, "an empty move is still answered after 1 ms"},
      {steps_duration_ms(99999, 99999), 9999801, "the largest fields don't overflow"},
      {punch_cycle_ms(2, 12), 14, "pulse and delay in ms"},
      {punch_cycle_ms(0, 0), 1, "never less than 1 ms"},
      {origin_search_ms(300, 220, 1000), 520, "back 300 to the switch, out 220"},
      {origin_search_ms(-300, 220, 1000), 520, "from the far side of the switch"},
      {origin_search_ms(0, 0, 5000), 1, "already there"},
  };
  for (const auto& c : cases) EXPECT_EQ(c.got, c.want) << c.what;
}

TEST(BoardLog, LinesShowEveryByte) {
  struct Case {
    BoardLogEntry e;
    const char* line;
  } cases[] = {
      {{12, '>', "ONxxxxx\n"}, "12 > ONxxxxx<LF>\n"},
      {{13, '<', "A"}, "13 < A\n"},
      {{40, '<', std::string(1, static_cast<char>(200))}, "40 < <xC8>\n"},
      {{41, '<', std::string(1, '\0')}, "41 < <x00>\n"},
      {{0, '>', "\n"}, "0 > <LF>\n"},
      {{5, '>', "a\\b\r\n"}, "5 > a\\b<CR><LF>\n"},
      {{6, '>', "<LF>\n"}, "6 > <x3C>LF><LF>\n"},  // a literal "<LF>" can't pass for a line feed
      {{7, '>', "M X\t\x7F\n"}, "7 > M X<x09><x7F><LF>\n"},
      {{1500, '*', "X=1200 Y=720"}, "1500 * X=1200 Y=720\n"},
      {{9, '#', "reset"}, "9 # reset\n"},
  };
  for (const auto& c : cases) EXPECT_EQ(format_log_entry(c.e), c.line);
}

}  // namespace
}  // namespace brivel
