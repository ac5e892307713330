// The programs met as a user meets them, over a real serial stack:
// brivel-script drives the console against brivel-board-sim on a
// pseudo-terminal; bad command lines and files; a board that dies under a
// move.
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>

#include "e2e/child_process.h"

namespace brivel::test {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

TEST(EndToEnd, ScriptAgainstTheBoardSimulatorOnAPseudoTerminal) {
  TempHome home("story");
  const std::string log = home / "board.log";
  auto sim = start_board(home, {BOARD_SIM_EXE, "--log", log, "--instant"});
  // An X move of 12 steps and one punch cycle; then a new program opens the
  // same port and finds the board as it was left: its head at 12, so 12
  // more steps punch at 24.
  const std::string story = kConnect + "set nb_PasX 12\nclick CommandeX_P\nwait LabelX = 12\nclick CommandeZ_M\nquit\n";
  for (int i = 0; i < 2; ++i) {
    ChildProcess script({SCRIPT_EXE, "-"}, home.str(), story);
    EXPECT_EQ(script.wait_exit(60), 0) << script.err();
  }
  EXPECT_EQ(sim->terminate(10), 0) << sim->err();

  const BoardLog got = read_board_log(log);
  const std::vector<std::string> once = {
      // the connection's parameter push, default fields
      "NUxxxxx<LF>", "PX05000<LF>", "PY07500<LF>", "OX00220<LF>", "IZ00002<LF>", "MZ00012<LF>", "cpxxxxx<LF>",
      "AGxxxxx<LF>", "mX00012<LF>", "ZGxxxxx<LF>",  // manual X move, half steps by default
      "AGxxxxx<LF>", "CZxxxxx<LF>", "ZGxxxxx<LF>",  // manual punch, automatic cycle by default
      "ZGxxxxx<LF>",                                // the quit sequence, port open
  };
  std::vector<std::string> twice = once;
  twice.insert(twice.end(), once.begin(), once.end());
  EXPECT_EQ(got.frames, twice);
  EXPECT_EQ(got.holes, (std::vector<std::string>{"X=12 Y=0", "X=24 Y=0"}));
}

TEST(EndToEnd, ExitStatusAndMessagesOfThePrograms) {
  TempHome f("status");
  f.write("locked.txt", "print VitesseX\n");
  fs::permissions(f / "locked.txt", fs::perms::none);
  f.write("zz.faults", "B MY 1\nsilence ZZ 4\n");
  f.write("bad.hex", ":107E0000112484B714BE81FFFDD085E080938100EB\n:00000001FF\n");  // checksum off by one
  f.write("short.bin", std::string(100, '\xff'));
  f.write("restart.faults", "reset hole 3\nunplug hole 0 2000\n");
  // Root reads any file: the locked one is tried by an ordinary user.
  std::vector<std::string> as_user;
  if (geteuid() == 0) as_user = {"/usr/bin/setpriv", "--reuid=65534", "--regid=65534", "--clear-groups"};
  auto with = [](std::vector<std::string> before, const std::vector<std::string>& args) {
    before.insert(before.end(), args.begin(), args.end());
    return before;
  };
  const std::vector<std::string> no_display = {"/usr/bin/env",    "-u", "DISPLAY",        "-u",
                                               "WAYLAND_DISPLAY", "-u", "QT_QPA_PLATFORM"};
  const std::string script = SCRIPT_EXE, sim = BOARD_SIM_EXE;
  struct Case {
    std::vector<std::string> argv;
    int status;
    std::string err_has;
    std::string out = "";  // the whole output when the script is read from its input
    std::string input = "";
  } cases[] = {
      {{script, "-"}, 0, "", "VitesseX=5000\n", "print VitesseX\nexpect Demipas = 1\n"},
      {{script, "-"}, 1, "ligne 3 : expect VitesseX = 4000\n  attendu VitesseX = « 4000 », lu « 5000 »",
       "VitesseX=5000\n", "# defaults\nprint VitesseX\nexpect VitesseX = 4000\nprint Demipas\n"},
      {{script, "-"}, 2, "ligne 2 : fly away", "VitesseX=5000\n", "print VitesseX\nfly away\n"},
      {{script, "-"}, 2, "ligne 1 : expect Nowhere = 1", "", "expect Nowhere = 1\n"},
      {{script, "-"}, 0, "", "", "quit\nexpect VitesseX = 4000\n"},  // a quit ends the script well
      {{script, f.str()}, 2, "Script refusé : " + f.str() + " est un dossier\n"},
      {{script, "/dev/zero"}, 2, "Script refusé : /dev/zero n'est pas un fichier ordinaire"},
      {{script, f / "absent.txt"}, 2, "Script introuvable : " + f / "absent.txt"},
      {with(as_user, {script, f / "locked.txt"}), 2, "Script illisible : " + f / "locked.txt" + " (accès refusé)"},
      {{script, "--bogus"}, 2, "brivel-script : option inconnue « --bogus »\nUsage : brivel-script"},
      {{script, "a", "b"}, 2, "un script et un seul\nUsage :"},
      {{script}, 2, "brivel-script : un script et un seul\nUsage : brivel-script"},
      {{script, "--help"}, 0, "", "Usage : brivel-script SCRIPT"},
      {{script, "--version"}, 0, "", "brivel-script 0."},
      {{sim, "--bogus"}, 2, "brivel-board-sim : Option inconnue : « --bogus ».\nUsage : brivel-board-sim"},
      {{sim, "--sensors", "OOO"}, 2, "--sensors : cinq caractères O (démasqué) ou . (masqué)"},
      {{sim, "--sensors", "OOXO."}, 2, "pas « OOXO. »"},
      {{sim, "--faults", f.str()}, 2, "script de défauts refusé (c'est un dossier)"},
      {{sim, "--faults", "/dev/zero"}, 2, "script de défauts refusé (ce n'est pas un fichier ordinaire)"},
      {{sim, "--faults", f / "absent"}, 2, "script de défauts introuvable"},
      {{sim, "--faults", f / "zz.faults"}, 2, "ligne 2 : code que la carte ne connaît pas"},
      {{sim, "--link", f / "no/such/ports/com7", "--duration", "1"}, 1, "n'existe pas : lien"},
      {{sim, "--help"}, 0, "", "Usage : brivel-board-sim"},
      {{sim, "--version"}, 0, "", "brivel-board-sim 0."},
      {{BRIVEL_EXE, "--bogus"}, 2, "brivel : option inconnue « --bogus »\nUsage : brivel"},
      {{BRIVEL_EXE, "--demo"}, 2, "l'option --demo attend une valeur"},
      {{BRIVEL_EXE, "--version"}, 0, "", "brivel 0."},
      {{BRIVEL_EXE, "--help"}, 0, "", "  --set FICHIER     charge ce fichier de paramètres au démarrage"},
      {with(no_display, {BRIVEL_EXE}), 1, "brivel : aucun affichage (ni DISPLAY ni WAYLAND_DISPLAY)"},
#ifdef MACHINE_SIM_EXE
      {{MACHINE_SIM_EXE, "--help"}, 0, "", "Usage : brivel-machine-sim"},
      {{MACHINE_SIM_EXE, "--link", f / "c7", "--log", f / "m.log"}, 2, "il faut --link, --log et une image"},
      {{MACHINE_SIM_EXE, "--bootloader", f / "bad.hex", "--link", f / "c7", "--log", f / "m.log"}, 2,
       "bad.hex : ligne 1 : somme de contrôle fausse"},
      {{MACHINE_SIM_EXE, "--flash", f / "short.bin", "--link", f / "c7", "--log", f / "m.log"}, 2,
       "short.bin : 100 octets, 32768 attendus"},
      {{MACHINE_SIM_EXE, "--faults", f / "restart.faults", "--flash", f / "x.bin", "--link", f / "c7", "--log",
        f / "m.log"},
       2, "ligne 2 : « unplug hole 0 2000 »"},
#endif
  };
  for (const auto& c : cases) {
    const std::string what = c.argv.back() + " " + c.input;
    ChildProcess p(c.argv, f.str(), c.input);
    EXPECT_EQ(p.wait_exit(30), c.status) << what << "\n" << p.err();
    EXPECT_NE(p.err().find(c.err_has), std::string::npos) << what << "\n" << p.err();
    if (c.input.empty()) {
      EXPECT_EQ(c.status == 0 ? p.err() : p.out(), "") << what << ": nothing but the answer";
      EXPECT_NE(p.out().find(c.out), std::string::npos) << what << "\n" << p.out();
    } else {
      EXPECT_EQ(p.out(), c.out) << what;
    }
  }
  EXPECT_FALSE(fs::exists(f / "no")) << "no folder made above the link's own";

  // The window's quit ends every process of the program; a script's quit
  // ends only its own, so scripts can run side by side.
  ChildProcess slow({script, "-"}, f.str(), "pause 1500\nprint VitesseX\n");
  ChildProcess quick({script, "-"}, f.str(), "pause 200\nquit\n");
  EXPECT_EQ(quick.wait_exit(30), 0) << quick.err();
  EXPECT_EQ(slow.wait_exit(30), 0) << slow.err();
  EXPECT_EQ(slow.out(), "VitesseX=5000\n");
}

// The board's process dies in the middle of a long X move: the console says
// so within a second, not at the end of the move's time-out, and finds the
// board again when a new simulator takes the same link.
TEST(EndToEnd, TheBoardVanishesUnderAMoveAndComesBack) {
  TempHome f("vanish");
  const std::string log = f / "board.log";
  auto sim = start_board(f, {BOARD_SIM_EXE, "--log", log, "--realistic"});
  // 300 half steps of 20 ms: a move of six seconds.
  ChildProcess script({SCRIPT_EXE, "-"}, f.str(),
                      kConnect + "set VitesseX 20000\nset nb_PasX 300\nclick CommandeX_P\nprint Label_defautP\n"
                                 "print Shape1\nwait Shape1 = 10 20\nprint Shape1\n");
  auto moving = [&] { return read_board_log(log).count("mX00300<LF>") > 0; };
  for (const auto deadline = Clock::now() + std::chrono::seconds(20); !moving() && Clock::now() < deadline;)
    script.read_until("\n", 0.05);
  ASSERT_TRUE(moving()) << script.err();

  kill(sim->pid(), SIGKILL);
  const auto killed = Clock::now();
  ASSERT_TRUE(script.read_until("Shape1=12\n", 10)) << script.out() << script.err();
  EXPECT_LT(Clock::now() - killed, std::chrono::seconds(1));
  EXPECT_NE(script.out().find("Label_defautP=Liaison série perdue"), std::string::npos) << script.out();
  EXPECT_NE(script.err().find("liaison perdue"), std::string::npos) << script.err();

  auto again = start_board(f, {BOARD_SIM_EXE});
  EXPECT_EQ(script.wait_exit(30), 0) << script.err();
  EXPECT_NE(script.out().find("Shape1=10\n"), std::string::npos) << script.out();
  EXPECT_EQ(again->terminate(10), 0);
}

}  // namespace
}  // namespace brivel::test
