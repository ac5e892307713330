// The machine tools through the real programs: brivel-script against
// brivel-board-sim on a pseudo-terminal, and an upload run by a stand-in
// avrdude found on the PATH.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "e2e/child_process.h"

namespace brivel::test {
namespace {

namespace fs = std::filesystem;

struct ToolsHome {
  fs::path dir;
  explicit ToolsHome(const char* tag) {
    dir = fs::temp_directory_path() / ("brivel-e2e-tools-" + std::string(tag) + "-" + std::to_string(getpid()));
    fs::remove_all(dir);
    fs::create_directories(dir);
  }
  ~ToolsHome() { fs::remove_all(dir); }
  void write(const std::string& name, const std::string& text, bool executable = false) const {
    fs::create_directories((dir / name).parent_path());
    std::ofstream(dir / name) << text;
    if (executable) chmod((dir / name).c_str(), 0755);
  }
};

// What the board received, one frame per line ("<LF>" for the line feed).
std::vector<std::string> frames_of(const fs::path& log) {
  std::vector<std::string> out;
  std::ifstream in(log);
  for (std::string line; std::getline(in, line);) {
    std::istringstream words(line);
    std::string at, dir, text;
    words >> at >> dir >> text;
    if (dir == ">") out.push_back(text);
  }
  return out;
}

long count(const std::vector<std::string>& v, const std::string& s) { return std::count(v.begin(), v.end(), s); }

// A Z calibration from TempoZ 2 whose first cycle fails: three good ones end
// it at 22. Then the detector view for a few polls, and an EEPROM cell
// written and read back.
constexpr const char* kStory =
    "click fenetre_moteurs\n"
    "set AdressePort 7\n"
    "wait Shape1 = 10\n"
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
  ToolsHome home("story");
  home.write("faults.txt", "C cZ 1\n");
  const fs::path log = home.dir / "board.log";
  ChildProcess sim({BOARD_SIM_EXE, "--link", (home.dir / "ports" / "com7").string(), "--log", log.string(), "--instant",
                    "--sensors", ".OO..", "--faults", (home.dir / "faults.txt").string()},
                   home.dir.string());
  ASSERT_TRUE(sim.read_until("ready", 10)) << sim.out() << sim.err();
  ChildProcess script({SCRIPT_EXE, "-"}, home.dir.string(), kStory);
  EXPECT_EQ(script.wait_exit(90), 0) << script.err();
  EXPECT_EQ(sim.terminate(10), 0) << sim.err();

  const auto got = frames_of(log);
  EXPECT_EQ(count(got, "cZxxxxx<LF>"), 4);
  for (const char* f : {"IZ00007<LF>", "MZ00014<LF>", "IZ00022<LF>", "MZ00044<LF>", "wr00007<LF>"})
    EXPECT_EQ(count(got, f), 1) << f;
  EXPECT_GE(count(got, "VDxxxxx<LF>"), 3);
  EXPECT_EQ(count(got, "rd00012<LF>"), 2);
}

#ifdef MACHINE_SIM_EXE
// The same tools against our firmware on the simulated chip and its punch,
// whose clutch trips on a pulse of 5 ms and whose crank is back at rest 30 ms
// later: pulses 2 and 7 fail (no trip; back too late for a delay of 14), 12,
// 17 and 22 work, and the calibration ends at 27. The EEPROM of a new chip
// holds 255; a cell written reads back.
TEST(EndToEndTools, CalibrationAndEepromOnTheFirmware) {
  ToolsHome home("firmware");
  const fs::path log = home.dir / "machine.log";
  ChildProcess sim({MACHINE_SIM_EXE, "--firmware", FIRMWARE_ELF, "--link", (home.dir / "ports" / "com7").string(),
                    "--log", log.string()},
                   home.dir.string());
  ASSERT_TRUE(sim.read_until("ready", 10)) << sim.out() << sim.err();
  ChildProcess script({SCRIPT_EXE, "-"}, home.dir.string(),
                      "click fenetre_moteurs\nset AdressePort 7\nwait Shape1 = 10\nclick CalibrerZ\n"
                      "expect Calibration = Fin calibration Z. Penser à sauvegarder!\n"
                      "expect TempoZ = 27\nexpect MaxZ = 54\n"
                      "key Alt+E\nset EEPROM.adress 12\nclick EEPROM.Command1\nexpect EEPROM.value = 255\n"
                      "set EEPROM.value 7\nclick EEPROM.Command2\nset EEPROM.value 0\nclick EEPROM.Command1\n"
                      "expect EEPROM.value = 7\nquit\n");
  EXPECT_EQ(script.wait_exit(90), 0) << script.err();
  EXPECT_EQ(sim.terminate(10), 0) << sim.err();
  const auto got = frames_of(log);
  EXPECT_EQ(count(got, "cZxxxxx<LF>"), 5);
  std::ifstream in(log);
  const std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  size_t holes = 0;
  for (size_t at = text.find("HOLE "); at != std::string::npos; at = text.find("HOLE ", at + 1)) ++holes;
  EXPECT_EQ(holes, 4u) << "pulse 7 trips the clutch too, only too late to be back";
}
#endif

TEST(EndToEndTools, UploadReportOfAFailingAvrdude) {
  ToolsHome home("upload");
  home.write("bin/avrdude",
             "#!/bin/sh\n"
             "echo \"avrdude de test : $*\" >&2\n"
             "echo 'la carte ne répond pas'\n"
             "exit 1\n",
             true);
  home.write("Brivel_uploader/Binaire/Brivel.cpp.hex", ":00000001FF\n");
  ChildProcess sim({BOARD_SIM_EXE, "--link", (home.dir / "ports" / "com7").string(), "--instant"}, home.dir.string());
  ASSERT_TRUE(sim.read_until("ready", 10)) << sim.out() << sim.err();

  const std::string port = (home.dir / "ports" / "com7").string();
  const std::string image = (home.dir / "Brivel_uploader/Binaire/Brivel.cpp.hex").string();
  const std::string story =
      "click fenetre_moteurs\n"
      "set AdressePort 7\n"
      "wait Shape1 = 10\n"
      "answer yes\n"
      "click Prog_uno_rev3\n"
      "expect Shape1 = 12\n"
      "expect Label_defautP = Relancer Brivel avant de poursuivre\n"
      "wait Upload.status ~ Échec de la programmation : avrdude a terminé en erreur \\(code 1\\).* 30\n"
      "expect Upload.close = Fermer\n"
      "print Upload.report\n"
      "click Upload.close\n"
      "quit\n";
  const char* old_path = std::getenv("PATH");
  const std::string saved = old_path ? old_path : "";
  setenv("PATH", ((home.dir / "bin").string() + ":" + saved).c_str(), 1);
  ChildProcess script({SCRIPT_EXE, "-"}, home.dir.string(), story);
  setenv("PATH", saved.c_str(), 1);
  EXPECT_EQ(script.wait_exit(60), 0) << script.err();
  EXPECT_EQ(script.out(), "Upload.report=avrdude de test : -v -pm328p -carduino -P" + port +
                              " -b115200 -D -Uflash:w:" + image + ":i\nla carte ne répond pas\n\n");
  sim.terminate(10);
}

}  // namespace
}  // namespace brivel::test
