#include "persistence/files/context_file.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "core/cp1252.h"
#include "persistence/files/text_file.h"
#include "support/sim_desk.h"

namespace brivel::test {
namespace {

TEST(ContextText, NoteStatesByColourTheirEndStepsThenTheChain) {
  SimDesk d;
  d.m.NBTouches.set_text("5");
  d.m.compteurXY(1).set_text("1234");
  d.s.compteur_trous = 987;
  d.m.Note(1).set_color(palette::kLightRed);
  d.m.Note(1).set_tooltip(" 107");
  d.m.Note(2).set_color(palette::kLightMagenta);
  d.m.Note(3).set_color(palette::kLightGreen);
  d.m.Note(4).set_color(palette::kWhite);
  d.m.Note(4).set_tooltip("x");
  d.s.chemin_midi = "/p/b.mid";
  d.s.rang_fichier = 1;
  d.s.fichiers_restants = 2;
  for (const char* f : {"/p/a.mid", "/p/b.mid", "/p/c.mid"}) d.m.Liste_fichiers.add_row(f);
  EXPECT_EQ(lignes_contexte(d.m, d.s),
            (std::vector<std::string>{"", "1234", "987", "12", " 107", "13", "", "ndef", "", "15", "x", "15", "",
                                      "/p/b.mid", " 1", " 2", "/p/a.mid", "/p/b.mid", "/p/c.mid"}));
}

TEST(ContextFile, BytesAreWindows1252WithCrLfAndAFinalEmptyLine) {
  EXPECT_EQ(texte_fichier({"Orgue à 29.set", "", "12"}), "Orgue \xE0 29.set\r\n\r\n12\r\n\r\n");
  EXPECT_EQ(texte_fichier({}), "\r\n");
}

TEST(ContextFile, AutomaticSaveWritesAndRefreshesTheList) {
  SimDesk d;
  d.m.NBTouches.set_text("2");
  d.s.nom_fichier_set = "Orgue été.set";
  { std::ofstream(d.home + "Orgue été.set") << "x"; }
  { std::ofstream(d.home + "Perfo_en_cours.sav") << "an older context, longer than the new one..............."; }
  ASSERT_TRUE(sauve_contexte_auto(d.c));
  EXPECT_EQ(d.read_file("Perfo_en_cours.sav"),
            "Orgue \xE9t\xE9.set\r\n0\r\n0\r\n15\r\n\r\n15\r\n\r\n\r\n 0\r\n 0\r\n\r\n");
  EXPECT_FALSE(std::filesystem::exists(d.home + "Perfo_en_cours.sav.tmp"));
  ASSERT_EQ(d.m.File1.count(), 1);
  EXPECT_EQ(d.m.File1.row(0), "Orgue été.set");
  d.s.dossier_appli = d.home + "gone/";  // a missing folder: fails quietly
  EXPECT_FALSE(sauve_contexte_auto(d.c));
}

TEST(SaveMenu, AsksWithTheFilterAndStartNameThenWrites) {
  SimDesk d;
  d.s.nom_midi_court = "Valse";
  d.m.NBTouches.set_text("1");
  d.p.sim_dialogs().save_answers.push_back(d.home + "Ma valse.sav");
  d.m.Sauve_contexte.click();
  ASSERT_EQ(d.p.sim_dialogs().save_requests.size(), 1u);
  const auto& req = d.p.sim_dialogs().save_requests[0];
  EXPECT_EQ(req.filter, "Fichiers (*.sav)|*.sav|Tous (*.*)|*.*|");
  EXPECT_EQ(req.filter_index, 1);
  EXPECT_TRUE(req.overwrite_prompt);
  EXPECT_EQ(req.start_name, d.home + "Valse.sav");
  EXPECT_EQ(d.read_file("Ma valse.sav"), "\r\n0\r\n0\r\n15\r\n\r\n\r\n 0\r\n 0\r\n\r\n");
  EXPECT_EQ(d.p.busy_log(), (std::vector<bool>{true, false}));
  EXPECT_TRUE(d.m.Avance.enabled());
}

TEST(SaveMenu, CancelWritesNothingAndAFailedWriteIsToldOnTheServiceLine) {
  SimDesk d;
  d.m.Sauve_contexte.click();
  EXPECT_EQ(d.p.busy_log(), (std::vector<bool>{false}));
  EXPECT_TRUE(d.m.Avance.enabled());
  for (const auto& e : std::filesystem::directory_iterator(d.home)) EXPECT_FALSE(e.is_regular_file()) << e.path();
  d.p.sim_dialogs().save_answers.push_back(d.home + "nowhere/x.sav");
  d.m.Sauve_contexte.click();
  EXPECT_EQ(d.m.Label_defautP.text(),
            "Contexte non sauvegardé : impossible d'écrire le fichier " + d.home + "nowhere/x.sav");
  EXPECT_FALSE(d.p.busy());
}

TEST(ContextFile, HistoryKeepsAContextBeforeAnotherPieceOrAStepBackOverwritesIt) {
  namespace fs = std::filesystem;
  SimDesk d;
  d.m.NBTouches.set_text("2");
  d.s.nom_fichier_set = "orgue.set";
  const auto save = [&](const char* piece, const char* y, int32_t trous) {
    d.s.chemin_midi = piece;
    d.m.compteurXY(1).set_text(y);
    d.s.compteur_trous = trous;
    ASSERT_TRUE(sauve_contexte_auto(d.c));
  };
  const auto kept = [&] {
    std::vector<std::string> names;
    std::error_code ec;
    for (fs::directory_iterator it(d.home + "Contextes", ec), end; !ec && it != end; it.increment(ec))
      names.push_back(it->path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
  };
  save("/p/valse.mid", "100", 10);
  save("/p/valse.mid", "130", 14);  // the same run, further on: nothing kept
  EXPECT_TRUE(kept().empty());
  const std::string before = d.read_file("Perfo_en_cours.sav");
  save("/p/valse.mid", "0", 0);  // a new run of the same piece steps back
  ASSERT_EQ(kept().size(), 1u);
  EXPECT_NE(kept()[0].find(" valse"), std::string::npos) << kept()[0];
  std::ifstream in(d.home + "Contextes/" + kept()[0], std::ios::binary);
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(in), {}), before);
  save("/p/polka.mid", "5", 1);  // another piece
  EXPECT_EQ(kept().size(), 2u);
  for (int i = 0; i < 25; ++i) save(i % 2 ? "/p/valse.mid" : "/p/polka.mid", "1", 0);
  EXPECT_EQ(kept().size(), static_cast<std::size_t>(kContextesGardes));
}

}  // namespace
}  // namespace brivel::test
