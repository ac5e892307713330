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
using Clock = std::chrono::steady_clock;

fs::path fresh_dir(const std::string& tag) {
  fs::path d = fs::temp_directory_path() / ("brivel-qt-" + tag + "-" + std::to_string(getpid()));
  fs::remove_all(d);
  fs::create_directories(d);
  return d;
}

TEST(PortTable, NumbersToDevicesAndBack) {
  fs::path ports = fresh_dir("ports");
  fs::create_symlink("/dev/null", ports / "com7");
  fs::create_symlink("/dev/ttyUSB4", ports / "com2");  // a link wins over the table
  fs::create_symlink("/dev/null", ports / "notaport");
  const std::pair<int, std::string> paths[] = {{7, (ports / "com7").string()},
                                               {2, (ports / "com2").string()},
                                               {1, "/dev/ttyACM0"},
                                               {16, "/dev/ttyACM15"},
                                               {17, "/dev/ttyUSB0"},
                                               {32, "/dev/ttyUSB15"},
                                               {33, ""},
                                               {0, ""},
                                               {-2, ""}};
  for (const auto& [n, path] : paths) EXPECT_EQ(port_device_path(n, ports.string()), path) << n;
  EXPECT_EQ(port_device_path(7, ""), "/dev/ttyACM6") << "no ports folder: the table alone";
  EXPECT_EQ(port_device_path(7, (ports / "absent").string()), "/dev/ttyACM6");
  // Built-in ports never get a number; /dev/null is named by a link.
  const std::pair<const char*, int> nodes[] = {{"/dev/ttyACM0", 1},  {"/dev/ttyACM15", 16}, {"/dev/ttyACM16", 0},
                                               {"/dev/ttyUSB0", 17}, {"/dev/ttyUSB3", 20},  {"/dev/ttyUSB15", 32},
                                               {"/dev/ttyUSB16", 0}, {"/dev/ttyS0", 0},     {"/dev/ttyACM", 0},
                                               {"/dev/ttyACM1x", 0}, {"/dev/tty0", 0},      {"/dev/null", 7}};
  for (auto [node, n] : nodes) EXPECT_EQ(port_number_of_device(node, ports.string()), n) << node;
  fs::remove_all(ports);
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

TEST(EndProcesses, OnlyThisImageAndThisUserAndNotTheCaller) {
  // A fake /proc: 10 and 11 run our image, 12 another one, 13 ours but is
  // the caller itself, 14 has no readable executable, "self" and "net" are no
  // processes at all.
  fs::path proc = fresh_dir("proc");
  const fs::path self_exe = proc / "brivel";
  std::ofstream(self_exe) << "x";
  std::ofstream(proc / "other") << "y";
  fs::create_directories(proc / "net");
  for (auto [d, exe] : {std::pair{"10", self_exe},
                        {"11", self_exe},
                        {"12", proc / "other"},
                        {"13", self_exe},
                        {"14", proc / "gone"},
                        {"self", self_exe}}) {
    fs::create_directories(proc / d);
    fs::create_symlink(exe, proc / d / "exe");
  }
  auto pids = processes_of_image(proc.string(), self_exe.string(), getuid(), 13);
  std::sort(pids.begin(), pids.end());
  EXPECT_EQ(pids, (std::vector<pid_t>{10, 11}));
  EXPECT_TRUE(processes_of_image(proc.string(), self_exe.string(), getuid() + 1, 13).empty()) << "another user's";
  EXPECT_TRUE(processes_of_image(proc.string(), (proc / "missing").string(), getuid(), 13).empty());
  fs::remove_all(proc);
}

TEST(LineSettings, TheOlderSettingsString) {
  const std::tuple<const char*, int, char, int, int> good[] = {{"57600,n,8,1", 57600, 'n', 8, 2},
                                                               {"57600,N,8,1", 57600, 'n', 8, 2},
                                                               {" 9600 , E , 7 , 2 ", 9600, 'e', 7, 4},
                                                               {"115200,o,5,1.5", 115200, 'o', 5, 3}};
  for (auto [text, baud, parity, bits, stop_halves] : good) {
    auto ls = parse_line_settings(text);
    ASSERT_TRUE(ls.has_value()) << text;
    EXPECT_EQ(std::tuple(ls->baud, ls->parity, ls->data_bits, ls->stop_halves),
              std::tuple(baud, parity, bits, stop_halves))
        << text;
  }
  for (const char* bad :
       {"57600,n,8", "57600,n,8,1,1", "57600,x,8,1", "57600,n,9,1", "57600,n,8,3", "0,n,8,1", "fast,n,8,1", ""})
    EXPECT_FALSE(parse_line_settings(bad).has_value()) << bad;
}

TEST(QtDialogs, FiltersOfTheOlderFormBecomeQtFilters) {
  const std::string midi = "Fichiers (*.mid)|*.mid|Tous (*.*)|*.*|";
  EXPECT_EQ(qt_filter(midi), "Fichiers (*.mid);;Tous (*.*)");
  EXPECT_EQ(qt_filter("Paramètres (*.set)|*.set"), "Paramètres (*.set)") << "no closing bar";
  EXPECT_EQ(qt_filter(""), "");
  for (auto [index, filter] :
       {std::pair{1, "Fichiers (*.mid)"}, {2, "Tous (*.*)"}, {3, "Fichiers (*.mid)"}, {0, "Fichiers (*.mid)"}})
    EXPECT_EQ(qt_selected_filter(midi, index), filter) << index;
  EXPECT_EQ(qt_selected_filter("", 1), "");
}

TEST(Desktop, DocumentsAddressesAndShippedFiles) {
  fs::path dir = fresh_dir("doc");
  std::ofstream(dir / "Brivel.htm") << "<html></html>";
  const QString here = QString::fromStdString(dir.string());
  const QUrl page = QUrl::fromLocalFile(QString::fromStdString((dir / "Brivel.htm").string()));
  EXPECT_EQ(document_url("Brivel.htm", here), page) << "from the current folder";
  EXPECT_EQ(document_url((dir / "Brivel.htm").string(), "/"), page) << "a full path";
  for (const char* address : {"https://brivel.example.org", "mailto:contact@brivel.example.org"})
    EXPECT_EQ(document_url(address, here), QUrl(address));
  for (const char* nothing : {"Absent.htm", "", "   "}) EXPECT_FALSE(document_url(nothing, here).isValid()) << nothing;

  // The shipped files: from the current folder, an installation, then a build folder.
  const fs::path root = fresh_dir("data");
  for (const char* d : {"cwd", "prefix/bin", "prefix/share/brivel", "build/apps/brivel", "build/share/brivel"})
    fs::create_directories(root / d);
  const std::string cwd = root / "cwd", installed = root / "prefix/bin", built = root / "build/apps/brivel";
  EXPECT_EQ(find_data_file("Brivel.htm", installed, cwd), "") << "found nowhere";
  for (const char* p : {"build/share/brivel/Brivel.htm", "prefix/share/brivel/Brivel.htm"})
    std::ofstream(root / p) << "x";
  EXPECT_EQ(find_data_file("Brivel.htm", built, cwd), root / "build/share/brivel/Brivel.htm");
  EXPECT_EQ(find_data_file("Brivel.htm", installed, cwd), root / "prefix/share/brivel/Brivel.htm");
  fs::create_directories(root / "cwd/Brivel.htm");  // a folder of that name is no page
  EXPECT_EQ(find_data_file("Brivel.htm", installed, cwd), root / "prefix/share/brivel/Brivel.htm");
  fs::remove(root / "cwd/Brivel.htm");
  std::ofstream(root / "cwd/Brivel.htm") << "x";
  EXPECT_EQ(find_data_file("Brivel.htm", installed, cwd), root / "cwd/Brivel.htm");
  fs::remove_all(root);
  fs::remove_all(dir);
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
  static long ms_since(Clock::time_point t0) {
    return static_cast<long>(std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - t0).count());
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

// A turn blocks until something happens and wakes for the caller's deadline.
TEST_F(QtLoop, AWaitBlocksUntilItsDeadlineAndATimerWakesATurn) {
  CountingLoop loop(p);
  auto t0 = Clock::now();
  int32_t tick0 = p.tick_ms();
  attente_ms(loop, 50);
  EXPECT_GE(ms_since(t0), 50);
  EXPECT_LT(loop.turns, 10) << "a wait must block, not spin";
  EXPECT_GT(p.tick_ms() - tick0, 50) << "the tick counts milliseconds; the wait ends only past its deadline";
  EXPECT_LT(p.tick_ms() - tick0, 1000);
  t0 = Clock::now();
  for (int i = 0; i < 20; ++i) p.turn(0);
  EXPECT_LT(ms_since(t0), 100) << "a zero turn does not block";
  int ticks = 0;
  int id = p.add_timer(20, [&] { ++ticks; });
  t0 = Clock::now();
  p.turn(-1);
  EXPECT_GE(ms_since(t0), 15) << "a turn without a deadline waits for the timer";
  p.remove_timer(id);
  EXPECT_EQ(ticks, 1);
}

// A timer handler still on the stack is not entered again, and a nested
// wait keeps the deadline of the wait below.
TEST_F(QtLoop, TimerHandlersAreNotReenteredAndNestedWaitsKeepTheirDeadline) {
  int entries = 0, depth = 0, max_depth = 0;
  int id = p.add_timer(5, [&] {
    ++entries;
    max_depth = std::max(max_depth, ++depth);
    attente_ms(p, 30);
    --depth;
  });
  const auto t0 = Clock::now();
  attente_ms(p, 120);
  const long spent = ms_since(t0);
  p.remove_timer(id);
  EXPECT_GE(entries, 2);
  EXPECT_EQ(max_depth, 1);
  EXPECT_GE(spent, 120);
  EXPECT_LT(spent, 500);
}

TEST_F(QtLoop, ATimerRemovedInItsOwnHandlerTicksNoMore) {
  int ticks = 0, id = 0;
  id = p.add_timer(5, [&] {
    ++ticks;
    p.remove_timer(id);
    attente_ms(p, 20);  // turns with the removed timer's signal on the stack
  });
  attente_ms(p, 80);
  EXPECT_EQ(ticks, 1);
  int other = p.add_timer(5, [] {});
  EXPECT_NE(other, id) << "ids are never reused";
  p.remove_timer(other);
  p.remove_timer(id);  // a second removal is harmless
}

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
  // The board unplugged.
  void unplug() {
    close(master);
    master = -1;
  }
};

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

TEST_F(QtSerial, ACountedReplyRaisesOneEventWhenItsFiveCharactersAreIn) {
  open7();
  std::vector<std::string> events;
  s.set_on_comm([&](int) { events.push_back(s.input()); });
  s.set_rthreshold(5);
  s.set_input_len(5);
  send("003");
  attente_ms(p, 50);
  EXPECT_TRUE(events.empty()) << "fewer than five characters raise no event";
  EXPECT_EQ(s.in_buffer_count(), 3);
  send("12");
  turn_until([&] { return !events.empty(); });
  attente_ms(p, 30);
  EXPECT_EQ(events, std::vector<std::string>{"00312"});
  // Back to single characters: two bytes that came together make two
  // events, the second one at a later turn after the first took its byte.
  s.set_rthreshold(1);
  s.set_input_len(1);
  events.clear();
  send("AB");
  turn_until([&] { return events.size() >= 2; });
  attente_ms(p, 30);
  EXPECT_EQ(events, (std::vector<std::string>{"A", "B"}));
}

TEST_F(QtSerial, AHandlerThatLeavesTheBytesIsNotCalledOverAndOver) {
  open7();
  int events = 0;
  s.set_on_comm([&](int) { ++events; });  // a counted reply already pending: nothing read
  send("X");
  turn_until([&] { return events > 0; });
  attente_ms(p, 50);
  EXPECT_EQ(events, 1);
  EXPECT_EQ(s.in_buffer_count(), 1);
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

TEST_F(QtSerial, ADeviceThatGoesAwayFailsTheWrites) {
  open7();
  unplug();
  bool written = true;
  for (int i = 0; i < 5 && written; ++i) {
    written = s.write("MX00012\n");
    attente_ms(p, 10);
  }
  EXPECT_FALSE(written);
  EXPECT_FALSE(s.is_open());
}

// The simulator killed: nothing is written, the port must still be seen
// gone, and the console told as by a removal. A simulator that ends takes its
// link with it: the port is still named by the link it was opened through.
TEST_F(QtSerial, ALineWhoseOtherEndIsGoneIsSeenAtOnceWithoutAWrite) {
  int removals = 0;
  p.devices().set_on_removal([&] { ++removals; });
  open7();
  fs::remove(ports / "com7");
  unplug();
  const int32_t t0 = p.tick_ms();
  turn_until([&] { return !s.is_open(); });
  EXPECT_FALSE(s.is_open());
  EXPECT_LT(p.tick_ms() - t0, 1000);
  EXPECT_EQ(removals, 1);
  for (const char* part : {"Port 7 (", "/com7)", "liaison perdue"})
    EXPECT_NE(s.last_error().find(part), std::string::npos) << s.last_error();
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

// The rehearsal machine: its own port number, the board model's replies at
// the durations the board was sent, and every other number left to the real
// line.
TEST_F(QtLoop, RehearsalPortAnswersAtTheBoardsPace) {
  SerialPort& port = p.serial();
  std::string got;
  port.set_on_comm([&](int) { got += port.input(); });
  ASSERT_TRUE(port.set_port_number(kPortRepetition));
  ASSERT_TRUE(port.open());
  EXPECT_FALSE(port.set_port_number(5)) << "the number changes only while the port is closed";
  port.set_rthreshold(1);
  port.set_input_len(0);
  port.set_dtr(true);
  // 1000 µs an X step (a parameter: no reply): 200 steps take 200 ms before the board says "A".
  ASSERT_TRUE(port.write("PX01000\n"));
  const int32_t t0 = p.tick_ms();
  ASSERT_TRUE(port.write("MX00200\n"));
  turn_until([&] { return !got.empty(); });
  EXPECT_EQ(got, "A");
  EXPECT_GE(p.tick_ms() - t0, 195);
  // A reply still on its way when the port closes never comes.
  ASSERT_TRUE(port.write("MX00100\n"));
  port.close();
  got.clear();
  turn_until([&] { return !got.empty(); });
  EXPECT_EQ(got, "");
  EXPECT_FALSE(port.write("MX00001\n"));
  // Other numbers go to the real line: nothing is behind /dev/ttyACM4 here.
  ASSERT_TRUE(port.set_port_number(5));
  EXPECT_EQ(port.port_number(), 5);
  EXPECT_EQ(port.device_path(5), "/dev/ttyACM4");
  EXPECT_FALSE(port.open());
  EXPECT_FALSE(port.last_error().empty());
}

}  // namespace
}  // namespace brivel
