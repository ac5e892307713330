// The real platform: its pure pieces (port numbers, the processes the quit
// ends, line settings, dialog filters, document addresses, shipped files),
// the turn of the event loop, the serial port on a pseudo-terminal named by a
// link in the ports folder, and the rehearsal machine's port.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <stdlib.h>
#include <unistd.h>

#include <QCoreApplication>
#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>

#include "core/event_loop.h"
#include "platform/qt/data_files.h"
#include "platform/qt/desktop.h"
#include "platform/qt/line_settings.h"
#include "platform/qt/port_table.h"
#include "platform/qt/qt_devices.h"
#include "platform/qt/qt_dialogs.h"
#include "platform/qt/qt_platform.h"
#include "platform/qt/rehearsal_port.h"

namespace brivel {
namespace {
namespace fs = std::filesystem;

fs::path fresh_dir(const std::string& tag) {
  fs::path d = fs::temp_directory_path() / ("brivel-qt-" + tag + "-" + std::to_string(getpid()));
  fs::remove_all(d);
  fs::create_directories(d);
  return d;
}

TEST(Devices, UdevEventsOfTheTtySubsystem) {
  fs::path ports = fresh_dir("udev");
  fs::create_symlink("/dev/null", ports / "com5");
  // A node without a number is nothing to open; any removal closes the port.
  const std::tuple<const char*, const char*, DeviceChange::Kind, const char*> cases[] = {
      {"add", "/dev/ttyACM0", DeviceChange::Arrival, "COM1"},
      {"add", "/dev/ttyUSB1", DeviceChange::Arrival, "COM18"},
      {"add", "/dev/null", DeviceChange::Arrival, "COM5"},
      {"add", "/dev/ttyS0", DeviceChange::None, ""},
      {"add", "", DeviceChange::None, ""},
      {"change", "/dev/ttyACM0", DeviceChange::None, ""},
      {"bind", "/dev/ttyACM0", DeviceChange::None, ""},
      {"remove", "/dev/ttyACM0", DeviceChange::Removal, ""},
      {"remove", "/dev/ttyS3", DeviceChange::Removal, ""},
      {"remove", "", DeviceChange::Removal, ""}};
  for (auto [action, node, kind, name] : cases) {
    const DeviceChange d = device_change(action, node, ports.string());
    EXPECT_EQ(std::pair(d.kind, d.name), std::pair(kind, std::string(name))) << action << " " << node;
  }
  fs::remove_all(ports);
}

// Who holds a port: the flock on its device, as /proc/locks lists it (major and minor in hex).
TEST(PortHolder, TheFlockOnTheDeviceNamesItsProcess) {
  const std::string locks =
      "1: POSIX  ADVISORY  WRITE 77 00:19:6 0 EOF\n"
      "2: FLOCK  ADVISORY  WRITE 4242 00:1a:6 0 EOF\n"
      "2: -> FLOCK  ADVISORY  WRITE 5151 00:1a:6 0 EOF\n"
      "3: FLOCK  ADVISORY  WRITE 99 00:1a:7 0 EOF\n";
  EXPECT_EQ(flock_holder(locks, 0, 0x1a, 6), 4242);
  EXPECT_EQ(flock_holder(locks, 0, 0x19, 6), 0) << "a POSIX lock is not a console's";
  EXPECT_EQ(flock_holder(locks, 0, 0x1a, 8), 0);
  EXPECT_EQ(flock_holder("garbage\n\n", 0, 0x1a, 6), 0);
}

// One QCoreApplication for every test that turns the loop.
class QtLoop : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    static int argc = 1;
    static char name[] = "test_platform_qt";
    static char* argv[] = {name, nullptr};
    if (!QCoreApplication::instance()) new QCoreApplication(argc, argv);
  }
  // Turns the loop until `done` or two seconds have passed.
  template <class F>
  void turn_until(F done) {
    for (int32_t t0 = p.tick_ms(); !done() && p.tick_ms() - t0 < 2000;) p.turn(20);
  }
  QtPlatform p;
};

// Counts the turns that a wait takes.
struct CountingLoop : EventLoop {
  QtPlatform& p;
  int turns = 0;
  explicit CountingLoop(QtPlatform& q) : p(q) {}
  void turn(int wake_within_ms) override {
    ++turns;
    p.turn(wake_within_ms);
  }
  int32_t tick_ms() override { return p.tick_ms(); }
};

// A pty pair; the slave is linked as <ports>/com7 and held open between the
// program's openings, as the board simulator holds it.
struct QtSerial : QtLoop {
  int master = -1, hold = -1;
  fs::path ports;
  SerialPort& s = p.serial();

