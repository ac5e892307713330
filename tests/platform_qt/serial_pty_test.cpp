// The serial port on a pseudo-terminal given a number by a link in the ports
// folder, as the board simulator offers itself.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <stdlib.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "core/event_loop.h"
#include "platform/qt/qt_platform.h"
#include "platform_qt/qt_app.h"

namespace brivel {
namespace {

namespace fs = std::filesystem;

// A pty pair; the slave is linked as <folder>/com7 and held open between the
// program's openings, as the simulator holds it.
struct Pty {
  int master = -1, hold = -1;
  fs::path ports;

  Pty() {
    master = posix_openpt(O_RDWR | O_NOCTTY);
    if (master < 0 || grantpt(master) != 0 || unlockpt(master) != 0) return;
    std::string slave = ptsname(master);
    hold = open(slave.c_str(), O_RDWR | O_NOCTTY);
    ports = fs::temp_directory_path() / ("brivel-qt-pty-" + std::to_string(getpid()));
    fs::remove_all(ports);
    fs::create_directories(ports);
    fs::create_symlink(slave, ports / "com7");
  }
  ~Pty() {
    if (hold >= 0) close(hold);
    if (master >= 0) close(master);
    if (!ports.empty()) fs::remove_all(ports);
  }
  bool ok() const { return master >= 0 && hold >= 0; }

