#include "platform/sim/sim_platform.h"

#include <gtest/gtest.h>

#include <chrono>

#include "core/event_loop.h"
#include "platform/receive_buffer.h"

namespace brivel {
namespace {

TEST(ReceiveBuffer, EventOnThresholdAndProgressOnly) {
  ReceiveBuffer b;
  EXPECT_FALSE(b.event_due());
  b.append("AB");
  EXPECT_TRUE(b.event_due());
  EXPECT_FALSE(b.event_due()) << "no progress since the last event";
  EXPECT_EQ(b.take(), "A");
  EXPECT_TRUE(b.event_due()) << "a read re-arms while bytes remain";
  b.set_threshold(5);
  b.set_input_len(5);
  EXPECT_FALSE(b.event_due()) << "fewer than five characters raise no event";
  b.append("123");
  EXPECT_FALSE(b.event_due());
  b.append("4");
  EXPECT_TRUE(b.event_due());
  EXPECT_FALSE(b.event_due()) << "a handler that read nothing is not called again";
  EXPECT_EQ(b.take(), "B1234");
}

TEST(SimPlatform, TimersFireInVirtualTimeNeverReenterAndCostNoRealTime) {
  SimPlatform p;
  std::vector<int64_t> fired;
  int id = p.add_timer(100, [&] {
    fired.push_back(p.now());
    attente_ms(p, 250);  // the handler outlives two intervals
  });
  const auto t0 = std::chrono::steady_clock::now();
  p.run_for(1000);
  EXPECT_LT(std::chrono::steady_clock::now() - t0, std::chrono::milliseconds(200));
  p.remove_timer(id);
  ASSERT_GE(fired.size(), 2u);
  EXPECT_EQ(fired[0], 100);
  for (std::size_t i = 1; i < fired.size(); ++i) EXPECT_EQ(fired[i] - fired[i - 1], 251) << "ends on the next tick";
  const int64_t t = p.now();
  attente_ms(p, 2000);
  EXPECT_EQ(p.now(), t + 2001);
  // The tick wraps at thirty-two bits.
  p.set_tick_offset(2147483647LL - 5 - p.now());
  p.run_for(10);
  EXPECT_EQ(p.tick_ms(), -2147483648 + 4);
}

struct Echo : SerialPeer {
  SimPlatform* p;
  void on_bytes(std::string_view b, int64_t now) override { p->deliver(now + 3, std::string(b)); }
};

TEST(SimSerialPort, TranscriptRepliesAndOneEventPerTurn) {
  SimPlatform p;
  Echo echo;
  echo.p = &p;
  auto& s = p.sim_serial();
  s.add_port(7, &echo);
  s.add_port(3);
  s.set_busy_port(3, true);
  ASSERT_TRUE(s.set_port_number(3));
  EXPECT_FALSE(s.open()) << "busy";
  EXPECT_FALSE(s.set_port_number(0));
  EXPECT_FALSE(s.set_port_number(4) && s.open()) << "no such port";
  ASSERT_TRUE(s.set_port_number(7));
  ASSERT_TRUE(s.open());
  EXPECT_FALSE(s.set_port_number(3)) << "the number can't change while open";
  EXPECT_FALSE(s.open()) << "already open";
  std::string got;
  int events = 0;
  s.set_on_comm([&](int ev) {
    EXPECT_EQ(ev, SerialPort::kEvReceive);
    ++events;
    got += s.input();
  });
  ASSERT_TRUE(s.write("AB"));
  EXPECT_EQ(p.line_text(), "AB");
  p.turn();  // moves to t=3, the bytes arrive, one event
  EXPECT_EQ(p.now(), 3);
  EXPECT_EQ(got, "A");
  p.turn();
  EXPECT_EQ(got, "AB");
  EXPECT_EQ(events, 2);
  s.remove_port(7);
  EXPECT_FALSE(s.write("C")) << "a vanished device fails its writes";
  s.close();
  s.set_busy_port(3, false);
  ASSERT_TRUE(s.set_port_number(3));
  EXPECT_TRUE(s.open()) << "free again";
}

}  // namespace
}  // namespace brivel
