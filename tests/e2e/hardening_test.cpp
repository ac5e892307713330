// The programs met as a new user meets them: bad command lines and files
// that are no script, and a board that dies under a move.
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "e2e/child_process.h"

namespace brivel::test {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

struct Folder {
  fs::path dir;
  Folder() {
    dir = fs::temp_directory_path() / ("brivel-e2e-hard-" + std::to_string(getpid()));
    fs::remove_all(dir);
    fs::create_directories(dir);
    fs::permissions(dir, fs::perms(0755));
  }
  ~Folder() { fs::remove_all(dir); }
  std::string operator/(const char* name) const { return (dir / name).string(); }
};

TEST(Hardening, BadCommandLinesAndFiles) {
  Folder f;
  std::ofstream(f / "locked.txt") << "print VitesseX\n";
  fs::permissions(f / "locked.txt", fs::perms::none);
  std::ofstream(f / "zz.faults") << "B MY 1\nsilence ZZ 4\n";
  // Root reads any file: the locked one is tried by an ordinary user.
  std::vector<std::string> as_user;
  if (geteuid() == 0) as_user = {"/usr/bin/setpriv", "--reuid=65534", "--regid=65534", "--clear-groups"};
  auto with = [](std::vector<std::string> before, const std::vector<std::string>& args) {
    before.insert(before.end(), args.begin(), args.end());
    return before;
  };
  const std::vector<std::string> no_display = {"/usr/bin/env",    "-u", "DISPLAY",        "-u",
                                               "WAYLAND_DISPLAY", "-u", "QT_QPA_PLATFORM"};
  struct Case {
    std::vector<std::string> argv;
    int status;
    std::string err_has;
    std::string out_has = "";
  } cases[] = {
      {{SCRIPT_EXE, f.dir.string()}, 2, "Script refusé : " + f.dir.string() + " est un dossier\n"},
      {{SCRIPT_EXE, "/dev/zero"}, 2, "Script refusé : /dev/zero n'est pas un fichier ordinaire"},
      {{SCRIPT_EXE, f / "absent.txt"}, 2, "Script introuvable : " + f / "absent.txt"},
      {with(as_user, {SCRIPT_EXE, f / "locked.txt"}), 2, "Script illisible : " + f / "locked.txt" + " (accès refusé)"},
      {{SCRIPT_EXE, "--bogus"}, 2, "brivel-script : option inconnue « --bogus »\nUsage : brivel-script"},
      {{SCRIPT_EXE, "a", "b"}, 2, "un script et un seul\nUsage :"},
      {{SCRIPT_EXE}, 2, "brivel-script : un script et un seul\nUsage : brivel-script"},
      {{SCRIPT_EXE, "--help"}, 0, "", "Usage : brivel-script SCRIPT"},
      {{SCRIPT_EXE, "--version"}, 0, "", "brivel-script 0."},
      {{BOARD_SIM_EXE, "--bogus"}, 2, "brivel-board-sim : Option inconnue : « --bogus ».\nUsage : brivel-board-sim"},
      {{BOARD_SIM_EXE, "--sensors", "OOO"}, 2, "--sensors : cinq caractères O (démasqué) ou . (masqué)"},
      {{BOARD_SIM_EXE, "--sensors", "OOXO."}, 2, "pas « OOXO. »"},
      {{BOARD_SIM_EXE, "--faults", f.dir.string()}, 2, "script de défauts refusé (c'est un dossier)"},
      {{BOARD_SIM_EXE, "--faults", "/dev/zero"}, 2, "script de défauts refusé (ce n'est pas un fichier ordinaire)"},
      {{BOARD_SIM_EXE, "--faults", f / "absent"}, 2, "script de défauts introuvable"},
      {{BOARD_SIM_EXE, "--faults", f / "zz.faults"}, 2, "ligne 2 : code que la carte ne connaît pas"},
      {{BOARD_SIM_EXE, "--link", f / "no/such/ports/com7", "--duration", "1"}, 1, "n'existe pas : lien"},
      {{BOARD_SIM_EXE, "--help"}, 0, "", "Usage : brivel-board-sim"},
      {{BOARD_SIM_EXE, "--version"}, 0, "", "brivel-board-sim 0."},
      {{BRIVEL_EXE, "--bogus"}, 2, "brivel : option inconnue « --bogus »\nUsage : brivel"},
      {{BRIVEL_EXE, "--demo"}, 2, "l'option --demo attend une valeur"},
      {{BRIVEL_EXE, "--version"}, 0, "", "brivel 0."},
      {with(no_display, {BRIVEL_EXE}), 1, "brivel : aucun affichage (ni DISPLAY ni WAYLAND_DISPLAY)"},
  };
  for (const auto& c : cases) {
    const std::string what = c.argv.back();
    ChildProcess p(c.argv, f.dir.string());
    EXPECT_EQ(p.wait_exit(30), c.status) << what << "\n" << p.err();
    EXPECT_NE(p.err().find(c.err_has), std::string::npos) << what << "\n" << p.err();
    EXPECT_EQ(c.status == 0 ? p.err() : p.out(), "") << what << ": nothing but the answer";
    EXPECT_NE(p.out().find(c.out_has), std::string::npos) << what << "\n" << p.out();
  }
  EXPECT_FALSE(fs::exists(f / "no")) << "no folder made above the link's own";
}

bool log_has(const fs::path& log, const std::string& text) {
  std::ifstream in(log);
  const std::string all((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  return all.find(text) != std::string::npos;
}

// The board's process dies in the middle of a long X move: the console says
// so within a second, not at the end of the move's time-out, and finds the
// board again when a new simulator takes the same link.
TEST(Hardening, TheBoardVanishesUnderAMoveAndComesBack) {
  Folder f;
  const std::string link = f / "ports", log = f / "board.log";
  fs::create_directories(link);
  ChildProcess sim({BOARD_SIM_EXE, "--link", link + "/com7", "--log", log, "--realistic"}, f.dir.string());
  ASSERT_TRUE(sim.read_until("ready", 10)) << sim.err();
  // 300 half steps of 20 ms: a move of six seconds.
  ChildProcess script({SCRIPT_EXE, "-"}, f.dir.string(),
                      "click fenetre_moteurs\nset AdressePort 7\nwait Shape1 = 10\nset VitesseX 20000\n"
                      "set nb_PasX 300\nclick CommandeX_P\nprint Label_defautP\nprint Shape1\n"
                      "wait Shape1 = 10 20\nprint Shape1\n");
  const auto deadline = Clock::now() + std::chrono::seconds(20);
  while (!log_has(log, "> mX00300") && Clock::now() < deadline) script.read_until("\n", 0.05);
  ASSERT_TRUE(log_has(log, "> mX00300")) << script.err();

  kill(sim.pid(), SIGKILL);
  const auto killed = Clock::now();
  ASSERT_TRUE(script.read_until("Shape1=12\n", 10)) << script.out() << script.err();
  EXPECT_LT(Clock::now() - killed, std::chrono::seconds(1));
  EXPECT_NE(script.out().find("Label_defautP=Liaison série perdue"), std::string::npos) << script.out();
  EXPECT_NE(script.err().find("liaison perdue"), std::string::npos) << script.err();

  ChildProcess again({BOARD_SIM_EXE, "--link", link + "/com7"}, f.dir.string());
  ASSERT_TRUE(again.read_until("ready", 10)) << again.err();
  EXPECT_EQ(script.wait_exit(30), 0) << script.err();
  EXPECT_NE(script.out().find("Shape1=10\n"), std::string::npos) << script.out();
  EXPECT_EQ(again.terminate(10), 0);
}

}  // namespace
}  // namespace brivel::test
