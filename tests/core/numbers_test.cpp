#include "core/numbers.h"

#include <gtest/gtest.h>

#include <cmath>

namespace brivel {
namespace {

TEST(Val, NumericPrefixRule) {
  struct Case {
    const char* text;
    double expected;
  } cases[] = {
      {"", 0},         {"5000", 5000},   {" 12", 12},       {"12.5", 12.5},  {"12.5abc", 12.5},
      {"1,5", 1},      {"abc", 0},       {"-10", -10},      {"+7", 7},       {".5", 0.5},
      {"1.2.3", 1.2},  {" 1 2 3", 123},  {"\t4\r\n", 4},    {"0.083", 0.083}, {"-", 0},
      {".", 0},        {"12e3", 12},     {"- 5", -5},       {"00012", 12},   {"5x5", 5},
  };
  for (const auto& c : cases) EXPECT_DOUBLE_EQ(val(c.text), c.expected) << '"' << c.text << '"';
  // The prefix reads the same double as the literal, so products match hand values.
  EXPECT_EQ(val("10") * val("0.083"), 10 * 0.083);
}

TEST(RoundHalfEven, WholeNumbers) {
  struct Case {
    double x;
    double expected;
  } cases[] = {{2.5, 2}, {3.5, 4}, {-2.5, -2}, {0.5, 0}, {1.5, 2}, {2.4999, 2}, {2.5001, 3}, {-0.5, 0}, {7, 7}};
  for (const auto& c : cases) EXPECT_EQ(round_half_even(c.x), c.expected) << c.x;
}

TEST(Cint, SixteenAndThirtyTwoBits) {
  EXPECT_EQ(cint(32767.4), 32767);
  EXPECT_EQ(cint(-32768.5), -32768);
  EXPECT_FALSE(cint(32767.5).has_value());  // rounds to 32768
  EXPECT_FALSE(cint(NAN).has_value());
  EXPECT_EQ(clng(2147483647.0), 2147483647);
  EXPECT_FALSE(clng(2147483647.5).has_value());
  EXPECT_EQ(clng(-3.5), -4);
}

TEST(StrictConversion, RefusesTextThatIsNoNumber) {
  struct Case {
    const char* text;
    std::optional<double> expected;
  } cases[] = {
      {"0", 0.0},     {" 12 ", 12.0}, {"-3", -3.0},       {"2.5", 2.5},          {"1e3", 1000.0},
      {"", {}},       {"  ", {}},     {"abc", {}},         {"12abc", {}},         {"1,5", {}},
      {".", {}},      {"-", {}},      {"1e", {}},          {"1 2", {}},
  };
  for (const auto& c : cases) EXPECT_EQ(to_number_strict(c.text), c.expected) << '"' << c.text << '"';
}

TEST(FormatPicture, HalvesAwayFromZero) {
  struct Case {
    double x;
    const char* picture;
    const char* expected;
  } cases[] = {
      {5000, "00000", "05000"},       {0, "00000", "00000"},         {12.5, "00000", "00013"},
      {13.5, "00000", "00014"},       {720, "00000", "00720"},       {99999, "00000", "99999"},
      {123456, "00000", "123456"},    {-3, "00000", "-00003"},       {74.289, "0000000", "0000074"},
      {107.5, "0000000", "0000108"},  {1.23456, "0.00", "1.23"},     {2.675, "0.00", "2.68"},
      {1.005, "0.00", "1.01"},        {0.994, "0.00", "0.99"},       {9.999, "0.00", "10.00"},
      {12.3456, "00.000", "12.346"},  {3.2, "00.000", "03.200"},     {0.0005, "0.000", "0.001"},
      {-0.4, "0", "0"},               {-1.5, "0", "-2"},             {9, "0", "9"},
      {7, "00", "07"},
  };
  for (const auto& c : cases) EXPECT_EQ(format_picture(c.x, c.picture), c.expected) << c.x << " " << c.picture;
}

TEST(NumberText, PlainAndWithLeadingBlank) {
  EXPECT_EQ(str_plain(12), "12");
  EXPECT_EQ(str_plain(-1), "-1");
  EXPECT_EQ(str_plain(0.5), "0.5");
  EXPECT_EQ(str_plain(-0.0), "0");
  EXPECT_EQ(str_plain(1500), "1500");
  EXPECT_EQ(str_num(12), " 12");
  EXPECT_EQ(str_num(0), " 0");
  EXPECT_EQ(str_num(-1), "-1");
  EXPECT_EQ(str_num(20 * 0.83), " 16.6");
}

}  // namespace
}  // namespace brivel
