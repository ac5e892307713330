// The board model: its replies, times, faults by script and log; behind the simulated serial port; against the
// table of exchanges that the firmware answers too.
#include "board/board_model.h"

#include <gtest/gtest.h>

#include "conformance/exchanges.h"
#include "platform/sim/board_peer.h"
#include "platform/sim/sim_platform.h"

namespace brivel::test {
namespace {

// All replies to `bytes` sent at time `now`, concatenated.
std::string replies(BoardModel& b, std::string_view bytes, int64_t now = 0) {
  std::string all;
  for (const auto& o : b.receive(bytes, now)) all += o.bytes;
  return all;
}

using XY = std::pair<int64_t, int64_t>;
XY xy(const BoardModel& b) { return {b.x_position(), b.y_position()}; }

bool has_note(const BoardModel& b, const std::string& text) {
  for (const auto& e : b.log())
    if (e.dir == '#' && e.text == text) return true;
  return false;
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

using K = FaultRule::Kind;

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
  const size_t before_reset = got.size();
  port.set_dtr(true);
  port.set_rts(true);
  p.run_for(100);
  port.set_dtr(false);
  port.set_rts(false);
  EXPECT_EQ(board.resets(), 1);
  // The firmware greets the line 1 ms after the reset.
  ASSERT_GT(got.size(), before_reset);
  std::string greeting;
  for (size_t i = before_reset; i < got.size(); ++i) greeting += got[i].second;
  EXPECT_EQ(greeting, kGreeting);
  EXPECT_EQ(got[before_reset].first, p.now() - 100 + 1);
  const int64_t t = p.now();
  EXPECT_EQ(next("MX00010\n"), std::pair(t + 50, std::string("A")));
  EXPECT_EQ(board.x_position(), 10);
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
    if (e.reset) {
      pending += board.reset(now).bytes;
      now += 1000;
    } else if (e.send) {
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
