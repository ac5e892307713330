// The pure pieces of the real platform: port numbers, the processes the quit
// ends, the line settings, dialog filters and document addresses.
#include <gtest/gtest.h>
#include <unistd.h>

#include <QDir>
#include <algorithm>
#include <filesystem>
#include <fstream>

#include "platform/qt/desktop.h"
#include "platform/qt/line_settings.h"
#include "platform/qt/port_table.h"
#include "platform/qt/qt_devices.h"
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

TEST(PortTable, NumbersToDevicesAndBack) {
  fs::path ports = fresh_dir("ports");
  fs::create_symlink("/dev/null", ports / "com7");
  fs::create_symlink("/dev/ttyUSB4", ports / "com2");  // a link wins over the table
  fs::create_symlink("/dev/null", ports / "notaport");
  struct Case {
    int n;
    std::string path;
  } cases[] = {{7, (ports / "com7").string()},
               {2, (ports / "com2").string()},
               {1, "/dev/ttyACM0"},
               {16, "/dev/ttyACM15"},
               {17, "/dev/ttyUSB0"},
               {32, "/dev/ttyUSB15"},
               {33, ""},
               {0, ""},
               {-2, ""}};
  for (const auto& c : cases) EXPECT_EQ(port_device_path(c.n, ports.string()), c.path) << c.n;
  EXPECT_EQ(port_device_path(7, ""), "/dev/ttyACM6") << "no ports folder: the table alone";
  EXPECT_EQ(port_device_path(7, (ports / "absent").string()), "/dev/ttyACM6");
  // Built-in ports never get a number.
  struct Node {
    const char* node;
    int n;
  } nodes[] = {
      {"/dev/ttyACM0", 1},  {"/dev/ttyACM15", 16}, {"/dev/ttyACM16", 0}, {"/dev/ttyUSB0", 17},
      {"/dev/ttyUSB3", 20}, {"/dev/ttyUSB15", 32}, {"/dev/ttyUSB16", 0}, {"/dev/ttyS0", 0},
      {"/dev/ttyACM", 0},   {"/dev/ttyACM1x", 0},  {"/dev/tty0", 0},     {"/dev/null", 7},  // named by a link
  };
  for (const auto& c : nodes) EXPECT_EQ(port_number_of_device(c.node, ports.string()), c.n) << c.node;
  fs::remove_all(ports);
}

TEST(Devices, UdevEventsOfTheTtySubsystem) {
  fs::path ports = fresh_dir("udev");
  fs::create_symlink("/dev/null", ports / "com5");
  struct Case {
    const char* action;
    const char* node;
    DeviceChange::Kind kind;
    const char* name;
  } cases[] = {
      {"add", "/dev/ttyACM0", DeviceChange::Arrival, "COM1"},
      {"add", "/dev/ttyUSB1", DeviceChange::Arrival, "COM18"},
      {"add", "/dev/null", DeviceChange::Arrival, "COM5"},  // through its link
      {"add", "/dev/ttyS0", DeviceChange::None, ""},        // no number: nothing to open
      {"add", "", DeviceChange::None, ""},
      {"change", "/dev/ttyACM0", DeviceChange::None, ""},
      {"bind", "/dev/ttyACM0", DeviceChange::None, ""},
      {"remove", "/dev/ttyACM0", DeviceChange::Removal, ""},
      {"remove", "/dev/ttyS3", DeviceChange::Removal, ""},  // any removal closes the port
      {"remove", "", DeviceChange::Removal, ""},
  };
  for (const auto& c : cases) {
    DeviceChange d = device_change(c.action, c.node, ports.string());
    EXPECT_EQ(d.kind, c.kind) << c.action << " " << c.node;
    EXPECT_EQ(d.name, c.name) << c.action << " " << c.node;
  }
  fs::remove_all(ports);
}

