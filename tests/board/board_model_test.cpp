// The board model: its replies, times, faults by script and log; behind the simulated serial port; against the
// table of exchanges that the firmware answers too.
#include "board/board_model.h"

#include <gtest/gtest.h>

#include "conformance/exchanges.h"
#include "platform/sim/board_peer.h"
#include "platform/sim/sim_platform.h"

namespace brivel::test {
namespace {

using Out = std::vector<std::pair<int64_t, std::string>>;

// All replies to `bytes` sent at time `now`, concatenated.
std::string replies(BoardModel& b, std::string_view bytes, int64_t now = 0) {
  std::string all;
  for (const auto& o : b.receive(bytes, now)) all += o.bytes;
  return all;
}

// Each reply with its time.
Out timed(BoardModel& b, std::string_view bytes, int64_t now) {
  Out out;
  for (const auto& o : b.receive(bytes, now)) out.push_back({o.at_ms, o.bytes});
  return out;
}

BoardOptions script(const char* text) {
  std::string error;
  auto o = parse_fault_script(text, &error);
  EXPECT_TRUE(o) << error;
  return o.value_or(BoardOptions{});
}

using XY = std::pair<int64_t, int64_t>;
XY xy(const BoardModel& b) { return {b.x_position(), b.y_position()}; }

bool has_note(const BoardModel& b, const std::string& text) {
  for (const auto& e : b.log())
    if (e.dir == '#' && e.text == text) return true;
  return false;
}

// The replies to frames, scripted faults by count, and the counted replies of lost steps and of the origin
// search; each also sent one byte at a time. holes, x, y: -1 not looked at.
TEST(BoardModel, ScriptedExchanges) {
  struct Case {
    const char *script, *frames, *replies;
    int holes = -1;
    int64_t x = -1, y = -1;
  } cases[] = {
      {"", "NUxxxxx\nPX04000\nPY07500\nOX00220\nIZ00002\nMZ00012\nPW00020\nPwxxxxx\nCPxxxxx\ncpxxxxx\n", ""},
      {"", "AGxxxxx\nZGxxxxx\n", ""},  {"", "MX00012\n", "A", 0, 12, 0}, {"", "mX00012\n", "A"},
      {"", "Mx00012\n", "A"},          {"", "mx00000\n", "A"},          {"", "MY00720\n", "A", 0, 0, 720},
      {"", "CZxxxxx\n", "A", 1},       {"", "cZxxxxx\n", "A", 1},       {"", "ONxxxxx\n", "A"},
      {"", "ORxxxxx\n", "D"},          {"", "oRxxxxx\n", "D"},          {"", "wr00001\n", "A"},
      {"", "VDxxxxx\n", ""},  // the sensors wait for the bare line feed
      {"", "VDxxxxx\n\n", "-----"},    {"", "ZXxxxxx\n", ""},           {"", "QQ12345\n", ""},
      {"", "on xxxx\n", ""},           {"", "\n", ""},                  {"", "garbage that is no frame\n", ""},
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
      // The origin search tells the distance to the switch, then the head is at OX (the X move before it
      // answers A).
      {"", "OX00220\nMX00300\nORxxxxx\n\n\nONxxxxx\n", "AD00300A", 0, 220, 0},
      {"", "OX00220\nMx00300\noRxxxxx\n\n\nONxxxxx\n", "AD00300A", 0, 220, 0},
      {"", "OX00000\nORxxxxx\n\n\nONxxxxx\n", "D00000A", 0, 0, 0},
      {"", "OX00050\nMX00123\nORxxxxx\n\n\nONxxxxx\n", "AD00123A", 0, 50, 0},
      // ... or a plain A, or a given count, on cue; no count follows a plain A.
      {"A OR 1", "OX00220\nMX00300\nORxxxxx\n\n", "AA", 0, 220, 0},
      {"A OR 1\nD OR 2 123", "OX00220\nMX00300\nORxxxxx\n\nORxxxxx\n\n\n", "AAD00123", 0, 220, 0},
  };
  for (const auto& c : cases) {
    BoardModel b(script(c.script)), one_by_one(script(c.script));
    EXPECT_EQ(replies(b, c.frames), c.replies) << c.script << " " << c.frames;
    std::string got;
    for (const char* ch = c.frames; *ch; ++ch) got += replies(one_by_one, std::string_view(ch, 1));
    EXPECT_EQ(got, c.replies) << "one byte at a time: " << c.script << " " << c.frames;
    if (c.holes >= 0) {
      EXPECT_EQ(b.holes().size(), static_cast<size_t>(c.holes)) << c.script;
    }
    if (c.x >= 0) {
      EXPECT_EQ(xy(b), XY(c.x, c.y)) << c.script << " " << c.frames;
    }
    EXPECT_FALSE(has_note(b, "dialogue dropped")) << c.script;
  }
}

TEST(BoardModel, KeepsParametersAxesAndHoles) {
  BoardModel b;
  EXPECT_EQ(b.parameters().at("CP"), 0) << "single-sensor mode at power-on";
  EXPECT_FALSE(b.parameters().count("PW")) << "no chopping at power-on";
  replies(b, "PX04000\nOX00220\nPW00020\nCPxxxxx\nAGxxxxx\nMY00720\nMX01200\nCZxxxxx\nmx00200\nMY00010\ncZxxxxx\n");
  for (auto [code, value] : {std::pair{"PX", 4000}, {"OX", 220}, {"PW", 20}, {"CP", 1}})
    EXPECT_EQ(b.parameters().at(code), value) << code;
  EXPECT_TRUE(b.in_working_sequence());
  EXPECT_EQ(b.holes(), (std::vector<Hole>{{1200, 720, 3}, {1000, 730, 6}}))
      << "each reply 1 ms behind the one before: MY, MX, CZ, mx, MY, cZ";
  replies(b, "Pwxxxxx\ncpxxxxx\nZGxxxxx\nMX0001x\n");
  EXPECT_FALSE(b.parameters().count("PW"));
  EXPECT_EQ(b.parameters().at("CP"), 0);
  EXPECT_FALSE(b.in_working_sequence());
  EXPECT_EQ(xy(b), XY(1000, 730)) << "a broken frame moves nothing";
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
  EXPECT_EQ(b.holes().size(), 1u);
  EXPECT_EQ(b.eeprom()[5], 42);
  EXPECT_EQ(replies(b, "\n", 60), "") << "the poll died with the old firmware";
  EXPECT_EQ(replies(b, "0012\n", 60), "") << "and so did the half frame";
  EXPECT_EQ(xy(b), XY(300, 10)) << "the head stays";
  EXPECT_TRUE(has_note(b, "reset"));
}

TEST(BoardModel, CountedRepliesWaitForTheBareLineFeed) {
  // Lost steps: the count is held until the bare line feed, then the closing one is taken.
  BoardModel b(script("D mx 2 12"));
  EXPECT_EQ(replies(b, "MX00500\n", 0), "A") << "the first X move, whatever its code";
  EXPECT_EQ(timed(b, "mx00100\n", 10), (Out{{11, "D"}}));
  EXPECT_EQ(b.x_position(), 500 - 88) << "the second X move fell 12 steps short";
  EXPECT_TRUE(has_note(b, "rule D mx 2 12"));
  EXPECT_TRUE(b.receive("", 12).empty()) << "nothing before the bare line feed";
  EXPECT_EQ(timed(b, "\n", 20), (Out{{21, "00012"}}));
  EXPECT_EQ(replies(b, "\n", 30), "") << "the closing line feed";
  EXPECT_EQ(replies(b, "\n", 31), "") << "a stray line feed says nothing either";
  EXPECT_EQ(replies(b, "MX00001\n", 40), "A");
  // The detector poll has no closing line feed: the next poll follows at once.
  b.set_sensor(0, true);
  b.set_sensor(3, true);
  b.set_sensor(7, true);  // no such sensor: ignored
  EXPECT_EQ(replies(b, "VDxxxxx\n"), "");
  EXPECT_EQ(timed(b, "\n", 100), (Out{{101, "O--O-"}}));
  b.set_sensor(0, false);
  EXPECT_EQ(replies(b, "VDxxxxx\n\n", 200), "---O-");
  EXPECT_FALSE(has_note(b, "dialogue dropped"));
  // A frame instead of the line feed drops the dialogue; ZX cancels the pending count.
  EXPECT_EQ(replies(b, "VDxxxxx\nONxxxxx\n"), "A");
  EXPECT_EQ(replies(b, "\n"), "") << "the poll's count was dropped";
  EXPECT_TRUE(has_note(b, "dialogue dropped"));
  EXPECT_EQ(replies(b, "VDxxxxx\nZXxxxxx\n\n"), "");
}

TEST(BoardModel, EepromReadWritesRawBytes) {
  BoardModel b;
  b.eeprom()[12] = 200;
  EXPECT_EQ(timed(b, "NUxxxxx\nrd00012\n", 0), (Out{{1, std::string(1, static_cast<char>(200))}}));
  EXPECT_EQ(replies(b, "\n"), "") << "the program's line feed after the byte";
  EXPECT_EQ(replies(b, "NUxxxxx\nwr00007\n"), "A");
  EXPECT_EQ(b.eeprom()[12], 7) << "a write goes to the address last read";
  EXPECT_FALSE(has_note(b, "dialogue dropped"));
  EXPECT_EQ(replies(b, "NUxxxxx\nrd01036\n\n"), std::string(1, '\7')) << "1036 wraps to 12";
  EXPECT_EQ(replies(b, "NUxxxxx\nrd01023\n\nNUxxxxx\nwr00300\n"), std::string(1, '\0') + "A");
  EXPECT_EQ(b.eeprom()[1023], 300 - 256) << "the low byte of the value";
  EXPECT_EQ(b.eeprom()[12], 7);
}

TEST(BoardModel, RealisticTimesFollowTheStepDurations) {
  BoardOptions o;
  o.instant = false;
  BoardModel b(o);
  const std::tuple<const char*, int64_t, int64_t, const char*> steps[] = {
      {"PX04000\nIZ00005\nMZ00010\nOX00220\nMX00250\n", 100, 1100, "250 steps of 4000 us"},
      {"MY00010\n", 200, 1175, "one command at a time: after the X move, 10 steps of 7500 us"},
      {"CZxxxxx\n", 2000, 2015, "pulse 5 ms and delay 10 ms"},
      {"ORxxxxx\n", 3000, 3000 + (250 + 220) * 4, "back 250 steps and out 220"},
      {"\n", 5000, 5001, "the count"},
      {"\nONxxxxx\n", 5002, 5003, "a question costs 1 ms"},
      {"mx00003\n", 6000, 6012, "a half step takes PX too"},
  };
  for (const auto& [frames, at_sent, reply_at, why] : steps) {
    auto out = b.receive(frames, at_sent);
    ASSERT_EQ(out.size(), 1u) << why;
    EXPECT_EQ(out[0].at_ms, reply_at) << why;
  }
  ASSERT_EQ(b.holes().size(), 1u);
  EXPECT_EQ(b.holes()[0].at_ms, 2015);
}

TEST(BoardModel, LogsFramesRepliesHolesAndRules) {
  BoardModel b(script("B MY 1"));
  b.receive("MY00010\nMX00012\n", 5);
  b.receive("CZxxxxx\nQQ\n", 20);
  std::vector<std::tuple<int64_t, char, std::string>> got;
  for (const auto& e : b.log()) got.emplace_back(e.at_ms, e.dir, e.text);
  EXPECT_EQ(got, (std::vector<std::tuple<int64_t, char, std::string>>{
                     {5, '>', "MY00010\n"}, {5, '#', "rule B MY 1"}, {6, '<', "B"}, {5, '>', "MX00012\n"},
                     {7, '<', "A"}, {20, '>', "CZxxxxx\n"}, {21, '<', "A"}, {21, '*', "X=12 Y=0"},
                     {20, '>', "QQ\n"}}));
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

using K = FaultRule::Kind;

TEST(FaultScript, ReadsEveryVerb) {
  std::string error;
  auto o = parse_fault_script(
      "# a night of bad luck\r\nB MY 3\nc CZ 2   # a failed cycle\n\nD MX 5 12\nSILENCE cZ 4\nA OR 1\nrefuse ON 2\n",
      &error);
  ASSERT_TRUE(o) << error;
  EXPECT_EQ(o->refuse_on, 2);
  std::vector<std::tuple<std::string, int, K, int>> got;
  for (const auto& f : o->faults) got.emplace_back(f.code, f.nth, f.kind, f.lost_steps);
  EXPECT_EQ(got, (std::vector<std::tuple<std::string, int, K, int>>{{"MY", 3, K::ReplyB, 0},
                                                                    {"CZ", 2, K::ReplyC, 0},
                                                                    {"MX", 5, K::LoseSteps, 12},
                                                                    {"cZ", 4, K::Silence, 0},
                                                                    {"OR", 1, K::LoseSteps, -1}}));
  EXPECT_TRUE(parse_fault_script("", &error).value().faults.empty());
}

TEST(FaultScript, ErrorsNameTheLineAndTheReason) {
  const std::string unknown = "code que la carte ne connaît pas ou ne répond pas (MX, MY, CZ, OR, ON, VD, rd, wr)";
  const std::string rank = "rang attendu, un nombre à partir de 1", steps =
      "nombre de pas attendu après le rang, de 0 à 99999";
  const std::tuple<const char*, int, std::string, const char*> cases[] = {
      {"X MY 1", 1, "action inconnue, attendu A, B, C, D, silence ou refuse", "X MY 1"},
      {"B MY 1\nB MYY 1", 2, unknown, "B MYY 1"},
      {"B M1 1", 1, unknown, "B M1 1"},
      {"silence ZZ 4", 1, unknown, "silence ZZ 4"},
      {"B PX 1", 1, unknown, "B PX 1"},  // a parameter frame gets no reply
      {"B", 1, "code de deux lettres attendu", "B"},
      {"\n\nB MY 0", 3, rank, "B MY 0"},
      {"B MY -2", 1, rank, "B MY -2"},
      {"B MY", 1, rank, "B MY"},
      {"D MX 1", 1, steps, "D MX 1"},
      {"D MX 1 100000", 1, steps, "D MX 1 100000"},
      {"B MY 1 2 # x", 1, "mot en trop", "B MY 1 2"},
      {"refuse MX 2", 1, "refuse ne vaut que pour ON", "refuse MX 2"},
  };
  for (const auto& [text, line, reason, quoted] : cases) {
    std::string error;
    EXPECT_FALSE(parse_fault_script(text, &error)) << text;
    EXPECT_EQ(error, "Script de défauts, ligne " + std::to_string(line) + " : " + reason + " (« " + quoted + " »)");
  }
}

// The board behind the simulated serial port: replies arrive at their virtual times, and the reset pulse
// restarts the firmware.
TEST(BoardPeer, RepliesArriveAtTheBoardsTimes) {
  SimPlatform p;
  BoardOptions o;
  o.instant = false;
  BoardModel board(o);
  BoardPeer peer(p, board);
  SimSerialPort& port = p.sim_serial();
  port.add_port(7, &peer);
  ASSERT_TRUE(port.set_port_number(7));
  ASSERT_TRUE(port.open());
  std::vector<std::pair<int64_t, std::string>> got;
  port.set_on_comm([&](int) { got.push_back({p.now(), port.input()}); });
  auto next = [&](std::string frame) {  // the arrival that the frame brings
    const size_t n = got.size();
    port.write(frame);
    EXPECT_TRUE(p.run_until([&] { return got.size() > n; }, 5000)) << frame;
    return got.back();
  };
  p.run_for(100);
  port.write("PX04000\n");
  EXPECT_EQ(next("MX00250\n"), std::pair(int64_t{1100}, std::string("A"))) << "250 steps of 4000 us";
  // The counted exchange: five characters read at once after the bare line feed.
  EXPECT_EQ(next("ORxxxxx\n"), std::pair(int64_t{1100 + 250 * 4}, std::string("D")));
  port.set_rthreshold(5);
  port.set_input_len(5);
  EXPECT_EQ(next("\n"), std::pair(int64_t{2101}, std::string("00250")));
  port.set_rthreshold(1);
  port.set_input_len(1);
  port.write("\n");
  // The reset pulse: the step duration is back to its power-on 5000 us.
  port.set_dtr(true);
  port.set_rts(true);
  p.run_for(100);
  port.set_dtr(false);
  port.set_rts(false);
  EXPECT_EQ(board.resets(), 1);
  const int64_t t = p.now();
  EXPECT_EQ(next("MX00010\n"), std::pair(t + 50, std::string("A")));
  EXPECT_EQ(board.x_position(), 10);
  EXPECT_EQ(got.size(), 4u);
}

TEST(Conformance, TheModelAnswersTheTable) {
  const auto table = read_exchanges(exchanges_path());
  ASSERT_GT(table.size(), 30u);
  BoardModel board;
  // The machine at power-on as the firmware's sees it: punch up and its
  // crank at rest, the head on an even step of the strip.
  for (int i : {1, 2, 3}) board.set_sensor(i, true);
  int64_t now = 0;
  std::string pending;
  for (const Exchange& e : table) {
    if (e.send) {
      for (const BoardOutput& o : board.receive(e.bytes, now)) pending += o.bytes;
      now += 1000;
    } else {
      EXPECT_TRUE(reply_matches(e.bytes, pending)) << "line " << e.line << ": " << pending;
      pending.clear();
    }
  }
}

}  // namespace
}  // namespace brivel::test
