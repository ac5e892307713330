// The machine tools through the real programs: brivel-script against
// brivel-board-sim on a pseudo-terminal, and an upload run by a stand-in
// avrdude found on the PATH.
#include <gtest/gtest.h>
#include <cstdlib>

#include "e2e/child_process.h"

namespace brivel::test {
namespace {

// A Z calibration from TempoZ 2 whose first cycle fails: three good ones end
// it at 22. Then the detector view for a few polls, and an EEPROM cell
// written and read back.
const std::string kStory = kConnect +
    "click CalibrerZ\n"
    "expect Calibration = Fin calibration Z. Penser à sauvegarder!\n"
    "expect TempoZ = 22\n"
    "expect MaxZ = 44\n"
    "expect Check2 = 0\n"
    "click visu_detecteurs\n"
    "pause 600\n"
    "expect Poin_B = 15\n"
    "expect Poin_H = 12\n"
    "expect Det_L(4) = 12\n"
    "expect Det_T(3) = 15\n"
    "click visu_detecteurs\n"
    "expect Poin_H = 102\n"
    "key Alt+E\n"
    "set EEPROM.adress 12\n"
    "click EEPROM.Command1\n"
    "expect EEPROM.value = 0\n"
    "set EEPROM.value 7\n"
    "click EEPROM.Command2\n"
    "set EEPROM.value 0\n"
    "click EEPROM.Command1\n"
    "expect EEPROM.value = 7\n"
    "quit\n";

TEST(EndToEndTools, CalibrationDetectorsAndEeprom) {
  TempHome home("tools");
  const std::string log = home / "board.log";
  auto sim = start_board(home, {BOARD_SIM_EXE, "--log", log, "--instant", "--sensors", ".OO..", "--faults",
                                home.write("faults.txt", "C cZ 1\n")});
  ChildProcess script({SCRIPT_EXE, "-"}, home.str(), kStory);
  EXPECT_EQ(script.wait_exit(90), 0) << script.err();
  EXPECT_EQ(sim->terminate(10), 0) << sim->err();

  const BoardLog got = read_board_log(log);
  EXPECT_EQ(got.count("cZxxxxx<LF>"), 4);
  for (const char* f : {"IZ00007<LF>", "MZ00014<LF>", "IZ00022<LF>", "MZ00044<LF>", "wr00007<LF>"})
    EXPECT_EQ(got.count(f), 1) << f;
  EXPECT_GE(got.count("VDxxxxx<LF>"), 3);
  EXPECT_EQ(got.count("rd00012<LF>"), 2);
}

#ifdef MACHINE_SIM_EXE
// The same tools against our firmware on the simulated chip and its punch,
// whose clutch trips on a pulse of 5 ms and whose crank is back at rest 30 ms
// later: pulses 2 and 7 fail (no trip; back too late for a delay of 14), 12,
// 17 and 22 work, and the calibration ends at 27. The EEPROM of a new chip
// holds 255; a cell written reads back.
TEST(EndToEndTools, CalibrationAndEepromOnTheFirmware) {
  TempHome home("firmware");
  const std::string log = home / "machine.log";
  auto sim = start_board(home, {MACHINE_SIM_EXE, "--firmware", FIRMWARE_ELF, "--log", log});
  ChildProcess script({SCRIPT_EXE, "-"}, home.str(),
                      kConnect + "click CalibrerZ\n"
                      "expect Calibration = Fin calibration Z. Penser à sauvegarder!\n"
                      "expect TempoZ = 27\nexpect MaxZ = 54\n"
                      "key Alt+E\nset EEPROM.adress 12\nclick EEPROM.Command1\nexpect EEPROM.value = 255\n"
                      "set EEPROM.value 7\nclick EEPROM.Command2\nset EEPROM.value 0\nclick EEPROM.Command1\n"
                      "expect EEPROM.value = 7\nquit\n");
  EXPECT_EQ(script.wait_exit(90), 0) << script.err();
  EXPECT_EQ(sim->terminate(10), 0) << sim->err();
  const BoardLog got = read_board_log(log);
  EXPECT_EQ(got.count("cZxxxxx<LF>"), 5);
  EXPECT_EQ(got.holes.size(), 4u) << "pulse 7 trips the clutch too, only too late to be back";
}
#endif

#ifdef MACHINE_SIM_EXE
// "RAZ" stops a runaway head at once: a hand move of 300 half steps of
// 20 ms, cancelled after a second, stops at the pins within a few steps of
// the moment the frame reached the chip, not six seconds later.
TEST(EndToEndTools, RazStopsAMoveAtOnceOnTheFirmware) {
  TempHome home("raz");
  const std::string log = home / "machine.log";
  auto sim = start_board(home, {MACHINE_SIM_EXE, "--firmware", FIRMWARE_ELF, "--log", log});
  ChildProcess script({SCRIPT_EXE, "-"}, home.str(),
                      kConnect + "set VitesseX 20000\nset nb_PasX 300\nstart CommandeX_P\npause 1000\nclick RAZ\n"
                                 "finish\nquit\n");
  EXPECT_EQ(script.wait_exit(60), 0) << script.err();
  EXPECT_EQ(sim->terminate(10), 0) << sim->err();
  long move_at = -1, cancel_at = -1, pulses = -1;
  for (const auto& l : read_board_log(log).lines) {
    if (l.find(" > mX00300<LF>") != std::string::npos) move_at = std::stol(l);
    if (l.find(" > ZXxxxxx<LF>") != std::string::npos) cancel_at = std::stol(l);
    if (auto at = l.find("# mouvement X : "); at != std::string::npos) pulses = std::stol(l.substr(at + 16));
  }
  ASSERT_GT(move_at, 0);
  ASSERT_GT(cancel_at, move_at);
  EXPECT_NEAR(pulses, (cancel_at - move_at) / 20, 3) << "the move went on after the cancel";
}
#endif

TEST(EndToEndTools, UploadReportOfAFailingAvrdude) {
  TempHome home("upload");
  home.write("bin/avrdude",
             "#!/bin/sh\n"
             "echo \"avrdude de test : $*\" >&2\n"
             "echo 'la carte ne répond pas'\n"
             "exit 1\n",
             true);
  home.write("Brivel_uploader/Binaire/Brivel.cpp.hex", ":00000001FF\n");
  auto sim = start_board(home, {BOARD_SIM_EXE, "--instant"});
  const std::string story =
      kConnect +
      "answer yes\n"
      "click Prog_uno_rev3\n"
      "expect Shape1 = 12\n"
      "expect Label_defautP = Programmation en cours : ne pas débrancher la carte\n"
      "wait Upload.status ~ Échec de la programmation : avrdude a terminé en erreur \\(code 1\\)(.|\\n)*reconnectée(.|\\n)* 30\n"
      "expect Shape1 = 10\n"
      "expect Label_defautP = Programmation échouée : voir la fenêtre de programmation\n"
      "expect Upload.close = Fermer\n"
      "print Upload.report\n"
      "click Upload.close\n"
      "quit\n";
  const char* old_path = std::getenv("PATH");
  const std::string saved = old_path ? old_path : "";
  setenv("PATH", ((home.dir / "bin").string() + ":" + saved).c_str(), 1);
  ChildProcess script({SCRIPT_EXE, "-"}, home.str(), story);
  setenv("PATH", saved.c_str(), 1);
  EXPECT_EQ(script.wait_exit(60), 0) << script.err();
  EXPECT_EQ(script.out(), "Upload.report=avrdude de test : -v -pm328p -carduino -P" + home.port() +
                              " -b115200 -D -Uflash:w:" + home / "Brivel_uploader/Binaire/Brivel.cpp.hex" +
                              ":i\nla carte ne répond pas\n\n");
  sim->terminate(10);
}

}  // namespace
}  // namespace brivel::test
