#include "link/frames.h"

#include <gtest/gtest.h>

namespace brivel {
namespace {

TEST(NumberField, PictureOfFiveDigitsHalvesAwayFromZero) {
  struct Case {
    double value;
    const char* digits;  // nullptr: refused
  } cases[] = {
      {5000, "05000"},  {0, "00000"},     {12.5, "00013"}, {12.4, "00012"}, {2.5, "00003"},
      {99999, "99999"}, {99999.4, "99999"}, {-0.4, "00000"},
      {99999.5, nullptr}, {100000, nullptr}, {-1, nullptr}, {-0.5, nullptr},
  };
  for (const auto& c : cases) {
    auto got = number_field(c.value);
    if (c.digits) {
      ASSERT_TRUE(got.has_value()) << c.value;
      EXPECT_EQ(*got, c.digits) << c.value;
    } else {
      EXPECT_FALSE(got.has_value()) << c.value;
    }
  }
}

TEST(NumberFrame, FromFieldTextByTheNumericPrefix) {
  struct Case {
    const char* code;
    const char* text;
    const char* frame;
  } cases[] = {
      {"PX", "5000", "PX05000\n"}, {"PX", "", "PX00000\n"},     {"PX", "12.5", "PX00013\n"},
      {"OX", " 220 ", "OX00220\n"}, {"MZ", "12abc", "MZ00012\n"}, {"IZ", "abc", "IZ00000\n"},
  };
  for (const auto& c : cases) {
    auto got = number_frame_from_text(c.code, c.text);
    ASSERT_TRUE(got.has_value()) << c.text;
    EXPECT_EQ(*got, c.frame) << c.text;
    EXPECT_EQ(got->size(), 8u);
  }
  EXPECT_FALSE(number_frame_from_text("MX", "123456").has_value());
  EXPECT_FALSE(number_frame_from_text("MX", "-3").has_value());
}

TEST(FixedFrame, CodeAndFiveLetters) {
  EXPECT_EQ(fixed_frame("NU"), "NUxxxxx\n");
  EXPECT_EQ(fixed_frame("cZ"), "cZxxxxx\n");
}

TEST(SingleReply, EachCharacterRaisesOneFlagOnly) {
  struct Case {
    char ch;
    bool a, b, c, d, autre;
  } cases[] = {
      {'A', 1, 0, 0, 0, 0}, {'B', 0, 1, 0, 0, 0}, {'C', 0, 0, 1, 0, 0},
      {'D', 0, 0, 0, 1, 0}, {'a', 0, 0, 0, 0, 1}, {'\x07', 0, 0, 0, 0, 1},
  };
  for (const auto& c : cases) {
    RunState s;
    s.rep_A = s.rep_B = s.rep_C = s.rep_D = s.rep_autre = true;  // all cleared first
    note_single_reply(s, c.ch);
    EXPECT_EQ(s.rep_A, c.a) << c.ch;
    EXPECT_EQ(s.rep_B, c.b) << c.ch;
    EXPECT_EQ(s.rep_C, c.c) << c.ch;
    EXPECT_EQ(s.rep_D, c.d) << c.ch;
    EXPECT_EQ(s.rep_autre, c.autre) << c.ch;
    if (c.autre) {
      EXPECT_EQ(s.car_autre, c.ch);
    }
  }
}

TEST(CountedReply, PaddedWithBlanksOnTheRight) {
  EXPECT_EQ(counted_reply("00012"), "00012");
  EXPECT_EQ(counted_reply("12"), "12   ");
  EXPECT_EQ(counted_reply(""), "     ");
}

}  // namespace
}  // namespace brivel
