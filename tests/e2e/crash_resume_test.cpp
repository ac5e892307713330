// A run that survives being killed: brivel-board-sim keeps running while the
// program punching a piece through brivel-script is killed with SIGKILL at
// many places (a punch cycle, an X move, a Y move, right after a fault);
// each time a new program restores Perfo_en_cours.sav and goes on. The
// board's hole log must hold every hole of an uninterrupted run at its
// place, and none elsewhere; the hole journal must tell the same story.
#include <gtest/gtest.h>
#include <signal.h>

#include <chrono>
#include <cstdio>
#include <fstream>
#include <regex>
#include <set>
#include <sstream>

#include "e2e/child_process.h"
#include "import/smf_hex.h"
#include "persistence/journal/hole_journal.h"

namespace brivel::test {
namespace {

namespace fs = std::filesystem;

// Three notes held, a chord, a run of short notes: about 60 holes over
// 200 steps, with PASY rows, groups and steps that follow each other.
std::string piece() {
  std::string e = dt(0) + "90 3C 64 " + dt(480) + "80 3C 40 " + dt(240) + "90 3E 64 00 90 40 64 " + dt(96) +
                  "80 3E 40 00 80 40 40 ";
  for (int n : {0x43, 0x45, 0x47, 0x48, 0x4A}) {
    char b[8];
    std::snprintf(b, sizeof b, "%02X", n);
    e += dt(60) + "90 " + b + " 64 " + dt(60) + "80 " + b + " 40 ";
  }
  e += dt(0) + "90 41 64 " + dt(700) + "80 41 40 " + dt(0) + "FF 2F 00";
  return header(0, 1, 480) + track(e);
}

std::string read(const fs::path& p) {
  std::ifstream in(p, std::ios::binary);
  std::stringstream s;
  s << in.rdbuf();
  return s.str();
}

// The card's place on the board: the Y motor steps of every MY it took.
long board_y(const BoardLog& log) {
  long y = 0;
  for (const auto& f : log.frames)
    if (f.size() == 11 && f.compare(0, 2, "MY") == 0) y += std::stol(f.substr(2, 5));
  return y;
}

// A board of its own (realistic timing, so that a kill falls inside a move
// or a cycle, or instant) and the instrument: the console's defaults on port
// 7, saved by the program.
struct Machine {
  TempHome home;
  std::string log;
  std::unique_ptr<ChildProcess> sim;
  Machine(const std::string& tag, const char* timing, const std::string& faults = "") : home(tag), log(home / "board.log") {
    std::vector<std::string> argv = {BOARD_SIM_EXE, "--log", log, timing};
    if (!faults.empty()) argv.insert(argv.end(), {"--faults", home.write("faults.txt", faults)});
    sim = start_board(home, argv);
    home.write("piece.mid", piece());
    ChildProcess save({SCRIPT_EXE, "-"}, home.str(),
                      kConnect + "answer save " + home / "orgue.set" + "\nclick Sauve_param\nquit\n");
    EXPECT_EQ(save.wait_exit(60), 0) << save.err();
  }
  std::multiset<std::string> holes() const {
    const auto h = read_board_log(log).holes;
    return {h.begin(), h.end()};
  }
  std::string first_run() const {
    return "select File1 orgue.set\nwait Shape1 = 10\nanswer open " + home / "piece.mid" +
           "\nclick Ouvre_midi\nwait Label_defautP ~ Prêt à perforer.*\nclick Command11\n"
           "expect Label_defautP = Perforation terminée\nquit\n";
  }
};

// Where a kill falls: the n-th line of the board log since the program
// started that matches, then SIGKILL at once.
struct KillPoint {
  const char* what;
  const char* pattern;
  int nth;
};

TEST(CrashResume, KilledAnywhereTheCardGetsEveryHoleAtItsPlace) {
  // The uninterrupted run, on a board of its own.
  std::multiset<std::string> expected;
  {
    Machine ref("crash-ref", "--instant");
    ChildProcess run({SCRIPT_EXE, "-"}, ref.home.str(), ref.first_run());
    ASSERT_EQ(run.wait_exit(300), 0) << run.err();
    expected = ref.holes();
  }
  ASSERT_GT(expected.size(), 30u);

  // The board answers C to the 8th punch cycle of its life: a fault, which
  // suspends the run; the attempt it falls in is killed right after it.
  Machine m("crash", "--realistic", "C CZ 8\n");
  const KillPoint points[] = {
      {"Y move", R"( > MY\d{5}<LF>$)", 2},  {"punch cycle", R"( > [Cc]Z)", 3},   {"X move", R"( > [mM][xX]\d{5})", 2},
      {"Y move", R"( > MY\d{5}<LF>$)", 3},  {"punch cycle", R"( > [Cc]Z)", 2},   {"X move", R"( > [mM][xX]\d{5})", 3},
      {"hole confirmed", R"( \* )", 2},     {"Y move", R"( > MY\d{5}<LF>$)", 2}, {"punch cycle", R"( > [Cc]Z)", 4},
      {"X move", R"( > [mM][xX]\d{5})", 4}, {"Y move", R"( > MY\d{5}<LF>$)", 4}, {"hole confirmed", R"( \* )", 3},
  };
  const std::regex fault(R"( < C$)");
  int marks = 0, tried = 0, faults = 0;
  bool first = true;
  auto script_for = [&]() {
    if (first) return m.first_run();
    std::string s;
    // The operator checks the card when the restore asks: has it moved?
    const std::string sav = read(m.home.dir / "Perfo_en_cours.sav");
    std::smatch mk;
    if (std::regex_search(sav, mk, std::regex(R"(avance_Y_en_cours (-?\d+) (-?\d+))"))) {
      ++marks;
      const long vers = std::stol(mk[2]);
      s += board_y(read_board_log(m.log)) == (vers - 2) * 10 ? "answer yes\n" : "answer no\n";
    }
    return s + "answer open " + m.home / "Perfo_en_cours.sav" +
           "\nclick Restitue_contexte\nwait Shape1 = 10\nclick Command11\n"
           "expect Label_defautP = Perforation terminée\nquit\n";
  };
  for (const auto& k : points) {
    const std::size_t from = read_board_log(m.log).lines.size();
    ChildProcess run({SCRIPT_EXE, "-"}, m.home.str(), script_for());
    first = false;
    const std::regex re(k.pattern);
    bool killed = false;
    for (auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
         !killed && std::chrono::steady_clock::now() < deadline;) {
      const auto lines = read_board_log(m.log).lines;
      int seen = 0;
      bool faulted = false;
      for (std::size_t i = from; i < lines.size(); ++i) {
        if (std::regex_search(lines[i], re)) ++seen;
        faulted = faulted || std::regex_search(lines[i], fault);
      }
      if (faulted) ++faults;
      if (seen >= k.nth || faulted) {
        ::kill(run.pid(), SIGKILL);
        killed = true;
      }
      run.read_until("\x01", 0.002);
    }
    const int status = run.wait_exit(10);
    if (!killed) {
      // The piece ended before this point: the rest are not tried.
      EXPECT_EQ(status, 0) << k.what << ": " << run.err();
      break;
    }
    ++tried;
  }
  // The last program finishes the piece.
  ChildProcess last({SCRIPT_EXE, "-"}, m.home.str(), script_for());
  EXPECT_EQ(last.wait_exit(300), 0) << last.err() << last.out();
  EXPECT_EQ(m.sim->terminate(10), 0);

  const auto got = m.holes();
  const std::set<std::string> want(expected.begin(), expected.end()), have(got.begin(), got.end());
  std::size_t missing = 0, misplaced = 0;
  for (const auto& h : want) missing += have.count(h) ? 0 : 1;
  for (const auto& h : have) misplaced += want.count(h) ? 0 : 1;
  const std::size_t repeated = got.size() - have.size();  // the same place punched again
  std::printf(
      "crash test: %d points tried, %zu holes expected, %zu punched, %zu missing, %zu misplaced, "
      "%zu repeated, %d Y moves under way put to the operator, %d kills right after a fault\n",
      tried, expected.size(), got.size(), missing, misplaced, repeated, marks, faults);
  EXPECT_GE(tried, 10);
  EXPECT_EQ(faults, 1);
  EXPECT_EQ(missing, 0u);
  EXPECT_EQ(misplaced, 0u);
  EXPECT_GT(marks, 0);

  // The hole journal, written through every kill and restore: each line a
  // hole the board punched there; a hole is missing only where a kill fell
  // between the board's answer and the line.
  const auto journal = holes_of_last_run(read_journal(system_storage(), (m.home.dir / kJournalTrous).string()), "piece");
  std::multiset<std::string> journaled;
  for (const JournalHole& j : journal) {
    const std::string h = "X=" + std::to_string(j.x) + " Y=" + std::to_string(j.y);
    EXPECT_TRUE(have.count(h)) << "journal line of a hole the board never punched: " << h;
    journaled.insert(h);
  }
  EXPECT_LE(got.size() - journaled.size(), static_cast<std::size_t>(tried));
  EXPECT_GE(got.size(), journaled.size());
}

}  // namespace
}  // namespace brivel::test
