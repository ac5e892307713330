#include "platform/qt/qt_platform.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QCoreApplication>
#include <chrono>
#include <filesystem>
#include <fstream>

#include "core/event_loop.h"
#include "platform/qt/port_table.h"
#include "platform/qt/qt_dialogs.h"

namespace brivel {
namespace {

namespace fs = std::filesystem;

fs::path fresh_dir(const char* tag) {
  fs::path d = fs::temp_directory_path() / ("brivel-qt-" + std::string(tag) + "-" + std::to_string(getpid()));
  fs::remove_all(d);
  fs::create_directories(d);
  return d;
}

TEST(PortTable, LinksFirstThenUsbDevicesNeverBuiltInPorts) {
  fs::path ports = fresh_dir("ports");
  fs::create_symlink("/dev/null", ports / "com7");
  struct Case {
    int n;
    std::string path;
  } cases[] = {{7, (ports / "com7").string()}, {1, "/dev/ttyACM0"}, {16, "/dev/ttyACM15"}, {17, "/dev/ttyUSB0"},
               {32, "/dev/ttyUSB15"},          {33, ""},             {0, ""},               {-2, ""}};
  for (const auto& c : cases) EXPECT_EQ(port_device_path(c.n, ports.string()), c.path) << c.n;
  EXPECT_EQ(port_number_of_device("/dev/ttyUSB3", ports.string()), 20);
  EXPECT_EQ(port_number_of_device("/dev/ttyACM0", ports.string()), 1);
  EXPECT_EQ(port_number_of_device("/dev/ttyS0", ports.string()), 0);
  EXPECT_EQ(port_number_of_device("/dev/null", ports.string()), 7) << "a device named by a link";
  fs::remove_all(ports);
}

TEST(EndProcesses, OnlyThisImageAndThisUserAndNotTheCaller) {
  // A fake /proc: 10 and 11 run our image, 12 another one, 13 ours but the
  // caller itself.
  fs::path proc = fresh_dir("proc");
  fs::path self_exe = proc / "brivel";
  std::ofstream(self_exe) << "x";
  std::ofstream(proc / "other") << "y";
  for (int pid : {10, 11, 12, 13}) fs::create_directories(proc / std::to_string(pid));
  fs::create_symlink(self_exe, proc / "10" / "exe");
  fs::create_symlink(self_exe, proc / "11" / "exe");
  fs::create_symlink(proc / "other", proc / "12" / "exe");
  fs::create_symlink(self_exe, proc / "13" / "exe");
  fs::create_directories(proc / "self");
  auto pids = processes_of_image(proc.string(), self_exe.string(), getuid(), 13);
  std::sort(pids.begin(), pids.end());
  EXPECT_EQ(pids, (std::vector<pid_t>{10, 11}));
  EXPECT_TRUE(processes_of_image(proc.string(), self_exe.string(), getuid() + 1, 13).empty());
  fs::remove_all(proc);
}

TEST(QtDialogs, FilterOfTheOlderFormBecomesQtForm) {
  EXPECT_EQ(qt_filter("Fichiers (*.mid)|*.mid|Tous (*.*)|*.*|"), "Fichiers (*.mid);;Tous (*.*)");
  EXPECT_EQ(qt_filter(""), "");
}

class QtLoop : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    static int argc = 1;
    static char name[] = "test";
    static char* argv[] = {name, nullptr};
    if (!QCoreApplication::instance()) new QCoreApplication(argc, argv);
  }
};

TEST_F(QtLoop, TurnBlocksUntilItsDeadlineInsteadOfSpinning) {
  QtPlatform p;
  struct Counting : EventLoop {
    QtPlatform& p;
    int turns = 0;
    explicit Counting(QtPlatform& q) : p(q) {}
    void turn(int w) override {
      ++turns;
      p.turn(w);
    }
    int32_t tick_ms() override { return p.tick_ms(); }
  } loop(p);
  auto t0 = std::chrono::steady_clock::now();
  attente_ms(loop, 50);
  auto spent = std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - t0);
  EXPECT_GE(spent.count(), 50);
  EXPECT_LT(loop.turns, 10) << "a wait must block, not spin";
}

TEST_F(QtLoop, TimerHandlersAreNotReentered) {
  QtPlatform p;
  int entries = 0, depth = 0, max_depth = 0;
  int id = p.add_timer(5, [&] {
    ++entries;
    max_depth = std::max(max_depth, ++depth);
    attente_ms(p, 30);
    --depth;
  });
  attente_ms(p, 120);
  p.remove_timer(id);
  EXPECT_GE(entries, 2);
  EXPECT_EQ(max_depth, 1);
}

TEST_F(QtLoop, PseudoTerminalPortReceivesAtATurnAndReopens) {
  int master = posix_openpt(O_RDWR | O_NOCTTY);
  ASSERT_GE(master, 0);
  ASSERT_EQ(grantpt(master), 0);
  ASSERT_EQ(unlockpt(master), 0);
  std::string slave = ptsname(master);
  int hold = open(slave.c_str(), O_RDWR | O_NOCTTY);  // keeps the pty alive between opens
  fs::path ports = fresh_dir("pty");
  fs::create_symlink(slave, ports / "com7");

  QtPlatform p;
  p.set_ports_folder(ports.string());
  SerialPort& s = p.serial();
  ASSERT_TRUE(s.set_port_number(7));
  ASSERT_TRUE(s.open());
  s.set_settings("57600,n,8,1");
  s.set_dtr(true);  // fails on a pty, silently
  s.set_rts(false);
  EXPECT_TRUE(s.is_open());
  std::string got;
  int events = 0;
  s.set_on_comm([&](int ev) {
    EXPECT_EQ(ev, SerialPort::kEvReceive);
    ++events;
    got += s.input();
  });
  ASSERT_TRUE(s.write("ONxxxxx\n"));
  attente_ms(p, 50);
  char buf[64];
  pollfd pfd{master, POLLIN, 0};
  ASSERT_EQ(poll(&pfd, 1, 2000), 1);
  ssize_t n = read(master, buf, sizeof buf);
  EXPECT_EQ(std::string(buf, n > 0 ? n : 0), "ONxxxxx\n");
  ASSERT_EQ(write(master, "A", 1), 1);
  for (int i = 0; i < 200 && got.empty(); ++i) p.turn(20);
  EXPECT_EQ(got, "A");
  EXPECT_EQ(events, 1);

  s.close();
  EXPECT_TRUE(s.open()) << "a closed port opens again";
  s.close();
  close(hold);
  close(master);
  fs::remove_all(ports);
}

}  // namespace
}  // namespace brivel