  void SetUp() override {
    master = posix_openpt(O_RDWR | O_NOCTTY);
    ASSERT_TRUE(master >= 0 && grantpt(master) == 0 && unlockpt(master) == 0);
    const std::string slave = ptsname(master);
    hold = open(slave.c_str(), O_RDWR | O_NOCTTY);
    ASSERT_GE(hold, 0);
    ports = fresh_dir("pty");
    fs::create_symlink(slave, ports / "com7");
    p.set_ports_folder(ports.string());
  }
  void TearDown() override {
    if (s.is_open()) s.close();
    for (int fd : {hold, master})
      if (fd >= 0) close(fd);
    fs::remove_all(ports);
  }
  // Port 7 open on the pty.
  void open7() {
    EXPECT_TRUE(s.set_port_number(7));
    EXPECT_TRUE(s.open());
  }
  // What the program wrote, as the board reads it.
  std::string read_master() {
    std::string got;
    pollfd pfd{master, POLLIN, 0};
    for (char buf[64]; poll(&pfd, 1, got.empty() ? 2000 : 50) == 1;) {
      const ssize_t n = read(master, buf, sizeof buf);
      if (n <= 0) break;
      got.append(buf, static_cast<std::size_t>(n));
    }
    return got;
  }
  void send(const std::string& b) { ASSERT_EQ(write(master, b.data(), b.size()), static_cast<ssize_t>(b.size())); }
};

// A rehearsal link is an arrival whether its folder was there at start, is
// made later by the simulator, or is taken away and made again; and so is a
// link made again at once in the same place to the same device (a simulator
// started again), whose inode may be the old one's.
TEST_F(QtLoop, ALinkInThePortsFolderArrivesWhenTheFolderComesLater) {
  const fs::path home = fresh_dir("home"), ports = home / "ports";
  std::ofstream(home / "target") << "x";
  QtDevices d;
  std::size_t arrived = 0;
  d.set_on_arrival([&](int, int, const std::string& name) { arrived += name == "COM4"; });
  d.set_ports_folder(ports.string());
  const auto settle = [this] {
    for (int32_t t0 = p.tick_ms(); p.tick_ms() - t0 < 100;) p.turn(20);
  };
  for (std::size_t round = 0; round < 2; ++round) {
    fs::create_directories(ports);
    settle();  // the folder's own watch is taken before the link comes
    fs::create_symlink(home / "target", ports / "com4");
    turn_until([&] { return arrived == 2 * round + 1; });
    settle();
    fs::remove(ports / "com4");
    fs::create_symlink(home / "target", ports / "com4");
    turn_until([&] { return arrived == 2 * round + 2; });
    EXPECT_EQ(arrived, 2 * round + 2) << round;
    fs::remove_all(ports);
    settle();
  }
  fs::remove_all(home);
}

TEST_F(QtSerial, OpensWritesAndReceivesAtATurnThenReopens) {
  open7();
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
  EXPECT_EQ(read_master(), "ONxxxxx\n") << "written at once, before any turn";
  send("A");
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
  EXPECT_EQ(read_master(), "ZGxxxxx\n");
}

TEST_F(QtSerial, BytesThatComeWhileAHandlerWaitsInsideAreNotLost) {
  open7();
  std::vector<std::string> events;
  s.set_on_comm([&](int) {
    events.push_back(s.input());
    if (events.size() > 1) return;
    send("B");
    attente_ms(p, 50);  // the second byte arrives during this wait
  });
  send("A");
  turn_until([&] { return events.size() >= 2; });
  EXPECT_EQ(events, (std::vector<std::string>{"A", "B"}));
}

TEST_F(QtSerial, AFailedOpeningOrNumberSaysWhy) {
  std::ofstream(ports / "plain.txt") << "x";
  fs::create_symlink(ports / "plain.txt", ports / "com8");
  fs::create_symlink(ports, ports / "com9");
  fs::create_symlink(ports / "nowhere", ports / "com10");
  const std::pair<int, std::string> cases[] = {
      {8, "Port 8 (" + (ports / "com8").string() + ") : ce n'est pas un port série"},
      {9, "Port 9 (" + (ports / "com9").string() + ") : ce n'est pas un port série"},
      {10, "Port 10 (" + (ports / "com10").string() + ") : le périphérique n'existe pas"},
  };
  for (const auto& [port, why] : cases) {
    ASSERT_TRUE(s.set_port_number(port));
    EXPECT_FALSE(s.open());
    EXPECT_EQ(s.last_error().rfind(why, 0), 0u) << s.last_error();
  }
  for (int outside : {0, -1, 33}) EXPECT_FALSE(s.set_port_number(outside)) << outside;
  EXPECT_FALSE(s.set_port_number(40));
  EXPECT_EQ(s.last_error().rfind("Port 40 : aucun port série ne porte ce numéro", 0), 0u) << s.last_error();
  // Port 3 has no link: the table's /dev/ttyACM2, absent on a test machine without boards.
  if (!fs::exists("/dev/ttyACM2")) {
    ASSERT_TRUE(s.set_port_number(3));
    EXPECT_FALSE(s.open() || s.is_open());
  }
  ASSERT_TRUE(s.set_port_number(7));
  ASSERT_TRUE(s.open());
  EXPECT_EQ(s.last_error(), "");
}

}  // namespace
}  // namespace brivel
