#include "app/script_runner.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <sstream>

#include "support/punch_rig.h"
#include "support/sim_console.h"

namespace brivel::test {
namespace {

struct Scripted : SimConsole {
  std::ostringstream out;
  ScriptRunner runner{app, p.sim_dialogs(), out};
};

TEST(ScriptRunner, PlaysOperatorActions) {
  Scripted t;
  ScriptResult r = t.runner.run(
      "# connect and move\n"
      "click fenetre_moteurs\n"
      "set AdressePort 1\n"
      "set AdressePort 10\n"
      "check Demipas 0\n"
      "set nb_PasX 12\n"
      "click CommandeX_P\n"
      "wait LabelX = 12 5\n"
      "expect Demipas = 0\n"
      "print Shape1\n"
      "answer open /a/b.mid /a/c.mid\n"
      "answer yes\n"
      "answer input 10:30\n");
  EXPECT_EQ(r.status, ScriptStatus::Ok) << r.message;
  EXPECT_EQ(t.out.str(), "Shape1=10\n") << "a lamp reads as its palette colour";
  ASSERT_EQ(t.p.sim_dialogs().open_answers.size(), 1u);
  EXPECT_EQ(t.p.sim_dialogs().open_answers[0], std::string("/a\0b.mid\0c.mid", 14));
  EXPECT_EQ(t.p.sim_dialogs().box_answers.front(), BoxAnswer::Yes);
}

TEST(ScriptRunner, FailuresAndErrorsNameTheLine) {
  struct Case {
    const char* script;
    ScriptStatus status;
    int line;
  } cases[] = {
      {"expect VitesseX = 5000\nexpect VitesseX = 4000\n", ScriptStatus::Failed, 2},
      {"click Command11\n", ScriptStatus::Failed, 1},       // disabled at start
      {"wait LabelX = 99 0.5\n", ScriptStatus::Failed, 1},  // never comes
      {"\nfly away\n", ScriptStatus::ScriptError, 2},
      {"set NoSuchField 3\n", ScriptStatus::ScriptError, 1},
      {"set Label4 x\n", ScriptStatus::ScriptError, 1},  // not a text field
      {"check Demipas 7\n", ScriptStatus::ScriptError, 1},
      {"wait LabelX ~ (\n", ScriptStatus::ScriptError, 1},
      {"select File1 absent.set\n", ScriptStatus::Failed, 1},
      {"answer open\n", ScriptStatus::ScriptError, 1},
      {"answer open /a/x.mid /b/y.mid\n", ScriptStatus::ScriptError, 1},  // a selection lies in one folder
      {"answer maybe\n", ScriptStatus::ScriptError, 1},
      {"check Valcalc 2\n", ScriptStatus::ScriptError, 1},  // an option is on or off
      {"check nb_PasX 1\n", ScriptStatus::ScriptError, 1},
      {"select Demipas x\n", ScriptStatus::ScriptError, 1},
      {"click Nowhere\n", ScriptStatus::ScriptError, 1},
      {"print Nowhere\n", ScriptStatus::ScriptError, 1},
      {"pause soon\n", ScriptStatus::ScriptError, 1},
      {"pause -5\n", ScriptStatus::ScriptError, 1},
      {"pause inf\n", ScriptStatus::ScriptError, 1},
      {"wait LabelX 12\n", ScriptStatus::ScriptError, 1},
      {"wait LabelX = a b inf\n", ScriptStatus::ScriptError, 1},  // a limit that never comes
      {"wait LabelX = a b -1\n", ScriptStatus::ScriptError, 1},
      {"wait LabelX = a b nan\n", ScriptStatus::ScriptError, 1},
      {"quit now\n", ScriptStatus::ScriptError, 1},  // words behind a command are refused, not dropped
      {"answer yes please\n", ScriptStatus::ScriptError, 1},
      {"print LabelX LabelY\n", ScriptStatus::ScriptError, 1},
      {"click Command11 twice\n", ScriptStatus::ScriptError, 1},
      {"expect LabelX == 12\n", ScriptStatus::ScriptError, 1},
  };
  for (const auto& c : cases) {
    Scripted t;
    ScriptResult r = t.runner.run(c.script);
    EXPECT_EQ(r.status, c.status) << c.script;
    EXPECT_EQ(r.line, c.line) << c.script;
  }
}

TEST(ScriptRunner, TypingChecksAndReadingByKind) {
  Scripted t;
  ScriptResult r = t.runner.run(
      "click fenetre_moteurs\n"
      "set\tnb_PasX\t12\n"  // tabs separate like blanks
      "print nb_PasX\n"
      "set VitesseX  7\n"  // the text is the rest after one blank
      "print VitesseX\n"
      "set Text_origineX\n"  // nothing typed: an empty field
      "print Text_origineX\n"
      "check Demipas 0\n"
      "print Demipas\n"        // a check box reads as its value
      "print About.nb_trou\n"  // a hidden button reads as its caption
      "expect nb_PasX ~ 1[0-9]\n"
      "expect Label_defautP ~ Aucun fichier de paramètres.*\n"
      "click fenetre_notes\n"
      "check Valcalc 1\n"
      "print Valcalc\n");
  ASSERT_EQ(r.status, ScriptStatus::Ok) << r.message;
  EXPECT_EQ(t.out.str(),
            "nb_PasX=12\n"
            "VitesseX= 7\n"
            "Text_origineX=\n"
            "Demipas=0\n"
            "About.nb_trou=\n"
            "Valcalc=1\n");
  EXPECT_EQ(t.m.Demipas.value(), 0);
}

TEST(ScriptRunner, WhatTheOperatorCannotReachIsAFailure) {
  Scripted t;
  t.m.nb_PasX.set_enabled(false);
  ScriptResult r = t.runner.run("click fenetre_moteurs\n# greyed out\nset nb_PasX 5\n");
  EXPECT_EQ(r.status, ScriptStatus::Failed);
  EXPECT_EQ(r.line, 3);
  EXPECT_EQ(r.message.rfind("ligne 3 : set nb_PasX 5\n", 0), 0u) << r.message;
  EXPECT_EQ(t.m.nb_PasX.text(), "200") << "nothing typed";
}

TEST(ScriptRunner, AFailedExpectSaysWhatWasSeen) {
  Scripted t;
  ScriptResult r = t.runner.run("expect VitesseX = 4000\n");
  EXPECT_EQ(r.status, ScriptStatus::Failed);
  EXPECT_EQ(r.message, "ligne 1 : expect VitesseX = 4000\n  attendu VitesseX = « 4000 », lu « 5000 »");
}

TEST(ScriptRunner, DialogAnswersAreQueuedInOrder) {
  Scripted t;
  ScriptResult r = t.runner.run(
      "answer open /pieces/valse.mid\n"
      "answer save /tmp/x.set\n"
      "answer no\n"
      "answer ok\n"
      "answer input 10 h 30\n"
      "answer input\n");
  ASSERT_EQ(r.status, ScriptStatus::Ok) << r.message;
  QueuedDialogs& d = t.p.sim_dialogs();
  EXPECT_EQ(d.open_answers, std::deque<std::string>{"/pieces/valse.mid"});
  EXPECT_EQ(d.save_answers, std::deque<std::string>{"/tmp/x.set"});
  EXPECT_EQ(d.box_answers, (std::deque<BoxAnswer>{BoxAnswer::No, BoxAnswer::Ok}));
  ASSERT_EQ(d.input_answers.size(), 2u);
  EXPECT_EQ(d.input_answers[0], std::optional<std::string>("10 h 30"));
  EXPECT_EQ(d.input_answers[1], std::optional<std::string>(""));
}

TEST(ScriptRunner, WaitsAndPausesRunOnTheConsoleClock) {
  Scripted t;
  int32_t t0 = t.p.tick_ms();
  ASSERT_EQ(t.runner.run("pause 250\n").status, ScriptStatus::Ok);
  EXPECT_GT(t.p.tick_ms() - t0, 250);
  t0 = t.p.tick_ms();
  ScriptResult r = t.runner.run("wait LabelX = 99 2\n");
  EXPECT_EQ(r.status, ScriptStatus::Failed);
  EXPECT_GE(t.p.tick_ms() - t0, 2000) << "a wait gives up after its own time";
  EXPECT_LT(t.p.tick_ms() - t0, 2200);
  t0 = t.p.tick_ms();
  ASSERT_EQ(t.runner.run("wait LabelX = 0\n").status, ScriptStatus::Ok);
  EXPECT_EQ(t.p.tick_ms(), t0) << "a wait that already holds takes no time";
}

// "start": the next lines are an operator's clicks during the run. A pause
// with a hand move and an origin search leaves every hole at the place the
// same piece punched straight through has it; one is punched twice.
TEST(ScriptRunner, StartPlaysTheNextLinesInsideTheHandler) {
  const std::string piece = fichier_evenements({note_line(1000, 60, 500), note_line(2000, 62, 100)}, 2200);
  auto places = [](const PunchRig& r) {
    auto h = r.holes();
    return std::set<std::pair<int, int>>(h.begin(), h.end());
  };
  PunchRig straight;
  ASSERT_TRUE(straight.load(piece));
  straight.punch();
  const std::string pause =
      "start Command11\nwait Label_defautP = Perforation en cours\nwait gauge1 ~ [3-9]\nclick Command12\n"
      "wait Command12 = Continuer\npause 500\nclick fenetre_moteurs\nset nb_PasX 100\nclick CommandeX_P\n"
      "click OrigineX_M\nclick fenetre_perforation\nclick Command12\n";
  struct Case {
    std::string script;
    ScriptStatus status;
    int line;
    size_t holes;  // beyond the straight run's
  } cases[] = {
      {pause + "finish\nexpect Label_defautP = Perforation terminée\n", ScriptStatus::Ok, 0, 1},
      {pause + "wait Label_defautP = Perforation terminée\nquit\n", ScriptStatus::Failed, 14, 1},
      {"start Command11\nwait Label_defautP = Perforation en cours\nfinish\nfinish\nquit\n", ScriptStatus::Ok, 5, 0},
  };
  for (const auto& k : cases) {
    PunchRig r;
    ASSERT_TRUE(r.load(piece));
    std::ostringstream out;
    ScriptRunner runner{r.app, r.p.sim_dialogs(), out};
    ScriptResult res{};
    try {
      res = runner.run(k.script);
    } catch (const SimProcessEnded&) {
      res.line = 5;  // the quit sequence ends the simulated process
    }
    EXPECT_EQ(res.status, k.status) << k.script << res.message;
    EXPECT_EQ(res.line, k.line) << k.script;
    if (k.status == ScriptStatus::Failed) {
      EXPECT_NE(res.message.find("quit refusé"), std::string::npos) << res.message;
    }
    const auto f = r.frame_bytes(0);
    EXPECT_EQ(static_cast<size_t>(std::count(f.begin(), f.end(), "mX00100\n")), k.holes) << "the hand move went out";
    EXPECT_EQ(places(r), places(straight)) << k.script;
    EXPECT_EQ(r.holes().size(), straight.holes().size() + k.holes) << k.script;
  }
}

// An installed program's firmware image goes where the upload looks for it,
// once: an image of the operator's own is never replaced.
TEST(FirmwareImage, CopiedFromTheInstallationOnce) {
  namespace fs = std::filesystem;
  const fs::path root = fs::path(::testing::TempDir()) / "brivel-install";
  fs::remove_all(root);
  fs::create_directories(root / "bin");
  fs::create_directories(root / "share/brivel/Brivel_uploader/Binaire");
  std::ofstream(root / "share/brivel/Brivel_uploader/Binaire/Brivel.cpp.hex") << ":00000001FF\n";
  const std::string home = (root / "home").string() + "/";
  fournit_microprogramme((root / "bin").string(), home);
  const fs::path image = root / "home/Brivel_uploader/Binaire/Brivel.cpp.hex";
  ASSERT_TRUE(fs::exists(image));
  std::ofstream(image) << "mine";
  fournit_microprogramme((root / "bin").string(), home);
  std::ifstream in(image);
  EXPECT_EQ(std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>()), "mine");
}

TEST(ScriptRunner, WaitAndQuit) {
  Scripted t;
  t.p.at(3000, [&] { t.m.Label_defautP.set_text("Prêt à perforer"); });
  EXPECT_EQ(t.runner.run("wait Label_defautP ~ Prêt.* 10\n").status, ScriptStatus::Ok);
  EXPECT_THROW(t.runner.run("quit\n"), SimProcessEnded);
}

}  // namespace
}  // namespace brivel::test
