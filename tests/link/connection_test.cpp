#include "link/connection.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>

#include "console/pages.h"
#include "link/line.h"
#include "support/link_rig.h"

namespace brivel::test {
namespace {

// What the port, its number, its lamps and the line show after an operator's action or a device event;
// `connect` 0 leaves the port closed before it.
TEST(Connection, ActionsAndDeviceEvents) {
  using Act = std::function<void(LinkRig&)>;
  auto field = [](const char* text) -> Act { return [text](LinkRig& r) { r.m.AdressePort.set_text(text); }; };
  auto arrival = [](const char* name) -> Act { return [name](LinkRig& r) { r.p.sim_devices().arrival_(3, 0, name); }; };
  const Act reopen = [](LinkRig& r) { ouvre_port(r.c); };
  const Act scan = [](LinkRig& r) { r.m.Label3.click(); };
  const Act removal = [](LinkRig& r) { r.p.sim_devices().removal_(); };
  const Act other_devices = [](LinkRig& r) {
    r.p.sim_devices().arrival_(2, 0, "COM10");
    r.p.sim_devices().arrival_(3, 1, "COM10");
  };
  const Act arrival_in_run = [](LinkRig& r) {
    r.s.run_on_stack = true;
    r.p.sim_devices().arrival_(3, 0, "COM5");
  };
  const Act board_back_in_run = [](LinkRig& r) {
    r.m.Command12.set_enabled(true);  // a run is on the stack
    r.p.sim_devices().removal_();
    r.p.sim_devices().arrival_(3, 0, "COM10");
  };
  const int G = palette::kLightGreen, R = palette::kLightRed, None = palette::kNone;
  // Each replaces the line ("x" before it), never runs on behind it.
  const std::string found = "Carte arduino détectée";
  const std::string ignored = "Carte arduino détectée - ignorée : une perforation est en cours";
  struct Case {
    const char* what;
    std::vector<int> ports;
    int connect;
    Act act;
    bool open;
    int opens;
    const char* number;  // in the port field, and the open port's
    int lamps;
    int frames;               // written by the action
    std::string service;      // "": not looked at
    bool hourglass = false;   // shown while the action ran
  } cases[] = {
      {"an open port opened again is not reset", {10}, 10, reopen, true, 1, "10", G, 0, ""},
      {"the same text in the port field", {7, 10}, 7, field("7"), true, 1, "7", G, 0, ""},
      {"a new number in the port field moves the link", {7, 10}, 10, field("7"), true, 2, "7", G, 7, ""},
      {"a scan click with the port open", {3, 10}, 10, scan, true, 1, "10", G, 0, ""},
      {"a new port arrives: told and connected", {5}, 0, arrival("COM5"), true, 1, "5", G, 7, found},
      {"arrival on the field's number", {10}, 0, arrival("COM10"), true, 1, "10", G, 7, ""},
      {"other device types are no ports", {10}, 0, other_devices, false, 0, "10", None, 0, "x"},
      {"a removal of any device closes the port", {10}, 10, removal, false, 1, "10", R, 0, ""},
      {"an arrival during a run resets no board", {5, 10}, 10, arrival_in_run, true, 1, "10", G, 0, ignored},
      {"the board of a run came back", {10}, 10, board_back_in_run, true, 2, "10", G, 7, ""},
      // A field that names no port ends red.
      {"letters in the port field", {10}, 10, field("abc"), false, 1, "abc", R, 0, ""},
      {"port 0 in the port field", {10}, 10, field("0"), false, 1, "0", R, 0, ""},
      {"a negative port", {10}, 10, field("-3"), false, 1, "-3", R, 0, ""},
      {"a port beyond the last", {10}, 10, field("99"), false, 1, "99", R, 0, ""},
      // The scan connects to the last port that answers; with none it ends at 0.
      {"a scan finds 3 and 7", {3, 7}, 0, scan, true, 2, "7", G, 7, "", true},
      {"a scan finds nothing", {}, 0, scan, false, 0, "0", R, 0, "", true},
  };
  for (const auto& c : cases) {
    LinkRig r({});
    for (int n : c.ports) r.p.sim_serial().add_port(n, &r.peer);
    if (c.connect) {
      ASSERT_TRUE(r.connect(c.connect)) << c.what;
    }
    r.m.Label_defautP.set_text("x");
    const auto before = r.mark();
    c.act(r);
    EXPECT_EQ(r.p.serial().is_open(), c.open) << c.what;
    EXPECT_EQ(r.p.serial().is_open() ? r.p.serial().port_number() : -1, c.open ? std::stoi(c.number) : -1) << c.what;
    EXPECT_EQ(r.p.sim_serial().opens(), c.opens) << c.what;
    EXPECT_EQ(r.m.AdressePort.text(), c.number) << c.what;
    EXPECT_EQ(std::pair(r.m.Shape1.color(), r.m.Shape2.color()), std::pair(c.lamps, c.lamps)) << c.what;
    EXPECT_EQ(r.frames(before).size(), static_cast<std::size_t>(c.frames)) << c.what;
    if (!c.service.empty()) {
      EXPECT_EQ(r.m.Label_defautP.text(), c.service) << c.what;
    }
    EXPECT_FALSE(r.p.busy() || r.s.scan_port) << c.what;
    const auto log = r.p.busy_log();
    if (c.hourglass) {
      EXPECT_NE(std::find(log.begin(), log.end(), true), log.end()) << c.what << ": no hourglass";
    }
  }
  // Words in the port field are said as typed.
  {
    LinkRig r;
    r.m.AdressePort.set_text("abc");
    EXPECT_EQ(r.m.Shape1.tooltip(), "« abc » n'est pas un numéro de port (1 à 32, ou N pour un lien ports/comN)");
  }
  // The guard of every machine command.
  LinkRig r;
  EXPECT_FALSE(port_pret(r.c));
  EXPECT_EQ(r.m.Label_defautP.text().rfind("Machine non connectée", 0), 0u);
  ASSERT_TRUE(r.connect(10));
  r.m.Label_defautP.set_text("");
  EXPECT_TRUE(port_pret(r.c));
  EXPECT_EQ(r.m.Label_defautP.text(), "");
}

// When the parameter push starts after the opening: at 902 ms (the reset pulse, its wait, two turns) for a board that
// greets before, right after the greeting of one whose bootloader holds the line longer, and at 2400 ms for a
// board that never greets, which keeps the 900 ms at its next connection.
TEST(Connection, TheGreetingLeadsThePush) {
  struct Case {
    int greet_after_ms;
    int64_t first_push_ms, second_push_ms;
  } cases[] = {{1, 902, 902}, {1400, 1400, 1400}, {-1, 2400, 902}};
  for (const auto& k : cases) {
    LinkRig r;
    r.peer.greet_after_ms = k.greet_after_ms;
    for (const int64_t want : {k.first_push_ms, k.second_push_ms}) {
      const auto before = r.mark();
      const int64_t opened = r.p.now();
      ASSERT_TRUE(r.connect(10));
      const auto f = r.frames(before);
      ASSERT_FALSE(f.empty());
      EXPECT_EQ(f.front().bytes, "NUxxxxx\n");
      EXPECT_EQ(f.front().at_ms - opened, want) << k.greet_after_ms;
      EXPECT_EQ(f.size(), 7u) << k.greet_after_ms;
      connexion_off(r.c);
    }
  }
}

}  // namespace
}  // namespace brivel::test
