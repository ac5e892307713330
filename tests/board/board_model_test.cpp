#include "board/board_model.h"

#include <gtest/gtest.h>

namespace brivel {
namespace {

// All replies to `bytes` sent at time `now`, concatenated, with their times.
std::string replies(BoardModel& b, std::string_view bytes, int64_t now = 0) {
  std::string all;
  for (const auto& o : b.receive(bytes, now)) all += o.bytes;
  return all;
}

TEST(BoardModel, EachFrameGetsItsReply) {
  struct Case {
    const char* frames;
    const char* reply;
  } cases[] = {
      {"NUxxxxx\nPX04000\nPY07500\nOX00220\nIZ00002\nMZ00012\ncpxxxxx\n", ""},
      {"AGxxxxx\n", ""},
      {"MX00012\n", "A"},
      {"mx00012\n", "A"},
      {"MY00720\n", "A"},
      {"CZxxxxx\n", "A"},
      {"cZxxxxx\n", "A"},
      {"ONxxxxx\n", "A"},
      {"ZGxxxxx\n", ""},
      {"ZXxxxxx\n", ""},
      {"QQ12345\n", ""},
      {"garbage that is no frame\n", ""},
  };
  for (const auto& c : cases) {
    BoardModel b;
    EXPECT_EQ(replies(b, c.frames), c.reply) << c.frames;
  }
}

TEST(BoardModel, KeepsParametersAxesAndHoles) {
  BoardModel b;
  replies(b, "PX04000\nOX00220\nPW00020\nCPxxxxx\nAGxxxxx\nMY00720\nMX01200\nCZxxxxx\nmx00200\n");
  EXPECT_EQ(b.parameters().at("PX"), 4000);
  EXPECT_EQ(b.parameters().at("PW"), 20);
  EXPECT_EQ(b.parameters().at("CP"), 1);
  EXPECT_TRUE(b.in_working_sequence());
  EXPECT_EQ(b.x_position(), 1000);
  EXPECT_EQ(b.y_position(), 720);
  ASSERT_EQ(b.holes().size(), 1u);
  EXPECT_EQ(b.holes()[0].x_steps, 1200);
  EXPECT_EQ(b.holes()[0].y_steps, 720);
  replies(b, "Pwxxxxx\nZGxxxxx\n");
  EXPECT_FALSE(b.parameters().count("PW"));
  EXPECT_FALSE(b.in_working_sequence());
  b.reset(10);
  EXPECT_EQ(b.parameters().at("PX"), 5000) << "back to power-on values";
  EXPECT_EQ(b.x_position(), 1000) << "the head doesn't move on a restart";
  EXPECT_EQ(b.resets(), 1);
}

TEST(BoardModel, CountedReplyWaitsForTheBareLineFeedThenTakesTheClosingOne) {
  BoardOptions o;
  o.faults.push_back({"MX", 1, FaultRule::Kind::LoseSteps, 12});
  BoardModel b(o);
  EXPECT_EQ(replies(b, "MX00100\n"), "D");
  EXPECT_EQ(b.x_position(), 88);
  EXPECT_EQ(replies(b, "\n"), "00012");
  EXPECT_EQ(replies(b, "\n"), "") << "the closing line feed";
  EXPECT_EQ(replies(b, "MX00001\n"), "A");
}

TEST(BoardModel, OriginSearchGivesItsCount) {
  BoardModel b;
  replies(b, "OX00220\nMX00300\n");
  EXPECT_EQ(replies(b, "oRxxxxx\n"), "D");
  EXPECT_EQ(replies(b, "\n"), "00300");
  EXPECT_EQ(b.x_position(), 220);
}

TEST(BoardModel, DetectorPollAndEeprom) {
  BoardModel b;
  b.set_sensor(1, true);
  b.set_sensor(2, true);
  EXPECT_EQ(replies(b, "VDxxxxx\n"), "");
  EXPECT_EQ(replies(b, "\n"), "-OO--");
  b.eeprom()[12] = 200;
  EXPECT_EQ(replies(b, "NUxxxxx\nrd00012\n"), std::string(1, static_cast<char>(200)));
  EXPECT_EQ(replies(b, "\n"), "");
  EXPECT_EQ(replies(b, "NUxxxxx\nwr00007\n"), "A");
  EXPECT_EQ(b.eeprom()[12], 7) << "a write goes to the address last read";
}

TEST(BoardModel, FaultScriptByCount) {
  std::string error;
  auto o = parse_fault_script("# faults\nB MY 2\nC CZ 1\nsilence CZ 2\nrefuse ON 2\n", &error);
  ASSERT_TRUE(o) << error;
  BoardModel b(*o);
  EXPECT_EQ(replies(b, "MY00010\n"), "A");
  EXPECT_EQ(replies(b, "MY00010\n"), "B");
  EXPECT_EQ(replies(b, "CZxxxxx\n"), "C");
  EXPECT_EQ(replies(b, "CZxxxxx\n"), "");
  EXPECT_EQ(replies(b, "CZxxxxx\n"), "A");
  EXPECT_EQ(b.holes().size(), 1u) << "only a confirmed cycle is a hole";
  EXPECT_EQ(replies(b, "ONxxxxx\nONxxxxx\nONxxxxx\n"), "BBA");
  for (const char* bad : {"X MY 1", "B MYY 1", "B MY 0", "D MX 1", "B MY 1 2"})
    EXPECT_FALSE(parse_fault_script(bad, &error)) << bad;
}

TEST(BoardModel, BytesMayArriveOneByOneAndTimesFollowTheSteps) {
  BoardOptions o;
  o.instant = false;
  BoardModel b(o);
  std::vector<BoardOutput> out;
  for (char ch : std::string("PX04000\nMX00250\n")) {
    auto part = b.receive(std::string_view(&ch, 1), 100);
    out.insert(out.end(), part.begin(), part.end());
  }
  ASSERT_EQ(out.size(), 1u);
  EXPECT_EQ(out[0].at_ms, 100 + 1000) << "250 steps of 4000 us";
  auto next = b.receive("MY00010\n", 200);
  EXPECT_EQ(next.at(0).at_ms, 1100 + 75) << "one command at a time; 10 steps of 7500 us";
}

}  // namespace
}  // namespace brivel
