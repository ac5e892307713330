// The rehearsal machine on the real platform: its own port number, the board
// model's replies at the durations the board was sent, a board reset by the
// modem lines, and every other number left to the real line.
#include "platform/qt/rehearsal_port.h"

#include <gtest/gtest.h>

#include "platform/qt/qt_platform.h"
#include "platform_qt/qt_app.h"

namespace brivel {
namespace {

// Turns until `n` bytes came or two seconds passed; the bytes.
std::string replies(QtPlatform& p, SerialPort& port, std::size_t n) {
  std::string got;
  port.set_on_comm([&](int) { got += port.input(); });
  for (int32_t t0 = p.tick_ms(); got.size() < n && p.tick_ms() - t0 < 2000;) p.turn(20);
  return got;
}

TEST(RehearsalPort, AnswersAtTheBoardsPace) {
  test::ensure_qt_app();
  QtPlatform p;
  SerialPort& port = p.serial();
  ASSERT_TRUE(port.set_port_number(kPortRepetition));
  ASSERT_TRUE(port.open());
  EXPECT_FALSE(port.set_port_number(5)) << "the number changes only while the port is closed";
  port.set_rthreshold(1);
  port.set_input_len(0);
  port.set_dtr(true);
  // 1000 µs an X step (a parameter: no reply): 200 steps take 200 ms
  // before the board says "A".
  ASSERT_TRUE(port.write("PX01000\n"));
  const int32_t t0 = p.tick_ms();
  ASSERT_TRUE(port.write("MX00200\n"));
  EXPECT_EQ(replies(p, port, 1), "A");
  EXPECT_GE(p.tick_ms() - t0, 195);
  // A reply still on its way when the port closes never comes.
  ASSERT_TRUE(port.write("MX00100\n"));
  port.close();
  EXPECT_EQ(replies(p, port, 1), "");
  EXPECT_FALSE(port.write("MX00001\n"));
}

TEST(RehearsalPort, OtherNumbersGoToTheRealLine) {
  test::ensure_qt_app();
  QtPlatform p;
  SerialPort& port = p.serial();
  ASSERT_TRUE(port.set_port_number(kPortRepetition));
  ASSERT_TRUE(port.set_port_number(5));
  EXPECT_EQ(port.port_number(), 5);
  EXPECT_EQ(port.device_path(5), "/dev/ttyACM4");
  // Nothing is behind /dev/ttyACM4 here: the opening fails and says why.
  EXPECT_FALSE(port.open());
  EXPECT_FALSE(port.last_error().empty());
}

}  // namespace
}  // namespace brivel