TEST(EndProcesses, OnlyThisImageAndThisUserAndNotTheCaller) {
  // A fake /proc: 10 and 11 run our image, 12 another one, 13 ours but is
  // the caller itself, 14 has no readable executable, "self" and "net" are no
  // processes at all.
  fs::path proc = fresh_dir("proc");
  fs::path self_exe = proc / "brivel";
  std::ofstream(self_exe) << "x";
  std::ofstream(proc / "other") << "y";
  for (const char* d : {"10", "11", "12", "13", "14", "self", "net"}) fs::create_directories(proc / d);
  fs::create_symlink(self_exe, proc / "10" / "exe");
  fs::create_symlink(self_exe, proc / "11" / "exe");
  fs::create_symlink(proc / "other", proc / "12" / "exe");
  fs::create_symlink(self_exe, proc / "13" / "exe");
  fs::create_symlink(proc / "gone", proc / "14" / "exe");
  fs::create_symlink(self_exe, proc / "self" / "exe");
  auto pids = processes_of_image(proc.string(), self_exe.string(), getuid(), 13);
  std::sort(pids.begin(), pids.end());
  EXPECT_EQ(pids, (std::vector<pid_t>{10, 11}));
  EXPECT_TRUE(processes_of_image(proc.string(), self_exe.string(), getuid() + 1, 13).empty())
      << "processes of another user are left alone";
  EXPECT_TRUE(processes_of_image(proc.string(), (proc / "missing").string(), getuid(), 13).empty());
  fs::remove_all(proc);
}

TEST(LineSettings, TheOlderSettingsString) {
  struct Case {
    const char* text;
    bool ok;
    int baud;
    char parity;
    int bits, stop_halves;
  } cases[] = {
      {"57600,n,8,1", true, 57600, 'n', 8, 2},
      {"57600,N,8,1", true, 57600, 'n', 8, 2},
      {" 9600 , E , 7 , 2 ", true, 9600, 'e', 7, 4},
      {"115200,o,5,1.5", true, 115200, 'o', 5, 3},
      {"57600,n,8", false, 0, 0, 0, 0},
      {"57600,n,8,1,1", false, 0, 0, 0, 0},
      {"57600,x,8,1", false, 0, 0, 0, 0},
      {"57600,n,9,1", false, 0, 0, 0, 0},
      {"57600,n,8,3", false, 0, 0, 0, 0},
      {"0,n,8,1", false, 0, 0, 0, 0},
      {"fast,n,8,1", false, 0, 0, 0, 0},
      {"", false, 0, 0, 0, 0},
  };
  for (const auto& c : cases) {
    auto ls = parse_line_settings(c.text);
    ASSERT_EQ(ls.has_value(), c.ok) << c.text;
    if (!ls) continue;
    EXPECT_EQ(ls->baud, c.baud) << c.text;
    EXPECT_EQ(ls->parity, c.parity) << c.text;
    EXPECT_EQ(ls->data_bits, c.bits) << c.text;
    EXPECT_EQ(ls->stop_halves, c.stop_halves) << c.text;
  }
}

TEST(QtDialogs, FiltersOfTheOlderFormBecomeQtFilters) {
  const std::string midi = "Fichiers (*.mid)|*.mid|Tous (*.*)|*.*|";
  EXPECT_EQ(qt_filter(midi), "Fichiers (*.mid);;Tous (*.*)");
  EXPECT_EQ(qt_filter("Paramètres (*.set)|*.set"), "Paramètres (*.set)") << "no closing bar";
  EXPECT_EQ(qt_filter(""), "");
  EXPECT_EQ(qt_selected_filter(midi, 1), "Fichiers (*.mid)");
  EXPECT_EQ(qt_selected_filter(midi, 2), "Tous (*.*)");
  EXPECT_EQ(qt_selected_filter(midi, 3), "Fichiers (*.mid)");
  EXPECT_EQ(qt_selected_filter(midi, 0), "Fichiers (*.mid)");
  EXPECT_EQ(qt_selected_filter("", 1), "");
}

TEST(Desktop, DocumentsAndAddresses) {
  fs::path dir = fresh_dir("doc");
  std::ofstream(dir / "Brivel.htm") << "<html></html>";
  const QString here = QString::fromStdString(dir.string());
  const QString page = QString::fromStdString((dir / "Brivel.htm").string());
  EXPECT_EQ(document_url("Brivel.htm", here), QUrl::fromLocalFile(page)) << "from the current folder";
  EXPECT_EQ(document_url(page.toStdString(), "/"), QUrl::fromLocalFile(page)) << "a full path";
  EXPECT_FALSE(document_url("Absent.htm", here).isValid()) << "a missing page opens nothing";
  EXPECT_EQ(document_url("https://brivel.example.org", here), QUrl("https://brivel.example.org"));
  EXPECT_EQ(document_url("mailto:contact@brivel.example.org", here), QUrl("mailto:contact@brivel.example.org"));
  EXPECT_FALSE(document_url("", here).isValid());
  EXPECT_FALSE(document_url("   ", here).isValid());
  fs::remove_all(dir);
}

}  // namespace
}  // namespace brivel
