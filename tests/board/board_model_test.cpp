#include "board/board_model.h"

#include <gtest/gtest.h>

namespace brivel {
namespace {

// All replies to `bytes` sent at time `now`, concatenated.
std::string replies(BoardModel& b, std::string_view bytes, int64_t now = 0) {
  std::string all;
  for (const auto& o : b.receive(bytes, now)) all += o.bytes;
  return all;
}

BoardOptions script(const char* text) {
  std::string error;
  auto o = parse_fault_script(text, &error);
  EXPECT_TRUE(o) << error;
  return o.value_or(BoardOptions{});
}

bool has_note(const BoardModel& b, const std::string& text) {
  for (const auto& e : b.log())
    if (e.dir == '#' && e.text == text) return true;
  return false;
}

TEST(BoardModel, EachFrameGetsItsReply) {
  struct Case {
    const char* frames;
    const char* reply;
  } cases[] = {
      {"NUxxxxx\nPX04000\nPY07500\nOX00220\nIZ00002\nMZ00012\nPW00020\nPwxxxxx\nCPxxxxx\ncpxxxxx\n", ""},
      {"AGxxxxx\nZGxxxxx\n", ""},
      {"MX00012\n", "A"},
      {"mX00012\n", "A"},
      {"Mx00012\n", "A"},
      {"mx00000\n", "A"},
      {"MY00720\n", "A"},
      {"CZxxxxx\n", "A"},
      {"cZxxxxx\n", "A"},
      {"ONxxxxx\n", "A"},
      {"ORxxxxx\n", "D"},
      {"oRxxxxx\n", "D"},
      {"VDxxxxx\n", ""},  // the sensors wait for the bare line feed
      {"wr00001\n", "A"},
      {"ZXxxxxx\n", ""},
      {"QQ12345\n", ""},
      {"on xxxx\n", ""},
      {"\n", ""},
      {"garbage that is no frame\n", ""},
  };
  for (const auto& c : cases) {
    BoardModel b;
    EXPECT_EQ(replies(b, c.frames), c.reply) << c.frames;
  }
}

TEST(BoardModel, KeepsParametersAxesAndHoles) {
  BoardModel b;
  EXPECT_EQ(b.parameters().at("CP"), 0) << "single-sensor mode at power-on";
  EXPECT_FALSE(b.parameters().count("PW")) << "no chopping at power-on";
  replies(b, "PX04000\nOX00220\nPW00020\nCPxxxxx\nAGxxxxx\nMY00720\nMX01200\nCZxxxxx\nmx00200\nMY00010\ncZxxxxx\n");
  EXPECT_EQ(b.parameters().at("PX"), 4000);
  EXPECT_EQ(b.parameters().at("OX"), 220);
  EXPECT_EQ(b.parameters().at("PW"), 20);
  EXPECT_EQ(b.parameters().at("CP"), 1);
  EXPECT_TRUE(b.in_working_sequence());
  EXPECT_EQ(b.x_position(), 1000);
  EXPECT_EQ(b.y_position(), 730);
  EXPECT_EQ(b.holes(), (std::vector<Hole>{{1200, 720, 3}, {1000, 730, 6}}))
      << "each reply 1 ms behind the one before: MY, MX, CZ, mx, MY, cZ";
  replies(b, "Pwxxxxx\ncpxxxxx\nZGxxxxx\nMX0001x\n");
  EXPECT_FALSE(b.parameters().count("PW"));
  EXPECT_EQ(b.parameters().at("CP"), 0);
  EXPECT_FALSE(b.in_working_sequence());
  EXPECT_EQ(b.x_position(), 1000) << "a broken frame moves nothing";
}

TEST(BoardModel, ResetRestartsTheFirmwareOnly) {
  BoardModel b;
  replies(b, "PX04000\nPW00030\nCPxxxxx\nAGxxxxx\nMY00010\nMX00300\nCZxxxxx\nNUxxxxx\nrd00005\n");
  b.eeprom()[5] = 42;
  replies(b, "VDxxxxx\nMX0");  // a poll pending and half a frame
  b.reset(50);
  EXPECT_EQ(b.resets(), 1);
  EXPECT_EQ(b.parameters().at("PX"), 5000);
  EXPECT_EQ(b.parameters().at("CP"), 0);
  EXPECT_FALSE(b.parameters().count("PW"));
  EXPECT_FALSE(b.in_working_sequence());
  EXPECT_EQ(b.x_position(), 300) << "the head doesn't move on a restart";
  EXPECT_EQ(b.y_position(), 10);
  EXPECT_EQ(b.holes().size(), 1u);
  EXPECT_EQ(b.eeprom()[5], 42);
  EXPECT_EQ(replies(b, "\n", 60), "") << "the poll died with the old firmware";
  EXPECT_EQ(replies(b, "0012\n", 60), "") << "and so did the half frame";
  EXPECT_EQ(b.x_position(), 300);
  EXPECT_TRUE(has_note(b, "reset"));
}

TEST(BoardModel, LostStepsCountIsHeldUntilTheBareLineFeedThenTheClosingOneIsTaken) {
  BoardModel b(script("D mx 2 12"));
  EXPECT_EQ(replies(b, "MX00500\n", 0), "A") << "the first X move, whatever its code";
  auto d = b.receive("mx00100\n", 10);
  ASSERT_EQ(d.size(), 1u);
  EXPECT_EQ(d[0].bytes, "D");
  EXPECT_EQ(d[0].at_ms, 11);
  EXPECT_EQ(b.x_position(), 500 - 88) << "the second X move fell 12 steps short";
  EXPECT_TRUE(has_note(b, "rule D mx 2 12"));
  EXPECT_TRUE(b.receive("", 12).empty()) << "nothing before the bare line feed";
  auto count = b.receive("\n", 20);
  ASSERT_EQ(count.size(), 1u);
  EXPECT_EQ(count[0].bytes, "00012");
  EXPECT_EQ(count[0].at_ms, 21);
  EXPECT_EQ(replies(b, "\n", 30), "") << "the closing line feed";
  EXPECT_EQ(replies(b, "\n", 31), "") << "a stray line feed says nothing either";
  EXPECT_EQ(replies(b, "MX00001\n", 40), "A");
  EXPECT_FALSE(has_note(b, "dialogue dropped"));
}

TEST(BoardModel, DetectorPollHasNoClosingLineFeed) {
  BoardModel b;
  b.set_sensor(0, true);
  b.set_sensor(3, true);
  b.set_sensor(7, true);  // no such sensor: ignored
  EXPECT_EQ(replies(b, "VDxxxxx\n"), "");
  auto r = b.receive("\n", 100);
  ASSERT_EQ(r.size(), 1u);
  EXPECT_EQ(r[0].bytes, "O--O-");
  EXPECT_EQ(r[0].at_ms, 101);
  b.set_sensor(0, false);
  EXPECT_EQ(replies(b, "VDxxxxx\n\n", 200), "---O-") << "the next poll follows at once";
  EXPECT_FALSE(has_note(b, "dialogue dropped"));
}

TEST(BoardModel, AFrameInsteadOfTheLineFeedDropsTheDialogue) {
  BoardModel b;
  EXPECT_EQ(replies(b, "VDxxxxx\nONxxxxx\n"), "A");
  EXPECT_EQ(replies(b, "\n"), "") << "the poll's count was dropped";
  EXPECT_TRUE(has_note(b, "dialogue dropped"));
  BoardModel z;
  EXPECT_EQ(replies(z, "VDxxxxx\nZXxxxxx\n\n"), "") << "ZX cancels the pending count";
}

TEST(BoardModel, EepromReadWritesRawBytes) {
  BoardModel b;
  b.eeprom()[12] = 200;
  auto r = b.receive("NUxxxxx\nrd00012\n", 0);
  ASSERT_EQ(r.size(), 1u);
  EXPECT_EQ(r[0].bytes, std::string(1, static_cast<char>(200)));
  EXPECT_EQ(replies(b, "\n"), "") << "the program's line feed after the byte";
  EXPECT_EQ(replies(b, "NUxxxxx\nwr00007\n"), "A");
  EXPECT_EQ(b.eeprom()[12], 7) << "a write goes to the address last read";
  EXPECT_FALSE(has_note(b, "dialogue dropped"));

  EXPECT_EQ(replies(b, "NUxxxxx\nrd01036\n\n"), std::string(1, '\7')) << "1036 wraps to 12";
  EXPECT_EQ(replies(b, "NUxxxxx\nrd01023\n\nNUxxxxx\nwr00300\n"), std::string(1, '\0') + "A");
  EXPECT_EQ(b.eeprom()[1023], 300 - 256) << "the low byte of the value";
  EXPECT_EQ(b.eeprom()[12], 7);
}

// Scripted faults by count, and the counted replies of lost steps and of the
// origin search.
TEST(BoardModel, ScriptedExchanges) {
  struct Case {
    const char* script;
    const char* frames;
    const char* replies;
    size_t holes;
    int64_t x, y;
  } cases[] = {
      {"B MY 2", "MY00010\nMY00010\nMY00010\n", "ABA", 0, 0, 20},
      {"C CZ 1", "CZxxxxx\nCZxxxxx\n", "CA", 1, 0, 0},
      {"silence CZ 2", "CZxxxxx\nCZxxxxx\nCZxxxxx\n", "AA", 2, 0, 0},
      {"silence cZ 2", "CZxxxxx\ncZxxxxx\n", "A", 1, 0, 0},  // both cycles count as one kind
      {"B Mx 1", "mX00010\nMY00005\n", "BA", 0, 0, 5},       // so do the four X moves; a refused move doesn't move
      {"B CZ 1\nC CZ 2", "CZxxxxx\nCZxxxxx\nCZxxxxx\n", "BCA", 1, 0, 0},
      {"refuse ON 2", "ONxxxxx\nONxxxxx\nONxxxxx\nONxxxxx\n", "BBAA", 0, 0, 0},
      {"B ON 3", "ONxxxxx\nONxxxxx\nONxxxxx\n", "AAB", 0, 0, 0},
      {"D CZ 1 0", "CZxxxxx\n\n\n", "D00000", 0, 0, 0},
      {"B MX 1", "MX00010\nMY00005\n", "BA", 0, 0, 5},
      // Lost steps on the feed, and never more than the move makes.
      {"D MY 1 4\nD Mx 1 50", "MY00010\n\n\nMx00020\n\n\n", "D00004D00050", 0, 0, 6},
      // The origin search tells the distance to the switch, then the head is at OX
      // (the X move before it answers A).
      {"", "OX00220\nMX00300\nORxxxxx\n\n\nONxxxxx\n", "AD00300A", 0, 220, 0},
      {"", "OX00220\nMx00300\noRxxxxx\n\n\nONxxxxx\n", "AD00300A", 0, 220, 0},
      {"", "OX00000\nORxxxxx\n\n\nONxxxxx\n", "D00000A", 0, 0, 0},
      {"", "OX00050\nMX00123\nORxxxxx\n\n\nONxxxxx\n", "AD00123A", 0, 50, 0},
      // ... or a plain A, or a given count, on cue; no count follows a plain A.
      {"A OR 1", "OX00220\nMX00300\nORxxxxx\n\n", "AA", 0, 220, 0},
      {"A OR 1\nD OR 2 123", "OX00220\nMX00300\nORxxxxx\n\nORxxxxx\n\n\n", "AAD00123", 0, 220, 0},
  };
  for (const auto& c : cases) {
    BoardModel b(script(c.script));
    EXPECT_EQ(replies(b, c.frames), c.replies) << c.script << " " << c.frames;
    EXPECT_EQ(b.holes().size(), c.holes) << c.script;
    EXPECT_EQ(b.x_position(), c.x) << c.script;
    EXPECT_EQ(b.y_position(), c.y) << c.script;
    EXPECT_FALSE(has_note(b, "dialogue dropped")) << c.script;
  }
}

TEST(BoardModel, BytesMayArriveOneByOne) {
  BoardModel b;
  std::vector<BoardOutput> out;
  for (char ch : std::string("NUxxxxx\nMX00012\nVDxxxxx\n\n")) {
    auto part = b.receive(std::string_view(&ch, 1), 100);
    out.insert(out.end(), part.begin(), part.end());
  }
  ASSERT_EQ(out.size(), 2u);
  EXPECT_EQ(out[0].bytes, "A");
  EXPECT_EQ(out[1].bytes, "-----");
  EXPECT_EQ(b.x_position(), 12);
}

TEST(BoardModel, RealisticTimesFollowTheStepDurations) {
  BoardOptions o;
  o.instant = false;
  BoardModel b(o);
  struct Step {
    const char* frames;
    int64_t at_sent;
    int64_t reply_at;
    const char* why;
  } steps[] = {
      {"PX04000\nIZ00005\nMZ00010\nOX00220\nMX00250\n", 100, 1100, "250 steps of 4000 us"},
      {"MY00010\n", 200, 1175, "one command at a time: after the X move, 10 steps of 7500 us"},
      {"CZxxxxx\n", 2000, 2015, "pulse 5 ms and delay 10 ms"},
      {"ORxxxxx\n", 3000, 3000 + (250 + 220) * 4, "back 250 steps and out 220"},
      {"\n", 5000, 5001, "the count"},
      {"\nONxxxxx\n", 5002, 5003, "a question costs 1 ms"},
      {"mx00003\n", 6000, 6012, "a half step takes PX too"},
  };
  for (const auto& s : steps) {
    auto out = b.receive(s.frames, s.at_sent);
    ASSERT_EQ(out.size(), 1u) << s.why;
    EXPECT_EQ(out[0].at_ms, s.reply_at) << s.why;
  }
  ASSERT_EQ(b.holes().size(), 1u);
  EXPECT_EQ(b.holes()[0].at_ms, 2015);
}

TEST(BoardModel, LogsFramesRepliesHolesAndRules) {
  BoardModel b(script("B MY 1"));
  b.receive("MY00010\nMX00012\n", 5);
  b.receive("CZxxxxx\nQQ\n", 20);
  const std::vector<std::tuple<int64_t, char, std::string>> want = {
      {5, '>', "MY00010\n"},  {5, '#', "rule B MY 1"}, {6, '<', "B"},         {5, '>', "MX00012\n"}, {7, '<', "A"},
      {20, '>', "CZxxxxx\n"}, {21, '<', "A"},          {21, '*', "X=12 Y=0"}, {20, '>', "QQ\n"},
  };
  ASSERT_EQ(b.log().size(), want.size());
  for (size_t i = 0; i < want.size(); ++i) {
    EXPECT_EQ(b.log()[i].at_ms, std::get<0>(want[i])) << i;
    EXPECT_EQ(b.log()[i].dir, std::get<1>(want[i])) << i;
    EXPECT_EQ(b.log()[i].text, std::get<2>(want[i])) << i;
  }
}

TEST(BoardModel, GarbageNeverCrashesAndTheNextFrameIsUnderstood) {
  BoardModel b(script("D MX 3 7"));
  uint32_t seed = 12345;
  std::string noise;
  for (int i = 0; i < 200000; ++i) {
    seed = seed * 1103515245u + 12345u;
    const char alphabet[] = "MXmxYZCDORNUVDrdwAGx0123456789\n\n\r\xC8";
    noise.push_back(alphabet[(seed >> 16) % (sizeof alphabet - 1)]);
  }
  for (size_t at = 0; at < noise.size(); at += 997) b.receive(std::string_view(noise).substr(at, 997), 1);
  const std::string after = replies(b, "\nONxxxxx\n", 2);
  ASSERT_FALSE(after.empty());
  EXPECT_EQ(after.back(), 'A');
  b.receive(std::string(5000, '\xFF'), 3);
  EXPECT_EQ(replies(b, "\nZXxxxxx\nONxxxxx\n", 4), "A");
}

}  // namespace
}  // namespace brivel
