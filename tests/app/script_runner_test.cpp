#include "app/script_runner.h"

#include <gtest/gtest.h>

#include <sstream>

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
      {"click Command11\n", ScriptStatus::Failed, 1},        // disabled at start
      {"wait LabelX = 99 0.5\n", ScriptStatus::Failed, 1},   // never comes
      {"\nfly away\n", ScriptStatus::ScriptError, 2},
      {"set NoSuchField 3\n", ScriptStatus::ScriptError, 1},
      {"set Label4 x\n", ScriptStatus::ScriptError, 1},      // not a text field
      {"check Demipas 7\n", ScriptStatus::ScriptError, 1},
      {"wait LabelX ~ (\n", ScriptStatus::ScriptError, 1},
      {"select File1 absent.set\n", ScriptStatus::Failed, 1},
  };
  for (const auto& c : cases) {
    Scripted t;
    ScriptResult r = t.runner.run(c.script);
    EXPECT_EQ(r.status, c.status) << c.script;
    EXPECT_EQ(r.line, c.line) << c.script;
  }
}

TEST(ScriptRunner, WaitAndQuit) {
  Scripted t;
  t.p.at(3000, [&] { t.m.Label_defautP.set_text("Prêt à perforer"); });
  EXPECT_EQ(t.runner.run("wait Label_defautP ~ Prêt.* 10\n").status, ScriptStatus::Ok);
  EXPECT_THROW(t.runner.run("quit\n"), SimProcessEnded);
}

}  // namespace
}  // namespace brivel::test
