// The parameter file through the console: Sauver Paramètres writes the 162
// lines and the empty one, a click in File1 puts them back, with what each
// field sets off on the way.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <optional>

#include "console/file_list.h"
#include "core/cp1252.h"
#include "persistence/files/parameter_file.h"
#include "persistence/files/text_file.h"
#include "persistence/persistence.h"
#include "support/sim_console.h"

namespace brivel::test {
namespace {

using Lines = std::vector<std::string>;

// Saves the desk's fields as `name` through the menu and returns the file's lines.
Lines save(SimDesk& d, const std::string& name) {
  d.p.sim_dialogs().save_answers.push_back(d.home + name);
  d.m.Sauve_param.click();
  return split_cp1252_lines(d.read_file(name));
}

void write(SimDesk& d, const std::string& name, const Lines& lines) {
  std::ofstream(d.home + name, std::ios::binary) << texte_fichier(lines);
}

void pick(SimDesk& d, const std::string& name) {
  d.m.File1.set_selected(-1);
  for (int i = 0; i < d.m.File1.count(); ++i)
    if (d.m.File1.row(i) == name) d.m.File1.set_selected(i);
  d.m.File1.click();
}

// Writes `lines` as x.set and loads it from File1, answering OK to any box.
void load(SimDesk& d, const Lines& lines) {
  write(d, "x.set", lines);
  refresh_File1(d.c);
  d.p.sim_dialogs().box_answers.push_back(BoxAnswer::Ok);
  pick(d, "x.set");
}

// The lines a default console saves, without the final empty one.
Lines defaults(SimDesk& d) {
  Lines f = save(d, "x.set");
  f.pop_back();
  return f;
}

// The list shows the folder's .set files in name order, and the file the
// operator picked stays picked when the folder changes around it.
TEST(ParameterList, SortedSetFilesAndTheSelectionFollowsItsName) {
  SimDesk d;
  for (const char* n : {"b.set", "a.set", "notes.txt", ".set"}) write(d, n, {"x"});
  refresh_File1(d.c);
  EXPECT_EQ(d.m.File1.rows(), (Lines{"a.set", "b.set"}));
  d.m.File1.set_selected(0);
  write(d, "0.set", {"x"});
  refresh_File1(d.c);
  EXPECT_EQ(d.m.File1.rows(), (Lines{"0.set", "a.set", "b.set"}));
  EXPECT_EQ(d.m.File1.selected(), 1);
}

TEST(ParameterRoundTrip, SavedAndLoadedGivesTheSameFields) {
  SimDesk a;
  a.m.NBTouches.set_text("5");
  a.m.Note(40).set_text("77");
  a.m.Position(63).set_text("1234");
  a.m.Text12.set_text("0,21");  // as typed, comma included
  a.m.Text3.set_text("Orgue à 20 notes");
  a.m.Check3.set_value(2);
  a.m.Demipas.set_value(0);
  a.s.reserve_set = -1;
  const Lines first = save(a, "orgue.set");
  ASSERT_EQ(first.size(), 163u);                                                 // 162 lines and the empty one
  EXPECT_EQ(a.read_file("orgue.set").substr(0, 18), "Orgue \xE0 20 notes\r\n");  // Windows-1252, CR LF
  struct {
    int line;
    std::string text;
  } expected[] = {{1, "Orgue à 20 notes"}, {17, "5"},  {18, "5"}, {20, "0,21"}, {100, "77"}, {132, " 0"}, {133, "-1"},
                  {150, "1234"},           {153, " 2"}};
  for (const auto& e : expected) EXPECT_EQ(first[static_cast<size_t>(e.line - 1)], e.text) << e.line;
  a.s.reserve_set = 12;
  EXPECT_EQ(save(a, "orgue.set")[132], " 12");

  SimDesk b;  // the port is closed: AdressePort comes back too
  a.m.AdressePort.set_text("9");
  write(b, "orgue.set", save(a, "orgue.set"));
  b.m.File1.click();  // no entry picked: nothing
  EXPECT_EQ(b.s.nom_fichier_set, "");
  refresh_File1(b.c);
  pick(b, "orgue.set");
  EXPECT_EQ(b.s.nom_fichier_set, "orgue.set");
  EXPECT_EQ(lignes_parametres(b.m, b.s), lignes_parametres(a.m, a.s));
  EXPECT_TRUE(b.m.Ouvre_midi.enabled());
  EXPECT_TRUE(b.m.Avance.enabled());
  EXPECT_EQ(b.m.Label_defautP.text(), "Ouvrir un fichier Midi");
}

TEST(ParameterLoad, LinesThatCountAndShortFiles) {
  SimDesk a;
  const Lines full = defaults(a);
  struct Case {
    const char* what;
    int keep_lines;                               // the file stops after this line, then its empty line
    std::string NBTouches, Check1, Dist_cartons;  // Text17 comes out 6: saved, empty or missing
    bool dcycle_enabled;
    std::vector<std::pair<int, std::string>> changes;
  } cases[] = {
      {"17 over 18, 162 over 151", 162, "12", "0", "300", false, {{17, "12"}, {18, "40"}, {151, " 1"}, {162, " 0"}}},
      {"an empty Text17", 162, "29", "0", "250", false, {{157, ""}, {159, "250"}, {160, " 0"}}},
      {"156 lines: the rest as it was", 156, "29", "1", "77", true, {{155, "4"}, {158, " 1"}, {159, "111"}}},
      {"line 160 no number ends the file", 162, "29", "1", "300", true, {{160, "oui"}, {161, "99"}}},
  };
  for (const auto& c : cases) {
    SimDesk d;
    // What the fields held before the load, for the lines a short file lacks.
    d.m.Check1.set_value(1);
    d.m.Text17.set_text("9");
    d.m.Dist_cartons.set_text(c.keep_lines < 162 ? "77" : "5");
    Lines f = full;
    for (const auto& [line, text] : c.changes) f[static_cast<size_t>(line - 1)] = text;
    f.resize(static_cast<size_t>(c.keep_lines));
    load(d, f);
    EXPECT_EQ(d.m.NBTouches.text(), c.NBTouches) << c.what;
    EXPECT_EQ(std::to_string(d.m.Check1.value()), c.Check1) << c.what;
    EXPECT_EQ(d.m.Text17.text(), "6") << c.what;
    EXPECT_EQ(d.m.Dist_cartons.text(), c.Dist_cartons) << c.what;
    EXPECT_EQ(d.m.dcycle_pwm.enabled(), c.dcycle_enabled) << c.what;
    EXPECT_TRUE(d.m.Ouvre_midi.enabled()) << c.what;
    EXPECT_TRUE(d.p.sim_dialogs().boxes.empty()) << c.what;
  }
  // Check6 set: a reminder of the heel, and the load waits for it.
  SimDesk d;
  Lines f = full;
  f[157] = " 1";
  load(d, f);
  EXPECT_EQ(d.p.sim_dialogs().boxes, (Lines{"Penser à vérifier la valeur du talon"}));
}

TEST(ParameterLoad, WithAContextRestoredTheContextsFileIsLoaded) {
  SimDesk d;
  d.m.vitesse.set_text("41");
  save(d, "ctx.set");
  d.m.vitesse.set_text("42");
  save(d, "other.set");
  refresh_File1(d.c);
  d.s.reprise_contexte = true;
  d.s.nom_fichier_set = "ctx.set";
  pick(d, "other.set");
  EXPECT_EQ(d.m.vitesse.text(), "41");
  EXPECT_EQ(d.s.nom_fichier_set, "ctx.set");
  EXPECT_EQ(d.m.Label_defautP.text(), "Ouverture d'un fichier Midi");
}

TEST(ParameterLoad, MissingFileIsSaidAndNothingIsLoaded) {
  SimDesk d;
  d.m.File1.set_rows({"parti.set"});
  d.m.File1.set_selected(0);
  d.m.File1.click();
  EXPECT_EQ(d.m.Label_defautP.text(), "Fichier de paramètres illisible : " + d.home + "parti.set");
  EXPECT_FALSE(d.m.Ouvre_midi.enabled());
}

// A parameter file from another folder joins the list and is loaded; a name
// saved without ".set" gets it, so that the list shows it.
TEST(ParameterLoad, FromAnyFolderAndSavedWithoutItsExtension) {
  SimDesk a;
  a.m.Text3.set_text("Orgue de salon");
  std::filesystem::create_directories(a.home + "ailleurs");
  a.p.sim_dialogs().save_answers.push_back(a.home + "ailleurs/salon");
  a.m.Sauve_param.click();
  ASSERT_FALSE(a.read_file("ailleurs/salon.set").empty());
  EXPECT_TRUE(a.m.File1.rows().empty()) << "saved elsewhere: not in the list";

  struct Case {
    const char* what;
    std::optional<BoxAnswer> replace;  // set: another file of that name is in the list
    const char* text3;  // what the console holds afterwards
  } cases[] = {
      {"copied in and loaded", std::nullopt, "Orgue de salon"},
      {"another of that name, replaced", BoxAnswer::Yes, "Orgue de salon"},
      {"another of that name, kept", BoxAnswer::No, ""},
  };
  for (const auto& k : cases) {
    SimDesk d;
    d.m.Text3.set_text("");
    if (k.replace) {
      write(d, "salon.set", {"Autre orgue"});
      d.p.sim_dialogs().box_answers.push_back(*k.replace);
    }
    d.p.sim_dialogs().open_answers.push_back(a.home + "ailleurs/salon.set");
    d.m.Ouvre_param.click();
    EXPECT_EQ(d.m.Text3.text(), k.text3) << k.what;
    EXPECT_EQ(d.m.File1.rows(), std::vector<std::string>{"salon.set"}) << k.what;
    EXPECT_EQ(d.p.sim_dialogs().boxes.size(), k.replace ? 1u : 0u) << k.what;
  }
}

TEST(ParameterLoad, MotorPageShowingSendsTheFramesInLineOrderThenTheBurst) {
  SimConsole d;
  ASSERT_TRUE(d.connect(10));
  Lines f = defaults(d);
  // VitesseX, VitesseY, MaxZ, TempoZ, Text_origineX, dcycle_pwm
  for (auto [line, text] : {std::pair{4, "300"}, {5, "400"}, {6, "21"}, {7, "22"}, {8, "33"}, {160, "44"}})
    f[line] = text;
  d.m.fenetre_moteurs.click();
  const auto from = d.mark();
  load(d, f);
  const Lines frames = d.frame_bytes(from);
  ASSERT_GE(frames.size(), 6u);
  EXPECT_EQ(Lines(frames.begin(), frames.begin() + 5),
            (Lines{"PX00300\n", "PY00400\n", "MZ00021\n", "IZ00022\n", "OX00033\n"}));
  // Then the burst of param_arduino, which begins with NUxxxxx.
  EXPECT_NE(std::find(frames.begin() + 5, frames.end(), "NUxxxxx\n"), frames.end());
}

}  // namespace
}  // namespace brivel::test
