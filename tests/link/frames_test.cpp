#include "link/frames.h"

#include <gtest/gtest.h>

#include <optional>
#include <tuple>

namespace brivel {
namespace {

TEST(NumberFrame, FromFieldTextByTheNumericPrefix) {
  const std::tuple<const char*, const char*, std::optional<std::string>> cases[] = {
      {"PX", "5000", "PX05000\n"},  {"PX", "", "PX00000\n"},     {"PX", "12.5", "PX00013\n"}, {"OX", " 220 ", "OX00220\n"},
      {"MZ", "12abc", "MZ00012\n"}, {"IZ", "abc", "IZ00000\n"}, {"MX", "123456", {}},        {"MX", "-3", {}},
  };
  for (const auto& [code, text, frame] : cases) EXPECT_EQ(number_frame_from_text(code, text), frame) << text;
  EXPECT_EQ(fixed_frame("cZ"), "cZxxxxx\n");
}

TEST(Replies, EachCharacterRaisesOneFlagOnlyAndCountedOnesArePadded) {
  for (auto [ch, flags] : {std::pair{'A', "A...."}, {'B', ".B..."}, {'C', "..C.."}, {'D', "...D."}, {'a', "....a"},
                           {'\x07', "....a"}}) {
    RunState s;
    s.rep_A = s.rep_B = s.rep_C = s.rep_D = s.rep_autre = true;  // all cleared first
    note_single_reply(s, ch);
    const std::string got = std::string(s.rep_A ? "A" : ".") + (s.rep_B ? "B" : ".") + (s.rep_C ? "C" : ".") + (s.rep_D ? "D" : ".") +
          (s.rep_autre ? "a" : ".");
    EXPECT_EQ(got, flags) << ch;
    if (s.rep_autre) {
      EXPECT_EQ(s.car_autre, ch);
    }
  }
  EXPECT_EQ(counted_reply("00012"), "00012");
  EXPECT_EQ(counted_reply("12"), "12   ");
  EXPECT_EQ(counted_reply(""), "     ");
}

}  // namespace
}  // namespace brivel
