#include "link/connection.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "console/pages.h"
#include "link/line.h"
#include "support/link_rig.h"

namespace brivel::test {
namespace {

TEST(Connection, ResetPulseThenDefaultBurstTenMillisecondsApart) {
  LinkRig r;
  ASSERT_TRUE(r.connect(10));
  const auto& modem = r.p.sim_serial().modem_log();
  ASSERT_EQ(modem.size(), 4u);
  EXPECT_EQ(modem[1].at_ms, 0);  // both lines up at the opening
  EXPECT_TRUE(modem[1].dtr && modem[1].rts);
  EXPECT_EQ(modem[3].at_ms, 401);  // down once 400 ms are past
  EXPECT_FALSE(modem[3].dtr || modem[3].rts);
  EXPECT_EQ(r.p.sim_serial().settings(), "57600,n,8,1");
  // 400 ms and 500 ms, each ending on the first tick past its deadline;
  // the burst's pauses end 11 ticks on. The PW slot (968) stays empty.
  EXPECT_EQ(r.frames(), F({{902, "NUxxxxx\n"},
                           {913, "PX05000\n"},
                           {924, "PY07500\n"},
                           {935, "OX00220\n"},
                           {946, "IZ00002\n"},
                           {957, "MZ00012\n"},
                           {979, "cpxxxxx\n"}}));
  EXPECT_EQ(r.m.Shape1.color(), palette::kLightGreen);
  EXPECT_EQ(r.m.Shape2.color(), palette::kLightGreen);
  EXPECT_FALSE(r.p.busy());
}

TEST(Connection, BurstWithChoppedPulsesAndTwoSensorMode) {
  LinkRig r;
  r.m.valid_pwm.set_value(1);
  r.m.Check1.set_value(1);
  ASSERT_TRUE(r.connect(10));
  auto f = r.frames();
  ASSERT_EQ(f.size(), 8u);
  EXPECT_EQ(f[6], (SimFrame{968, "PW00020\n"}));
  EXPECT_EQ(f[7], (SimFrame{979, "CPxxxxx\n"}));
}

TEST(Connection, OpenPortIsNotResetByAnotherOpening) {
  LinkRig r;
  ASSERT_TRUE(r.connect(10));
  auto before = r.mark();
  ouvre_port(r.c);
  EXPECT_EQ(r.mark(), before);
  EXPECT_EQ(r.p.sim_serial().opens(), 1);
}

TEST(Connection, SameTextInThePortFieldTriggersNothing) {
  LinkRig r({7, 10});
  ASSERT_TRUE(r.connect(7));
  auto before = r.mark();
  r.m.AdressePort.set_text("7");
  EXPECT_EQ(r.mark(), before);
  EXPECT_EQ(r.p.sim_serial().opens(), 1);
}

TEST(Connection, ChangingThePortFieldMovesTheConnection) {
  LinkRig r({7, 10});
  ASSERT_TRUE(r.connect(10));
  r.m.AdressePort.set_text("7");
  EXPECT_TRUE(r.p.serial().is_open());
  EXPECT_EQ(r.p.serial().port_number(), 7);
  EXPECT_EQ(r.p.sim_serial().opens(), 2);
}

TEST(Connection, PortFieldThatNamesNoPortEndsRed) {
  for (const char* text : {"abc", "0", "-3", "99"}) {
    LinkRig r;
    ASSERT_TRUE(r.connect(10));
    r.m.AdressePort.set_text(text);
    EXPECT_FALSE(r.p.serial().is_open()) << text;
    EXPECT_EQ(r.m.Shape1.color(), palette::kLightRed) << text;
    EXPECT_EQ(r.m.Shape2.color(), palette::kLightRed) << text;
  }
}

TEST(Scan, PortsThreeAndSevenConnectsToSeven) {
  LinkRig r({3, 7});
  r.m.Label3.click();
  EXPECT_EQ(r.m.AdressePort.text(), "7");
  EXPECT_TRUE(r.p.serial().is_open());
  EXPECT_EQ(r.p.serial().port_number(), 7);
  EXPECT_EQ(r.m.Shape1.color(), palette::kLightGreen);
  EXPECT_FALSE(r.s.scan_port);
  EXPECT_FALSE(r.p.busy());
  EXPECT_EQ(r.frame_bytes().front(), "NUxxxxx\n");
}

TEST(Scan, NoPortAtAllEndsAtZeroRedWithNormalPointer) {
  LinkRig r({});
  r.m.Label3.click();
  EXPECT_EQ(r.m.AdressePort.text(), "0");
  EXPECT_FALSE(r.p.serial().is_open());
  EXPECT_EQ(r.m.Shape1.color(), palette::kLightRed);
  EXPECT_EQ(r.m.Shape2.color(), palette::kLightRed);
  EXPECT_FALSE(r.p.busy());
  EXPECT_FALSE(r.s.scan_port);
  const auto log = r.p.busy_log();
  EXPECT_NE(std::find(log.begin(), log.end(), true), log.end()) << "the hourglass showed during the scan";
}

TEST(Scan, ClickWithThePortOpenChangesNothing) {
  LinkRig r({3, 10});
  ASSERT_TRUE(r.connect(10));
  auto before = r.mark();
  r.m.Label3.click();
  EXPECT_EQ(r.m.AdressePort.text(), "10");
  EXPECT_EQ(r.mark(), before);
}

TEST(Devices, ArrivalOfANewPortAppendsAndConnects) {
  LinkRig r({5});
  r.m.Label_defautP.set_text("x");
  r.p.sim_devices().arrival_(3, 0, "COM5");
  EXPECT_EQ(r.m.Label_defautP.text(), "xCarte arduino détectée\r\n");
  EXPECT_EQ(r.m.AdressePort.text(), "5");
  EXPECT_TRUE(r.p.serial().is_open());
  EXPECT_EQ(r.p.serial().port_number(), 5);
  EXPECT_EQ(r.m.Shape1.color(), palette::kLightGreen);
}

TEST(Devices, ArrivalOnTheSameNumberOpensByItsOwnStep) {
  LinkRig r;
  r.p.sim_devices().arrival_(3, 0, "COM10");
  EXPECT_EQ(r.m.AdressePort.text(), "10");
  EXPECT_TRUE(r.p.serial().is_open());
  EXPECT_EQ(r.p.sim_serial().opens(), 1);
  EXPECT_EQ(r.frame_bytes().size(), 7u);
}

TEST(Devices, OtherDeviceTypesAreNotPorts) {
  LinkRig r;
  r.p.sim_devices().arrival_(2, 0, "COM10");
  r.p.sim_devices().arrival_(3, 1, "COM10");
  EXPECT_FALSE(r.p.serial().is_open());
  EXPECT_EQ(r.m.Label_defautP.text(), "Sélectionner un fichier de paramètres (*.set) ou menu  Fenêtre ");
}

TEST(Devices, RemovalOfAnyDeviceClosesThePort) {
  LinkRig r;
  ASSERT_TRUE(r.connect(10));
  r.p.sim_devices().removal_();
  EXPECT_FALSE(r.p.serial().is_open());
  EXPECT_EQ(r.m.Shape1.color(), palette::kLightRed);
  EXPECT_EQ(r.m.Shape2.color(), palette::kLightRed);
}

TEST(Devices, ArrivalDuringARunDoesNotResetTheBoard) {
  LinkRig r({5, 10});
  ASSERT_TRUE(r.connect(10));
  r.s.run_on_stack = true;
  auto before = r.mark();
  r.p.sim_devices().arrival_(3, 0, "COM5");
  EXPECT_EQ(r.mark(), before);
  EXPECT_EQ(r.p.serial().port_number(), 10);
  EXPECT_EQ(r.m.AdressePort.text(), "10");
  EXPECT_NE(r.m.Label_defautP.text().find("ignorée : une perforation est en cours"), std::string::npos);
}

TEST(Devices, ArrivalDuringARunWhoseBoardWentAwayReconnects) {
  LinkRig r;
  ASSERT_TRUE(r.connect(10));
  r.m.Command12.set_enabled(true);  // a run is on the stack
  r.p.sim_devices().removal_();
  r.p.sim_devices().arrival_(3, 0, "COM10");
  EXPECT_TRUE(r.p.serial().is_open());
  EXPECT_EQ(r.p.sim_serial().opens(), 2);
}

TEST(Guard, RefusesWithThePortClosed) {
  LinkRig r;
  EXPECT_FALSE(port_pret(r.c));
  EXPECT_EQ(r.m.Label_defautP.text().rfind("Machine non connectée", 0), 0u);
  ASSERT_TRUE(r.connect(10));
  r.m.Label_defautP.set_text("");
  EXPECT_TRUE(port_pret(r.c));
  EXPECT_EQ(r.m.Label_defautP.text(), "");
}

}  // namespace
}  // namespace brivel::test
