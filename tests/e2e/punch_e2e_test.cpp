// A whole piece punched by the real programs: brivel-script drives the
// console against brivel-board-sim on a pseudo-terminal, and the board's
// hole log must be, hole for hole, what the piece's rows (from brivel-card)
// and the note table call for.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>

#include "console/model.h"
#include "e2e/child_process.h"
#include "import/smf_hex.h"

namespace brivel::test {
namespace {

using Clock = std::chrono::steady_clock;

// Division 480 at the default tempo (a tick is 1.04 ms): a held note, a
// chord of two short notes, a note of half a second after it, and a note
// shorter than the punch.
std::string piece() {
  const std::string events = dt(0) + "90 3C 64 " + dt(480) + "80 3C 40 " +   // 60: 500 ms, held
                             dt(480) + "90 3E 64 00 90 40 64 " +              // 62 and 64 together
                             dt(96) + "80 3E 40 00 80 40 40 " +               // ... 100 ms
                             dt(0) + "90 43 64 " + dt(500) + "80 43 40 " +    // 67
                             dt(100) + "90 41 64 " + dt(1) + "80 41 40 " +    // 65, shorter than the punch
                             dt(0) + "FF 2F 00";
  return header(0, 1, 480) + track(events);
}

// The holes the rows call for, by the run's own rule: a note is on from its
// NOTE row to its NTOF row and gets a hole at every step of the list in
// between, both ends included. X is the position of every track holding the
// note (default scale, half steps: the frames' unit); Y counts motor steps
// from the card's first place, half a punch (2 steps) ahead, 10 a step.
std::multiset<std::string> holes_called_for(const std::vector<std::string>& rows) {
  std::set<int> steps;
  std::map<int, std::vector<std::pair<int, int>>> spans;  // note -> [start, end]
  for (const auto& r : rows) {
    const int p = std::stoi(r.substr(0, 7));
    steps.insert(p);
    if (r.compare(14, 4, "NOTE") == 0) spans[std::stoi(r.substr(8, 5))].push_back({p, std::stoi(r.substr(19, 7))});
  }
  std::multiset<std::string> out;
  for (const auto& [note, list] : spans)
    for (const auto& t : kDefaultScale) {
      if (t.note != note) continue;
      for (const auto& [from, to] : list)
        for (auto it = steps.lower_bound(from); it != steps.end() && *it <= to; ++it)
          out.insert("X=" + std::to_string(t.position) + " Y=" + std::to_string((*it - 2) * 10));
    }
  return out;
}

// The holes of the piece written to `mid`, from its rows as brivel-card
// lists them.
std::multiset<std::string> holes_of_the_piece(const TempHome& home, const std::string& mid) {
  const std::string rows = home / "rows.txt";
  ChildProcess card({BRIVEL_CARD_EXE, "--rows", rows, mid}, home.str());
  EXPECT_EQ(card.wait_exit(60), 0) << card.err();
  std::vector<std::string> lines;
  std::ifstream in(rows);
  for (std::string l; std::getline(in, l);) {
    if (!l.empty() && l.back() == '\r') l.pop_back();
    if (!l.empty()) lines.push_back(l);
  }
  return holes_called_for(lines);
}

// Straight through, and with a pause in which the operator moves the head
// and the card by hand and searches the origin: the holes stand at the same
// places, the one where the run stopped punched twice.
TEST(EndToEnd, AWholePieceIsPunchedHoleForHole) {
  TempHome home("punch");
  const std::string mid = home.write("piece.mid", piece());
  const auto expected = holes_of_the_piece(home, mid);
  ASSERT_GT(expected.size(), 15u);

  struct Case {
    const char* what;
    std::string run;  // the script's lines from "Perforer" to the end of the run
    size_t repeated;  // holes punched twice
    bool firmware = false;  // against our firmware on the simulated chip
    const char* faults = "";  // made physically by the simulated machine
    size_t stray = 0;         // holes punched off their place before the head was put right
  } cases[] = {
      {"straight", "click Command11\n", 0},
#ifdef MACHINE_SIM_EXE
      // The firmware's own image, the holes measured at the chip's pins.
      {"firmware", "click Command11\n", 0, true},
      // The X motor slips 6 half steps on its 4th move: the linear sensor
      // sees it, the firmware reports it, the hole there is punched off its
      // place, and the console re-registers and punches it again at its place.
      {"firmware, X motor slipping", "click Command11\n", 0, true, "slip 6 4\n", 1},
#endif
      {"paused, hands on the machine",
       "start Command11\nwait Label_defautP = Perforation en cours\nwait gauge1 ~ [4-9]|[1-9][0-9]+\n"
       "click Command12\nwait Command12 = Continuer\npause 1000\nclick fenetre_moteurs\nset nb_PasX 100\n"
       "click CommandeX_P\nset nb_PasY 200\nclick CommandeY_M\nclick OrigineX_M\nclick fenetre_perforation\n"
       "answer yes\nclick Command12\nfinish\n",
       1},
  };
  for (const auto& k : cases) {
    const std::string log = home / (std::string(k.what) + ".log");
    std::vector<std::string> sim_argv = {BOARD_SIM_EXE, "--log", log, "--instant"};
#ifdef MACHINE_SIM_EXE
    if (k.firmware) sim_argv = {MACHINE_SIM_EXE, "--firmware", FIRMWARE_ELF, "--log", log};
    if (*k.faults) sim_argv.insert(sim_argv.end(), {"--faults", home.write("faults.txt", k.faults)});
#endif
    auto sim = start_board(home, sim_argv);
    // The machine's motors at 0.5 ms a step, so that the simulated chip
    // punches the piece in seconds.
    const std::string speed = k.firmware ? "set VitesseX 500\nset VitesseY 500\n" : "";
    const std::string script = kConnect + speed + "click fenetre_perforation\nanswer open " + mid +
                               "\nclick Ouvre_midi\nwait Label_defautP ~ Prêt à perforer.*\n" + k.run +
                               "expect Label_defautP = Perforation terminée\nprint compteurXY(1)\nquit\n";
    ChildProcess run({SCRIPT_EXE, "-"}, home.str(), script);
    EXPECT_EQ(run.wait_exit(120), 0) << k.what << run.err();
    EXPECT_EQ(sim->terminate(10), 0) << sim->err();

    const BoardLog board = read_board_log(log);
    const std::multiset<std::string> got(board.holes.begin(), board.holes.end());
    int hand_frames = 0;  // the hand moves and the card brought back
    for (const auto& l : board.lines) {
      EXPECT_EQ(l.find("LOST"), std::string::npos) << k.what << ": a byte lost by the chip";
      for (const char* f : {" > mX00100<LF>", " > MY00200<LF>", " > My00200<LF>"}) hand_frames += l.find(f) != std::string::npos;
    }
    std::set<std::string> places(got.begin(), got.end());
    size_t stray = 0;
    for (const auto& h : places) stray += expected.count(h) == 0;
    for (const auto& h : expected) EXPECT_EQ(places.count(h), 1u) << k.what << ": missing " << h;
    EXPECT_EQ(stray, k.stray) << k.what;
    EXPECT_EQ(got.size(), expected.size() + k.repeated + k.stray) << k.what;
  }
}

// Two punches driven from one computer: a console that quits ends only
// itself, and the other's run goes on to its last hole; a third console is
// refused the port that one of them holds, and told who holds it.
TEST(EndToEnd, QuittingOneConsoleLeavesTheOtherPunching) {
  TempHome home("two-punches");
  const std::string mid = home.write("piece.mid", piece()), log = home / "board7.log";
  const auto expected = holes_of_the_piece(home, mid);
  auto board7 = start_board(home, {BOARD_SIM_EXE, "--log", log, "--realistic"});
  ChildProcess board8({BOARD_SIM_EXE, "--link", home / "ports/com8", "--instant"}, home.str());
  ASSERT_TRUE(board8.read_until("ready", 10)) << board8.err();
  ChildProcess punching({SCRIPT_EXE, "-"}, home.str(),
                        kConnect + "click fenetre_perforation\nanswer open " + mid +
                            "\nclick Ouvre_midi\nwait Label_defautP ~ Prêt à perforer.*\nclick Command11\n"
                            "expect Label_defautP = Perforation terminée\nquit\n");
  auto holes = [&] { return read_board_log(log).holes.size(); };
  for (const auto deadline = Clock::now() + std::chrono::seconds(30); holes() < 2 && Clock::now() < deadline;)
    punching.read_until("\n", 0.05);
  ASSERT_GE(holes(), 2u) << punching.err();
  ChildProcess refused({SCRIPT_EXE, "-"}, home.str(),
                       "click fenetre_moteurs\nset AdressePort 7\nexpect Shape1 = 12\nquit\n");
  EXPECT_EQ(refused.wait_exit(30), 0) << refused.err();
  EXPECT_NE(refused.err().find("déjà utilisé par brivel-script (processus " + std::to_string(punching.pid()) +
                               ") : une autre console pilote cette machine"),
            std::string::npos)
      << refused.err();
  ChildProcess quitting({SCRIPT_EXE, "-"}, home.str(),
                        "click fenetre_moteurs\nset AdressePort 8\nwait Shape1 = 10\nquit\n");
  EXPECT_EQ(quitting.wait_exit(30), 0) << quitting.err();
  EXPECT_LT(holes(), expected.size()) << "the other run was still going when this console quit";
  EXPECT_EQ(punching.wait_exit(120), 0) << punching.err();
  const auto got = read_board_log(log).holes;
  EXPECT_EQ(std::multiset<std::string>(got.begin(), got.end()), expected);
  board8.terminate(10);
}

#if defined(MACHINE_SIM_EXE) && defined(OPTIBOOT_HEX)
// The board's restarts and the bootloader's bytes, from the machine's notes.
struct BootNotes {
  int resets = 0, to_bootloader = 0;
  std::vector<int> step_us;  // the X moves' step periods at the pins
};
BootNotes boot_notes(const BoardLog& log) {
  BootNotes n;
  for (const auto& l : log.lines) {
    n.resets += l.find(" # reset (") != std::string::npos;
    if (auto at = l.find(" octets reçus par le chargeur"); at != std::string::npos) {
      const auto from = l.rfind(", ", at) + 2;
      n.to_bootloader = std::stoi(l.substr(from, at - from));  // the last session's
    }
    if (auto at = l.find(" pas de "); l.find("# mouvement X") != std::string::npos && at != std::string::npos)
      n.step_us.push_back(std::stoi(l.substr(at + 8)));
  }
  return n;
}

// The modem lines of the console (and of the avrdude it starts) reach the
// simulated board; the sanitizers let the preload library in.
struct ModemLines {
  ModemLines() {
    setenv("LD_PRELOAD", MODEM_LINES_SO, 1);
    setenv("ASAN_OPTIONS", "verify_asan_link_order=0", 1);
  }
  ~ModemLines() {
    unsetenv("LD_PRELOAD");
    unsetenv("ASAN_OPTIONS");
  }
};

// A new board, nothing but its bootloader, flashed by "Programmation Atmega"
// with the real avrdude, then a piece punched on it with an instrument far
// from the firmware's defaults: every hole where that instrument puts it,
// the steps at its speed, no byte of the console lost to the bootloader.
// The board greets nothing until it is flashed: its first connection waits
// for the greeting, then pushes to the bootloader.
TEST(EndToEnd, ANewBoardIsFlashedThenPunches) {
  struct Case {
    const char* entry;
    const char* bootloader;
  } cases[] = {{"Prog_uno_rev3", OPTIBOOT_HEX}, {"Prog_duemilanove", ATMEGABOOT_HEX}};
  for (const auto& k : cases) {
    TempHome home("new-board");
    const std::string mid = home.write("piece.mid", piece()), log = home / "machine.log";
    // X counts from the origin switch: a board that missed "OX00300" would
    // stop 300 steps short of where the console believes the head stands.
    const auto expected = holes_of_the_piece(home, mid);
    std::filesystem::create_directories(home.dir / "Brivel_uploader/Binaire");
    std::filesystem::copy_file(FIRMWARE_HEX, home / "Brivel_uploader/Binaire/Brivel.cpp.hex");
    auto sim = start_board(home, {MACHINE_SIM_EXE, "--bootloader", k.bootloader, "--flash", home / "flash.bin",
                                  "--log", log});
    ModemLines lines;
    ChildProcess run({SCRIPT_EXE, "-"}, home.str(),
                     kConnect + "answer yes\nclick " + k.entry +
                         "\nwait Upload.status ~ Programmation réussie(.|\\n)*reconnectée(.|\\n)* 90\n"
                         "expect Label_defautP = Microprogramme à jour : carte reconnectée\nexpect Shape1 = 10\n"
                         "print Upload.report\nclick Upload.close\n"
                         "set VitesseX 700\nset VitesseY 600\nset Text_origineX 300\n"
                         "click fenetre_perforation\nanswer open " + mid +
                         "\nclick Ouvre_midi\nwait Label_defautP ~ Prêt à perforer.*\nclick Command11\n"
                         "expect Label_defautP = Perforation terminée\nquit\n");
    EXPECT_EQ(run.wait_exit(240), 0) << k.entry << run.err();
    EXPECT_EQ(sim->terminate(10), 0) << sim->err();
    EXPECT_NE(run.out().find("bytes of flash verified"), std::string::npos) << k.entry << run.out();
    const BoardLog board = read_board_log(log);
    EXPECT_EQ(std::multiset<std::string>(board.holes.begin(), board.holes.end()), expected) << k.entry;
    const BootNotes notes = boot_notes(board);
    EXPECT_EQ(notes.to_bootloader, 0) << k.entry << ": the console's bytes reached the bootloader";
    ASSERT_GT(notes.step_us.size(), 5u) << k.entry;
    for (int us : notes.step_us) EXPECT_NEAR(us, 700, 2) << k.entry << ": the X steps at another speed";
    for (const auto& l : board.lines) EXPECT_EQ(l.find("LOST"), std::string::npos) << k.entry << ": " << l;
  }
}

// A board as sold, running our image, that restarts in the run: a brown-out
// as its 5th hole is punched, the cable pulled for 2 s at the 12th. The
// console sees it, suspends, gives the board its parameters again, and
// "Continuer" re-registers: every hole at its place, the one under way
// punched again there.
TEST(EndToEnd, ABoardThatRestartsInTheRunMisplacesNoHole) {
  struct Case {
    const char* fault;
    const char* seen;  // the script's wait for the suspension
  } cases[] = {
      {"reset hole 5\n", "wait Label_defaut = Carte réinitialisée 60\nwait Command12 = Continuer\n"},
      {"unplug hole 12 2000\n", "wait Command12 = Continuer 60\nwait Shape1 = 12\nwait Shape1 = 10 30\n"},
  };
  for (const auto& k : cases) {
    TempHome home("restart");
    const std::string mid = home.write("piece.mid", piece()), log = home / "machine.log";
    const auto expected = holes_of_the_piece(home, mid);
    auto sim = start_board(home, {MACHINE_SIM_EXE, "--bootloader", OPTIBOOT_HEX, "--firmware", FIRMWARE_ELF, "--log",
                                  log, "--faults", home.write("faults.txt", k.fault)});
    ModemLines lines;
    ChildProcess run({SCRIPT_EXE, "-"}, home.str(),
                     kConnect + "set VitesseX 500\nset VitesseY 500\nclick fenetre_perforation\nanswer open " + mid +
                         "\nclick Ouvre_midi\nwait Label_defautP ~ Prêt à perforer.*\nstart Command11\n" + k.seen +
                         "click Command12\nfinish\nexpect Label_defautP = Perforation terminée\nquit\n");
    EXPECT_EQ(run.wait_exit(240), 0) << k.fault << run.err();
    EXPECT_EQ(sim->terminate(10), 0) << sim->err();
    const BoardLog board = read_board_log(log);
    const std::multiset<std::string> got(board.holes.begin(), board.holes.end());
    std::set<std::string> places(got.begin(), got.end());
    for (const auto& h : expected) EXPECT_EQ(places.count(h), 1u) << k.fault << ": missing " << h;
    for (const auto& h : places) EXPECT_EQ(expected.count(h), 1u) << k.fault << ": misplaced " << h;
    EXPECT_EQ(got.size(), expected.size() + 1) << k.fault << ": the hole under way punched again, no other";
    EXPECT_GE(boot_notes(board).resets, 3) << k.fault;
  }
}

// What is flashed and stored survives a night unplugged: the simulator
// stopped and started again on its files, the image runs (it greets, the
// lamps go green) and an EEPROM cell written before reads back.
TEST(EndToEnd, FlashAndEepromSurviveAPowerCycle) {
  TempHome home("power-cycle");
  const std::vector<std::string> board = {MACHINE_SIM_EXE, "--bootloader", OPTIBOOT_HEX, "--flash",
                                          home / "flash.bin", "--eeprom", home / "eeprom.bin", "--log",
                                          home / "machine.log"};
  std::vector<std::string> first = board;
  first.insert(first.end(), {"--firmware", FIRMWARE_ELF});
  ModemLines lines;
  for (const auto& [args, script] :
       {std::pair(first, "key Alt+E\nset EEPROM.adress 12\nclick EEPROM.Command1\nexpect EEPROM.value = 255\n"
                         "set EEPROM.value 7\nclick EEPROM.Command2\nquit\n"),
        std::pair(board, "key Alt+E\nset EEPROM.adress 12\nclick EEPROM.Command1\nexpect EEPROM.value = 7\nquit\n")}) {
    auto sim = start_board(home, args);
    ChildProcess run({SCRIPT_EXE, "-"}, home.str(), kConnect + script);
    EXPECT_EQ(run.wait_exit(60), 0) << run.err();
    EXPECT_EQ(sim->terminate(10), 0) << sim->err();
    const BoardLog log = read_board_log(home / "machine.log");
    EXPECT_EQ(log.count("cpxxxxx<LF>"), 1) << "the image ran and got its parameters";
  }
}
#endif

}  // namespace
}  // namespace brivel::test