  // What the program wrote, as the board reads it.
  std::string read_master() {
    std::string got;
    pollfd pfd{master, POLLIN, 0};
    while (poll(&pfd, 1, got.empty() ? 2000 : 50) == 1) {
      char buf[64];
      ssize_t n = read(master, buf, sizeof buf);
      if (n <= 0) break;
      got.append(buf, static_cast<std::size_t>(n));
    }
    return got;
  }
  void send(const std::string& s) { ASSERT_EQ(write(master, s.data(), s.size()), static_cast<ssize_t>(s.size())); }
};

class QtSerial : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { test::ensure_qt_app(); }
  void SetUp() override {
    ASSERT_TRUE(pty.ok());
    p.set_ports_folder(pty.ports.string());
  }
  // Port 7 open on the pty.
  SerialPort& open7() {
    SerialPort& s = p.serial();
    EXPECT_TRUE(s.set_port_number(7));
    EXPECT_TRUE(s.open());
    return s;
  }
  // Turns the loop until `done` or two seconds have passed.
  template <class F>
  void turn_until(F done) {
    for (int32_t t0 = p.tick_ms(); !done() && p.tick_ms() - t0 < 2000;) p.turn(20);
  }
  Pty pty;
  QtPlatform p;
};

TEST_F(QtSerial, OpensWritesAndReceivesAtATurnThenReopens) {
  SerialPort& s = open7();
  s.set_settings("57600,n,8,1");
  s.set_dtr(true);  // a pty has no modem lines: this fails there, silently
  s.set_rts(true);
  s.set_dtr(false);
  s.set_rts(false);
  EXPECT_TRUE(s.is_open()) << "modem lines that can't be set are no failed connection";
  EXPECT_FALSE(s.set_port_number(8)) << "the number can't change while the port is open";
  EXPECT_FALSE(s.open()) << "an open port doesn't open again";

  std::string got;
  int events = 0;
  s.set_on_comm([&](int ev) {
    EXPECT_EQ(ev, SerialPort::kEvReceive);
    ++events;
    got += s.input();
  });
  ASSERT_TRUE(s.write("ONxxxxx\n"));
  EXPECT_EQ(pty.read_master(), "ONxxxxx\n") << "written at once, before any turn";

  pty.send("A");
  EXPECT_EQ(events, 0) << "a reply reaches the program only at a turn";
  turn_until([&] { return !got.empty(); });
  attente_ms(p, 30);
  EXPECT_EQ(got, "A");
  EXPECT_EQ(events, 1);

  s.close();
  EXPECT_FALSE(s.is_open());
  EXPECT_FALSE(s.write("ZGxxxxx\n")) << "a closed port writes nothing";
  ASSERT_TRUE(s.open()) << "a closed port opens again";
  ASSERT_TRUE(s.write("ZGxxxxx\n"));
  EXPECT_EQ(pty.read_master(), "ZGxxxxx\n");
  s.close();
}

TEST_F(QtSerial, ACountedReplyRaisesOneEventWhenItsFiveCharactersAreIn) {
  SerialPort& s = open7();
  std::vector<std::string> events;
  s.set_on_comm([&](int) { events.push_back(s.input()); });
  s.set_rthreshold(5);
  s.set_input_len(5);
  pty.send("003");
  attente_ms(p, 50);
  EXPECT_TRUE(events.empty()) << "fewer than five characters raise no event";
  EXPECT_EQ(s.in_buffer_count(), 3);
  pty.send("12");
  turn_until([&] { return !events.empty(); });
  attente_ms(p, 30);
  EXPECT_EQ(events, std::vector<std::string>{"00312"});

  // Back to single characters: two bytes that came together make two
  // events, the second one at a later turn after the first took its byte.
  s.set_rthreshold(1);
  s.set_input_len(1);
  events.clear();
  pty.send("AB");
  turn_until([&] { return events.size() >= 2; });
  attente_ms(p, 30);
  EXPECT_EQ(events, (std::vector<std::string>{"A", "B"}));
  s.close();
}

TEST_F(QtSerial, AHandlerThatLeavesTheBytesIsNotCalledOverAndOver) {
  SerialPort& s = open7();
  int events = 0;
  s.set_on_comm([&](int) { ++events; });  // a counted reply already pending: nothing read
  pty.send("X");
  turn_until([&] { return events > 0; });
  attente_ms(p, 50);
  EXPECT_EQ(events, 1);
  EXPECT_EQ(s.in_buffer_count(), 1);
  s.close();
}

TEST_F(QtSerial, BytesThatComeWhileAHandlerWaitsInsideAreNotLost) {
  SerialPort& s = open7();
  std::vector<std::string> events;
  s.set_on_comm([&](int) {
    events.push_back(s.input());
    if (events.size() == 1) {
      pty.send("B");
      attente_ms(p, 50);  // the second byte arrives during this wait
    }
  });
  pty.send("A");
  turn_until([&] { return events.size() >= 2; });
  EXPECT_EQ(events, (std::vector<std::string>{"A", "B"}));
  s.close();
}

TEST_F(QtSerial, ADeviceThatGoesAwayFailsTheWrites) {
  SerialPort& s = open7();
  close(pty.master);  // the board is unplugged
  pty.master = -1;
  bool written = true;
  for (int i = 0; i < 5 && written; ++i) {
    written = s.write("MX00012\n");
    attente_ms(p, 10);
  }
  EXPECT_FALSE(written);
  EXPECT_FALSE(s.is_open());
}

TEST_F(QtSerial, ALineWhoseOtherEndIsGoneIsSeenAtOnceWithoutAWrite) {
  // The simulator killed: nothing is written, the port must still be seen
  // gone, and the console told as by a removal.
  int removals = 0;
  p.devices().set_on_removal([&] { ++removals; });
  SerialPort& s = open7();
  // A simulator that ends takes its link with it: the port is still named
  // by the link it was opened through.
  std::filesystem::remove(pty.ports / "com7");
  close(pty.master);
  pty.master = -1;
  const int32_t t0 = p.tick_ms();
  turn_until([&] { return !s.is_open(); });
  EXPECT_FALSE(s.is_open());
  EXPECT_LT(p.tick_ms() - t0, 1000);
  EXPECT_EQ(removals, 1);
  EXPECT_NE(s.last_error().find("Port 7 ("), std::string::npos) << s.last_error();
  EXPECT_NE(s.last_error().find("/com7)"), std::string::npos) << s.last_error();
  EXPECT_NE(s.last_error().find("liaison perdue"), std::string::npos) << s.last_error();
}

TEST_F(QtSerial, AFailedOpeningOrNumberSaysWhy) {
  std::ofstream(pty.ports / "plain.txt") << "x";
  fs::create_symlink(pty.ports / "plain.txt", pty.ports / "com8");
  fs::create_symlink(pty.ports, pty.ports / "com9");
  fs::create_symlink(pty.ports / "nowhere", pty.ports / "com10");
  struct Case {
    int port;
    std::string why;
  } cases[] = {
      {8, "Port 8 (" + (pty.ports / "com8").string() + ") : ce n'est pas un port série"},
      {9, "Port 9 (" + (pty.ports / "com9").string() + ") : ce n'est pas un port série"},
      {10, "Port 10 (" + (pty.ports / "com10").string() + ") : le périphérique n'existe pas"},
  };
  SerialPort& s = p.serial();
  for (const auto& c : cases) {
    ASSERT_TRUE(s.set_port_number(c.port));
    EXPECT_FALSE(s.open());
    EXPECT_EQ(s.last_error().rfind(c.why, 0), 0u) << s.last_error();
  }
  for (int outside : {0, -1, 33}) EXPECT_FALSE(s.set_port_number(outside)) << outside;
  EXPECT_FALSE(s.set_port_number(40));
  EXPECT_EQ(s.last_error().rfind("Port 40 : aucun port série ne porte ce numéro", 0), 0u) << s.last_error();
  // Port 3 has no link: the table's /dev/ttyACM2, absent on a test machine
  // without boards.
  if (!fs::exists("/dev/ttyACM2")) {
    ASSERT_TRUE(s.set_port_number(3));
    EXPECT_FALSE(s.open());
    EXPECT_FALSE(s.is_open());
  }
  ASSERT_TRUE(s.set_port_number(7));
  ASSERT_TRUE(s.open());
  EXPECT_EQ(s.last_error(), "");
  s.close();
}

}  // namespace
}  // namespace brivel
