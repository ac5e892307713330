#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>

#include "app/script_runner.h"
#include "support/punch_rig.h"

namespace brivel::test {
namespace {

struct Scripted : SimConsole {
  std::ostringstream out;
  ScriptRunner runner{app, p.sim_dialogs(), out};
};

// Tabs separate like blanks; the text is the rest after one blank; nothing
// typed is an empty field. A lamp reads as its palette colour, a check box as
// its value, a hidden button as its caption.
TEST(ScriptRunner, PlaysOperatorActionsReadsByKindAndQueuesDialogAnswers) {
  Scripted t;
  ScriptResult r = t.runner.run(
      "# connect and move\n"
      "click fenetre_moteurs\nset AdressePort 1\nset AdressePort 10\ncheck Demipas 0\nset\tnb_PasX\t12\n"
      "click CommandeX_P\nwait LabelX = 12 5\nexpect Demipas = 0\nprint Shape1\nprint nb_PasX\n"
      "set VitesseX  7\nprint VitesseX\nset Text_origineX\nprint Text_origineX\nprint Demipas\nprint About.nb_trou\n"
      "expect nb_PasX ~ 1[0-9]\nexpect Label_defautP ~ Aucun fichier de paramètres.*\n"
      "click fenetre_notes\ncheck Valcalc 1\nprint Valcalc\n"
      "answer open /a/b.mid /a/c.mid\nanswer open /pieces/valse.mid\nanswer save /tmp/x.set\n"
      "answer yes\nanswer no\nanswer ok\nanswer input 10 h 30\nanswer input\n");
  ASSERT_EQ(r.status, ScriptStatus::Ok) << r.message;
  EXPECT_EQ(t.out.str(), "Shape1=10\nnb_PasX=12\nVitesseX= 7\nText_origineX=\nDemipas=0\nAbout.nb_trou=Perforations\nValcalc=1\n");
  EXPECT_EQ(t.m.Demipas.value(), 0);
  QueuedDialogs& d = t.p.sim_dialogs();
  // A selection of several files: the folder, then each name, NUL-separated.
  EXPECT_EQ(d.open_answers, (std::deque<std::string>{std::string("/a\0b.mid\0c.mid", 14), "/pieces/valse.mid"}));
  EXPECT_EQ(d.save_answers, std::deque<std::string>{"/tmp/x.set"});
  EXPECT_EQ(d.box_answers, (std::deque<BoxAnswer>{BoxAnswer::Yes, BoxAnswer::No, BoxAnswer::Ok}));
  EXPECT_EQ(d.input_answers, (std::deque<std::optional<std::string>>{"10 h 30", ""}));
}

TEST(ScriptRunner, FailuresAndErrorsNameTheLine) {
  const std::tuple<const char*, ScriptStatus, int> failures[] = {
      {"expect VitesseX = 5000\nexpect VitesseX = 4000\n", ScriptStatus::Failed, 2},
      {"click Command11\n", ScriptStatus::Failed, 1},       // disabled at start
      {"wait LabelX = 99 0.5\n", ScriptStatus::Failed, 1},  // never comes
      {"select File1 absent.set\n", ScriptStatus::Failed, 1},
      {"\nfly away\n", ScriptStatus::ScriptError, 2},
  };
  for (auto [script, status, line] : failures) {
    Scripted t;
    ScriptResult r = t.runner.run(script);
    EXPECT_EQ(std::pair(r.status, r.line), std::pair(status, line)) << script;
  }
  // Script errors on their first line: a label is no text field, a
  // selection lies in one folder, an option is on or off, a limit must come,
  // and words behind a command are refused, not dropped.
  std::istringstream errors(
      "set NoSuchField 3\nset Label4 x\ncheck Demipas 7\nwait LabelX ~ (\nanswer open\n"
      "answer open /a/x.mid /b/y.mid\nanswer maybe\ncheck Valcalc 2\ncheck nb_PasX 1\nselect Demipas x\n"
      "click Nowhere\nprint Nowhere\npause soon\npause -5\npause inf\nwait LabelX 12\n"
      "wait LabelX = a b inf\nwait LabelX = a b -1\nwait LabelX = a b nan\nquit now\nanswer yes please\n"
      "print LabelX LabelY\nclick Command11 twice\nexpect LabelX == 12\n");
  for (std::string script; std::getline(errors, script);) {
    Scripted t;
    ScriptResult r = t.runner.run(script + "\n");
    EXPECT_EQ(std::pair(r.status, r.line), std::pair(ScriptStatus::ScriptError, 1)) << script;
  }
  // A failure says the line, and what was seen.
  Scripted t;
  EXPECT_EQ(t.runner.run("expect VitesseX = 4000\n").message,
            "ligne 1 : expect VitesseX = 4000\n  attendu VitesseX = « 4000 », lu « 5000 »");
  t.m.nb_PasX.set_enabled(false);
  ScriptResult r = t.runner.run("click fenetre_moteurs\n# greyed out\nset nb_PasX 5\n");
  EXPECT_EQ(std::pair(r.status, r.line), std::pair(ScriptStatus::Failed, 3));
  EXPECT_EQ(r.message.rfind("ligne 3 : set nb_PasX 5\n", 0), 0u) << r.message;
  EXPECT_EQ(t.m.nb_PasX.text(), "200") << "nothing typed where the operator cannot reach";
}

// "start": the next lines are an operator's clicks during the run. A pause
// with a hand move and an origin search leaves every hole at the place the
// same piece punched straight through has it; one is punched twice.
TEST(ScriptRunner, StartPlaysTheNextLinesInsideTheHandler) {
  const std::string piece = fichier_evenements({note_line(1000, 60, 500), note_line(2000, 62, 100)}, 2200);
  const auto places = [](const PunchRig& r) {
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
  // The script, its outcome and line, and the holes beyond the straight run's.
  const std::tuple<std::string, ScriptStatus, int, size_t> cases[] = {
      {pause + "finish\nexpect Label_defautP = Perforation terminée\n", ScriptStatus::Ok, 0, 1},
      {pause + "wait Label_defautP = Perforation terminée\nquit\n", ScriptStatus::Failed, 14, 1},
      {"start Command11\nwait Label_defautP = Perforation en cours\nfinish\nfinish\nquit\n", ScriptStatus::Ok, 5, 0},
  };
  for (const auto& [script, status, line, extra] : cases) {
    SCOPED_TRACE(script);
    PunchRig r;
    ASSERT_TRUE(r.load(piece));
    std::ostringstream out;
    ScriptRunner runner{r.app, r.p.sim_dialogs(), out};
    ScriptResult res{};
    try {
      res = runner.run(script);
    } catch (const SimProcessEnded&) {
      res.line = 5;  // the quit sequence ends the simulated process
    }
    EXPECT_EQ(std::pair(res.status, res.line), std::pair(status, line)) << res.message;
    EXPECT_EQ(status == ScriptStatus::Failed, res.message.find("quit refusé") != std::string::npos) << res.message;
    const auto f = r.frame_bytes(0);
    EXPECT_EQ(static_cast<size_t>(std::count(f.begin(), f.end(), "mX00100\n")), extra) << "the hand move went out";
    EXPECT_EQ(places(r), places(straight));
    EXPECT_EQ(r.holes().size(), straight.holes().size() + extra);
  }
}

// An installed program's firmware image goes where the upload looks for it,
// once: an image of the operator's own is never replaced.
TEST(FirmwareImage, CopiedFromTheInstallationOnce) {
  namespace fs = std::filesystem;
  const fs::path root = fs::path(::testing::TempDir()) / "brivel-install";
  const fs::path image = root / "home/Brivel_uploader/Binaire/Brivel.cpp.hex";
  fs::remove_all(root);
  fs::create_directories(root / "bin");
  fs::create_directories(root / "share/brivel/Brivel_uploader/Binaire");
  std::ofstream(root / "share/brivel/Brivel_uploader/Binaire/Brivel.cpp.hex") << ":00000001FF\n";
  for (const char* want : {":00000001FF\n", "mine"}) {
    fournit_microprogramme((root / "bin").string(), (root / "home").string() + "/");
    std::ifstream in(image);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(in), {}), want);
    std::ofstream(image) << "mine";
  }
}

}  // namespace
}  // namespace brivel::test
