// The real programs over a real serial stack: brivel-script drives the
// console against brivel-board-sim on a pseudo-terminal, and the simulator's
// log must hold the exact bytes of the story.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "e2e/child_process.h"

namespace brivel::test {
namespace {

namespace fs = std::filesystem;


struct LogLines {
  std::vector<std::string> frames;  // what the board received, "<LF>" for the line feed
  std::vector<std::string> holes;   // "X=.. Y=.." of each confirmed hole
};

// The simulator's log: "<ms> <dir> <bytes>" per line.
LogLines read_log(const fs::path& path) {
  LogLines out;
  std::ifstream in(path);
  for (std::string line; std::getline(in, line);) {
    std::istringstream words(line);
    std::string at, dir, text;
    words >> at >> dir;
    std::getline(words, text);
    if (!text.empty() && text[0] == ' ') text.erase(0, 1);
    if (dir == ">") out.frames.push_back(text);
    if (dir == "*") out.holes.push_back(text);
  }
  return out;
}

// The port is typed first, on the page that shows it, then the manual
// commands: an X move of 12 steps and one punch cycle.
constexpr const char* kStory =
    "click fenetre_moteurs\n"
    "set AdressePort 7\n"
    "wait Shape1 = 10\n"
    "set nb_PasX 12\n"
    "click CommandeX_P\n"
    "wait LabelX = 12\n"
    "click CommandeZ_M\n"
    "quit\n";

TEST(EndToEnd, ScriptAgainstTheBoardSimulatorOnAPseudoTerminal) {
  TempHome home("story");
  const fs::path log = home.dir / "board.log";

  ChildProcess sim({BOARD_SIM_EXE, "--link", (home.dir / "ports" / "com7").string(), "--log", log.string(), "--instant"},
                   home.str());
  ASSERT_TRUE(sim.read_until("ready", 10)) << sim.out() << sim.err();

  ChildProcess script({SCRIPT_EXE, "-"}, home.str(), kStory);
  EXPECT_EQ(script.wait_exit(60), 0) << script.err();

  // The program is gone; a new one opens the same port and finds the board
  // as it was left: its head at 12, so 12 more steps punch at 24.
  ChildProcess again({SCRIPT_EXE, "-"}, home.str(), kStory);
  EXPECT_EQ(again.wait_exit(60), 0) << again.err();
  EXPECT_EQ(sim.terminate(10), 0) << sim.err();

  const LogLines got = read_log(log);
  const std::vector<std::string> expected = {
      // the connection's parameter push, default fields
      "NUxxxxx<LF>", "PX05000<LF>", "PY07500<LF>", "OX00220<LF>", "IZ00002<LF>", "MZ00012<LF>", "cpxxxxx<LF>",
      "AGxxxxx<LF>", "mX00012<LF>", "ZGxxxxx<LF>",  // manual X move, half steps by default
      "AGxxxxx<LF>", "CZxxxxx<LF>", "ZGxxxxx<LF>",  // manual punch, automatic cycle by default
      "ZGxxxxx<LF>",                                // the quit sequence, port open
  };
  std::vector<std::string> twice = expected;
  twice.insert(twice.end(), expected.begin(), expected.end());
  EXPECT_EQ(got.frames, twice);
  EXPECT_EQ(got.holes, (std::vector<std::string>{"X=12 Y=0", "X=24 Y=0"}));
}

TEST(EndToEnd, ExitStatusAndMessagesOfTheScriptConsole) {
  struct Case {
    const char* name;
    std::string script;
    int status;
    std::string out;
    std::string err_has;
  } cases[] = {
      {"every expectation holds", "print VitesseX\nexpect Demipas = 1\n", 0, "VitesseX=5000\n", ""},
      {"an expectation fails", "# defaults\nprint VitesseX\nexpect VitesseX = 4000\nprint Demipas\n", 1,
       "VitesseX=5000\n", "ligne 3 : expect VitesseX = 4000\n  attendu VitesseX = « 4000 », lu « 5000 »"},
      {"an unknown command", "print VitesseX\nfly away\n", 2, "VitesseX=5000\n", "ligne 2 : fly away"},
      {"an unknown field", "expect Nowhere = 1\n", 2, "", "ligne 1 : expect Nowhere = 1"},
      {"a quit ends the script well", "quit\nexpect VitesseX = 4000\n", 0, "", ""},
  };
  for (const auto& c : cases) {
    TempHome home("status");
    ChildProcess script({SCRIPT_EXE, "-"}, home.str(), c.script);
    EXPECT_EQ(script.wait_exit(30), c.status) << c.name << "\n" << script.err();
    EXPECT_EQ(script.out(), c.out) << c.name;
    EXPECT_NE(script.err().find(c.err_has), std::string::npos) << c.name << "\n" << script.err();
  }
}

TEST(EndToEnd, TheQuitOfOneScriptLeavesTheOthersRunning) {
  // The window's quit ends every process of the program; a script's quit
  // ends only its own, so scripts can run side by side.
  TempHome home("siblings");
  ChildProcess slow({SCRIPT_EXE, "-"}, home.str(), "pause 1500\nprint VitesseX\n");
  ChildProcess quick({SCRIPT_EXE, "-"}, home.str(), "pause 200\nquit\n");
  EXPECT_EQ(quick.wait_exit(30), 0) << quick.err();
  EXPECT_EQ(slow.wait_exit(30), 0) << slow.err();
  EXPECT_EQ(slow.out(), "VitesseX=5000\n");
}

}  // namespace
}  // namespace brivel::test
