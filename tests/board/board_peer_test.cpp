// The board behind the simulated serial port: replies arrive at their
// virtual times, and the reset pulse restarts the firmware.
#include <gtest/gtest.h>

#include "platform/sim/board_peer.h"
#include "platform/sim/sim_platform.h"

namespace brivel {
namespace {

struct Arrival {
  int64_t at;
  std::string bytes;
  bool operator==(const Arrival&) const = default;
};

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
  std::vector<Arrival> got;
  port.set_on_comm([&](int) { got.push_back({p.now(), port.input()}); });

  p.run_for(100);
  port.write("PX04000\n");
  port.write("MX00250\n");
  ASSERT_TRUE(p.run_until([&] { return !got.empty(); }, 5000));
  EXPECT_EQ(got, (std::vector<Arrival>{{1100, "A"}})) << "250 steps of 4000 us";

  // The counted exchange: five characters read at once after the bare line feed.
  port.write("ORxxxxx\n");
  ASSERT_TRUE(p.run_until([&] { return got.size() == 2; }, 5000));
  EXPECT_EQ(got[1], (Arrival{1100 + 250 * 4, "D"}));
  port.set_rthreshold(5);
  port.set_input_len(5);
  port.write("\n");
  ASSERT_TRUE(p.run_until([&] { return got.size() == 3; }, 5000));
  EXPECT_EQ(got[2], (Arrival{2101, "00250"}));
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
  port.write("MX00010\n");
  ASSERT_TRUE(p.run_until([&] { return got.size() == 4; }, 5000));
  EXPECT_EQ(got[3], (Arrival{t + 50, "A"}));
  EXPECT_EQ(board.x_position(), 10);
}

}  // namespace
}  // namespace brivel
