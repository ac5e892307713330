#include "import/ouvre_midi.h"
#include "import/recents.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>

#include "import/import_files.h"
#include "import/lignes_morceau.h"
#include "import/refus_import.h"
#include "support/sim_desk.h"

namespace brivel::test {
namespace {

using Rows = std::vector<std::string>;

// A console that keeps every text the service line showed.
struct Desk : SimDesk {
  Desk() {
    m.subscribe([this](Element& e, Prop prop) {
      if (&e == &m.Label_defautP && prop == Prop::Text) service.push_back(e.text());
    });
  }
  ReglagesImport reglages() { return *prepare_import(champs_import(m)).reglages; }
  Rows service;
};

const std::string kPiece = "TEMP 0000000 000000 0500000\r\n" + note_line(1000, 60, 500) +
                           "NOOF 0001500 000000 00001 00060\r\n" + note_line(0, 62, 0) +
                           "NOTE 0999999 000000 00001 00099 00000 00100 D6\r\n" +  // the table's end: no note
                           "HEAD ##10000  /x/piece.mid 01500\r\nENDF 9999999\r\n";

TEST(OpenPiece, SelectionPaths) {
  struct Case {
    std::string answer;
    Rows paths;
  } cases[] = {
      {"/pieces/valse.mid", {"/pieces/valse.mid"}},
      {std::string("/pieces\0valse.mid\0polka.mid", 27), {"/pieces/valse.mid", "/pieces/polka.mid"}},
      {std::string("/\0valse.mid", 11), {"/valse.mid"}},
  };
  for (const auto& c : cases) EXPECT_EQ(chemins_selection(c.answer), c.paths) << c.answer;
  EXPECT_EQ(nom_court("/pieces/valse.mid"), "valse");
  EXPECT_EQ(nom_court("valse.mid"), "");
}

TEST(OpenPiece, TextFileToAPieceReadyToPunch) {
  Desk d;
  d.s.chemin_midi = "/x/piece.mid";
  d.s.fin_saisie = true;
  ASSERT_TRUE(importe_evenements(d.c, kPiece, d.reglages()));
  Rows expected = {"0000002 00062 NOTE 0000002", "0000002 00062 NTOF ", "0000074 00060 NOTE 0000107"};
  for (const char* y : {"77", "80", "83", "86", "89", "92", "95", "98", "101", "104"})
    expected.push_back(std::string(7 - std::strlen(y), '0') + y + " ##### PASY");
  expected.push_back("0000107 00060 NTOF ");
  EXPECT_EQ(d.m.List3.rows(), expected);
  EXPECT_EQ(d.m.Label4.text(), "/x/piece.mid");
  EXPECT_EQ(d.m.Label9.text(), " 14");
  // Step 107 of 13.833 ms: 1480 ms.
  EXPECT_EQ(d.m.Text7.text(), "0");
  EXPECT_EQ(d.m.Text8.text(), "1480");
  EXPECT_EQ(d.s.duree_ms, 1480);
  EXPECT_EQ(d.s.reste_fin_ms, 480);
  EXPECT_EQ(d.m.Deb_perf_mn.text(), "0");
  EXPECT_EQ(d.m.Deb_perf_sec.text(), "0");
  EXPECT_EQ(d.m.Fin_perf_mn.text(), "0");
  EXPECT_EQ(d.m.Fin_perf_sec.text(), "1");
  EXPECT_FALSE(d.s.fin_saisie);
  EXPECT_EQ(d.m.Label_defautP.text(), "Prêt à perforer - Durée: 0 mn 01 s - Longueur carton: 0.09 m");
  EXPECT_EQ(d.s.pas_poincon, 3);
  EXPECT_FALSE(d.s.mode_simulation);
  EXPECT_TRUE(d.m.Command11.enabled());
  EXPECT_TRUE(d.m.perfo_retard.enabled());
  // A second run of the intermediate steps finds nothing left to fill.
  d.m.Command7.click();
  EXPECT_EQ(d.m.List3.count(), 14);
  EXPECT_EQ(d.m.Label9.text(), " 14");
  EXPECT_EQ(d.m.gauge1.value(), 0);
}

TEST(OpenPiece, SimulationModeAndHeadLine) {
  Desk d;
  d.m.Label4.set_text("/avant.mid");
  d.m.Text9.set_text("7351");
  ASSERT_TRUE(importe_evenements(d.c, note_line(0, 60, 0), d.reglages()));
  EXPECT_TRUE(d.s.mode_simulation);
  EXPECT_EQ(d.m.Label4.text(), "/avant.mid");  // no HEAD line: the conversion stopped early
  d.m.Text9.set_text("73510");
  ASSERT_TRUE(importe_evenements(d.c, note_line(0, 60, 0), d.reglages()));
  EXPECT_FALSE(d.s.mode_simulation);
}

TEST(OpenPiece, ScaleCheck) {
  // The last note starts at 900 ms: step 67, 55.6 mm of card, 926 ms.
  const std::string two60 = note_line(0, 60, 0) + note_line(500, 60, 0) + note_line(900, 62, 0);
  struct Case {
    std::string file;
    int check5;
    const char* nbtouches;
    const char* note6;  // 60 in the default scale
    int hors;
    const char* service;
  } cases[] = {
      // Without the check the count of notes the organ lacks goes behind.
      {two60, 0, "29", "59", 0,
       "Prêt à perforer - Durée: 0 mn 00 s - Longueur carton: 0.06 m - 2 notes hors gamme (Fenêtre > Carton)"},
      {note_line(0, 99, 0), 0, "29", "60", 0,
       "Prêt à perforer - Durée: 0 mn 00 s - Longueur carton: 0.00 m - 1 note hors gamme (Fenêtre > Carton)"},
      {two60, 1, "29", "60", 0, "Prêt à perforer - Durée: 0 mn 00 s - Longueur carton: 0.06 m"},
      {two60, 1, "29", "59", 2, "ATTENTION :  2 notes ne sont pas dans la gamme de l'orgue"},
      {two60, 1, "5", "60", 3, "ATTENTION :  3 notes ne sont pas dans la gamme de l'orgue"},
      {note_line(0, 99, 0), 1, "29", "60", 1, "ATTENTION :  1 note n'est pas dans la gamme de l'orgue"},
  };
  for (const auto& c : cases) {
    Desk d;
    d.m.Check5.set_value(c.check5);
    d.m.NBTouches.set_text(c.nbtouches);
    d.m.Note(6).set_text(c.note6);
    ASSERT_TRUE(importe_evenements(d.c, c.file, d.reglages()));
    EXPECT_EQ(d.s.nb_hors_gamme, c.hors) << c.nbtouches << " " << c.note6;
    EXPECT_EQ(d.m.Label_defautP.text(), c.service);
  }
}

// The card view's transposition, applied: every note moves as it is read,
// within the 128 MIDI notes.
TEST(OpenPiece, ReadTransposed) {
  const struct {
    const char* shift;
    int note;
    const char* first_row;
  } cases[] = {{"2", 60, "0000002 00062 NOTE 0000002"},
               {"-12", 60, "0000002 00048 NOTE 0000002"},
               {"5", 126, "0000002 00127 NOTE 0000002"}};
  for (const auto& k : cases) {
    Desk d;
    d.m.transposition.set_text(k.shift);
    ASSERT_TRUE(importe_evenements(d.c, note_line(0, k.note, 0), d.reglages()));
    EXPECT_EQ(d.m.List3.row(0), k.first_row) << k.shift;
  }
}

// The pieces opened last come back in one click from the menu Fichier,
// most recent first, kept for the next start.
TEST(OpenPiece, RecentPiecesInTheMenu) {
  Desk d;
  d.m.Ouvre_midi.set_enabled(true);
  std::vector<std::string> paths;
  for (const char* n : {"a.mid", "b.mid", "a.mid"}) {
    paths.push_back(d.home + n);
    write_file(paths.back(), tiny_midi());
    d.p.sim_dialogs().open_answers.push_back(paths.back());
    d.m.Ouvre_midi.click();
  }
  EXPECT_EQ(d.m.recent(1).text(), "1 " + d.home + "a.mid");
  EXPECT_EQ(d.m.recent(2).text(), "2 " + d.home + "b.mid");
  EXPECT_FALSE(d.m.recent(3).visible());
  EXPECT_EQ(d.read_file("Morceaux_recents.txt"), d.home + "a.mid\n" + d.home + "b.mid\n");
  ASSERT_TRUE(d.m.recent(2).operator_click());
  EXPECT_EQ(d.s.chemin_midi, d.home + "b.mid");
  EXPECT_EQ(d.p.sim_dialogs().open_requests.size(), 3u) << "no dialog for a recent piece";
  EXPECT_EQ(d.m.recent(1).text(), "1 " + d.home + "b.mid");
  d.m.Ouvre_midi.set_enabled(false);
  EXPECT_FALSE(d.m.recent(1).enabled()) << "usable when the opening is";
  EXPECT_EQ(avec_recent({"1", "2", "3", "4", "5"}, "6"), (std::vector<std::string>{"6", "1", "2", "3", "4"}));
}

TEST(OpenPiece, TooManyRowsEndsTheProgram) {
  Desk d;
  std::string file;
  for (int i = 0; i < 16384; ++i) file += note_line(i * 100, 60, 0);
  try {
    importe_evenements(d.c, file, d.reglages());
    FAIL() << "the program should have ended";
  } catch (const SimProcessEnded& e) {
    EXPECT_FALSE(e.by_quit);
  }
  EXPECT_EQ(d.p.sim_dialogs().boxes,
            Rows{"Nombre d'évènements trop important\r\nSuggestion :\r\nAugmenter le seuil d'insertion des ponts"});
  EXPECT_EQ(d.m.List3.count(), 32768);
}

TEST(OpenPiece, TooManyIntermediateStepsEndsTheProgram) {
  Desk d;
  d.s.pas_Y_mm = 0.83;
  d.m.Poincon.set_text("0.9");  // one step wide
  d.m.List3.add_row("0000000 00060 NOTE 0040000");
  d.m.List3.add_row("0040000 00060 NTOF ");
  EXPECT_THROW(d.m.Command7.click(), SimProcessEnded);
  EXPECT_EQ(d.p.sim_dialogs().boxes.size(), 1u);
}

TEST(OpenPiece, NoNoteIsRefused) {
  Desk d;
  d.m.Command11.set_enabled(true);
  EXPECT_FALSE(importe_evenements(d.c, "TEMP 0000000 000000 0500000\r\nENDF 9999999\r\n", d.reglages()));
  EXPECT_EQ(d.m.Label_defautP.text(), "Aucune note à perforer dans ce fichier Midi");
  EXPECT_FALSE(d.m.Command11.enabled());
  EXPECT_EQ(d.m.List3.count(), 0);
}

// A file picked in the dialog that is no piece: said in a box and on the
// service line, the list emptied, no run possible, nothing left in Temp/.
TEST(OpenPiece, FilesThatCannotBeOpened) {
  const auto dir = std::filesystem::temp_directory_path() / ("brivel-open-" + std::to_string(getpid()));
  std::filesystem::create_directories(dir);
  const std::string endless = (dir / "endless.mid").string();
  // Two note-ons, no note-off: the converter drops both at End of Track.
  write_file(endless,
             std::string("MThd\0\0\0\x06\0\0\0\x01\0\x60MTrk\0\0\0\x0C\0\x90\x3C\x40\0\x3E\x40\0\xFF\x2F\0", 34));
  struct Case {
    std::string path, message;
  } cases[] = {
      {dir.string(), "Fichier Midi refusé : " + dir.string() + " est un dossier"},
      {"/dev/zero", "Fichier Midi refusé : /dev/zero n'est pas un fichier ordinaire (périphérique, tube ou socket)"},
      {endless,
       "Aucune note à perforer dans ce fichier Midi : 2 notes commencent sans jamais finir (note-on sans note-off "
       "avant la fin de la piste)"},
  };
  for (const auto& c : cases) {
    Desk d;
    d.m.List3.add_row("0000001 00060 NOTE 0000002");
    d.m.Command11.set_enabled(true);
    d.p.sim_dialogs().open_answers.push_back(c.path);
    d.m.Ouvre_midi.click();
    EXPECT_EQ(d.m.Label_defautP.text(), c.message);
    EXPECT_EQ(d.m.List3.count(), 0) << c.path;
    EXPECT_FALSE(d.m.Command11.enabled()) << c.path;
    EXPECT_FALSE(std::filesystem::exists(d.s.chemin_midid)) << c.path;
  }
  std::filesystem::remove_all(dir);
}

// The rows pass the limit long before the end of the file: the conversion
// stops there, and never reaches the broken track behind.
TEST(OpenPiece, TheRowLimitStopsTheConversion) {
  std::string track;
  for (int i = 0; i < 17000; ++i) track += std::string("\x00\x90\x3C\x40\x10\x80\x3C\x00", 8);
  track += std::string("\x00\xFF\x2F\x00", 4);
  const uint32_t n = static_cast<uint32_t>(track.size());
  const std::string len = {static_cast<char>(n >> 24), static_cast<char>(n >> 16), static_cast<char>(n >> 8),
                           static_cast<char>(n)};
  const auto path = std::filesystem::temp_directory_path() / ("brivel-limit-" + std::to_string(getpid()) + ".mid");
  write_file(path.string(), std::string("MThd\0\0\0\x06\0\0\0\x02\0\x60", 14) + "MTrk" + len + track + "junk");
  Desk d;
  d.p.sim_dialogs().open_answers.push_back(path.string());
  EXPECT_THROW(d.m.Ouvre_midi.click(), SimProcessEnded);
  std::filesystem::remove(path);
  EXPECT_EQ(d.p.sim_dialogs().boxes.size(), 1u);
  EXPECT_EQ(d.s.midi_erreur_code, 0);  // "MTrk not in file" was never read
}

TEST(OpenPiece, RefusedBeforeAnythingIsConverted) {
  struct Case {
    const char* field;
    const char* text;
    const char* message;
    int check5 = 0;
  } cases[] = {
      {"vitesse", "0", "Ouverture refusée : la Vitesse du carton doit être supérieure à 0 (page Moteurs et poinçon)"},
      {"NbpasY", "0",
       "Ouverture refusée : la Précision (pas moteur par pas de perforation) doit être supérieure à 0 (page Moteurs "
       "et poinçon)"},
      {"PasmotY", "", "Ouverture refusée : le Pas moteur Y doit être supérieur à 0 (page Moteurs et poinçon)"},
      {"Poincon", "0.5",
       "Ouverture refusée : le Poinçon doit couvrir au moins un pas de perforation (Précision x Pas moteur = 0.83 mm)"},
      {"PontY", "2a", "Ouverture refusée : le paramètre des ponts (Ponts Y) \"2a\" n'est pas un nombre"},
      {"PontY", "-5",
       "Ouverture refusée : le paramètre des ponts (Ponts Y) donne un intervalle de trous nul : saisir 0 ou un nombre "
       "positif"},
      {"NBTouches", "70",
       "Ouverture refusée : Nombre de notes \"70\" invalide : saisir dans Notes un nombre entier de 0 à 63", 1},
  };
  for (const auto& c : cases) {
    Desk d;
    d.m.Check5.set_value(c.check5);
    d.m.List3.add_row("0000074 00060 NOTE 0000107");
    d.m.Command11.set_enabled(true);
    d.m.perfo_retard.set_enabled(true);
    d.m.get(c.field).set_text(c.text);
    d.m.Ouvre_midi.click();
    EXPECT_EQ(d.m.Label_defautP.text(), c.message);
    EXPECT_TRUE(d.p.sim_dialogs().open_requests.empty()) << c.field;
    EXPECT_FALSE(d.m.Command11.enabled()) << c.field;
    EXPECT_FALSE(d.m.perfo_retard.enabled()) << c.field;
    EXPECT_EQ(d.m.List3.count(), 0) << c.field;
  }
}

TEST(OpenPiece, DialogRoadWithAFileThatIsNoMidi) {
  Desk d;
  const std::string path = d.home + "pas_midi.mid";
  write_file(path, "hello");
  std::filesystem::remove_all(d.home + "Temp");
  d.p.sim_dialogs().open_answers.push_back(path);
  const int64_t t0 = d.p.now();
  d.m.Ouvre_midi.click();

  ASSERT_EQ(d.p.sim_dialogs().open_requests.size(), 1u);
  const FileDialogRequest& req = d.p.sim_dialogs().open_requests[0];
  EXPECT_EQ(req.filter, "Fichiers (*.mid)|*.mid|Tous (*.*)|*.*|");
  EXPECT_EQ(req.filter_index, 1);
  EXPECT_EQ(req.start_name, "");
  EXPECT_TRUE(req.multi_select);
  EXPECT_EQ(d.m.Liste_fichiers.rows(), Rows{path});
  EXPECT_EQ(d.s.fichiers_restants, 1);
  EXPECT_EQ(d.s.rang_fichier, 0);
  EXPECT_EQ(d.s.chemin_midi, path);
  EXPECT_EQ(d.s.nom_midi_court, "pas_midi");
  EXPECT_GE(d.p.now() - t0, 2000);
  EXPECT_EQ(d.service, (Rows{"Analyse et conversion du fichier Midi", "Aucune note à perforer dans ce fichier Midi"}));
  EXPECT_EQ(d.s.midi_erreur_code, 5);
  EXPECT_EQ(d.p.sim_dialogs().boxes, Rows{"La conversion du fichier Midi s'est arrêtée sur une erreur :\r\n"
                                          "ce n'est pas un fichier Midi (il ne commence pas par l'en-tête des "
                                          "fichiers Midi)\r\nAucune note n'a pu être lue."});
  EXPECT_EQ(d.m.gauge1.value(), 0) << "the bar doesn't stay where the conversion left it";
  EXPECT_TRUE(std::filesystem::is_directory(d.home + "Temp"));
  EXPECT_FALSE(std::filesystem::exists(d.s.chemin_midid));
  EXPECT_FALSE(d.m.Command11.enabled());
  EXPECT_EQ(d.p.busy_log(), (std::vector<bool>{true, false}));
}

TEST(OpenPiece, CancelledDialog) {
  Desk d;
  d.m.Liste_fichiers.add_row("/ancien.mid");
  d.m.Ouvre_midi.click();
  EXPECT_EQ(d.m.Liste_fichiers.count(), 0);
  EXPECT_TRUE(d.service.empty());
  EXPECT_TRUE(d.p.busy_log().empty());
}

TEST(OpenPiece, MultipleSelectionChainAndRestore) {
  {
    Desk d;
    d.p.sim_dialogs().open_answers.push_back(std::string("/nulle/part\0a.mid\0b.mid", 23));
    d.m.Ouvre_midi.click();
    EXPECT_EQ(d.m.Liste_fichiers.rows(), (Rows{"/nulle/part/a.mid", "/nulle/part/b.mid"}));
    EXPECT_EQ(d.s.fichiers_restants, 2);
    EXPECT_EQ(d.s.chemin_midi, "/nulle/part/a.mid");
    EXPECT_EQ(d.s.nom_midi_court, "a");
    // The file isn't there: said in a box and on the service line.
    EXPECT_EQ(d.p.sim_dialogs().boxes, Rows{"Fichier Midi introuvable : /nulle/part/a.mid"});
    EXPECT_EQ(d.m.Label_defautP.text(), "Fichier Midi introuvable : /nulle/part/a.mid");
  }
  {
    Desk d;  // a chain step: no dialog, fichiers_restants untouched
    d.s.enchainement = 1;
    d.m.Liste_fichiers.add_row("/c/un.mid");
    d.m.Liste_fichiers.add_row("/c/deux.mid");
    d.s.rang_fichier = 1;
    d.s.fichiers_restants = 5;
    d.m.Ouvre_midi.click();
    EXPECT_TRUE(d.p.sim_dialogs().open_requests.empty());
    EXPECT_EQ(d.s.chemin_midi, "/c/deux.mid");
    EXPECT_EQ(d.s.fichiers_restants, 5);
  }
  {
    Desk d;  // a restored context keeps its path
    d.s.reprise_contexte = true;
    d.s.chemin_midi = "/r/repris.mid";
    d.m.Liste_fichiers.add_row("/r/autre.mid");
    d.m.Ouvre_midi.click();
    EXPECT_TRUE(d.p.sim_dialogs().open_requests.empty());
    EXPECT_EQ(d.s.chemin_midi, "/r/repris.mid");
    EXPECT_EQ(d.s.nom_midi_court, "repris");
  }
}

// The whole road through the decoder; a file cut inside its track is
// punched as far as it goes, and said so.
TEST(OpenPiece, WholeRoadWithTheDecoder) {
  const std::string cut = "La conversion du fichier Midi s'est arrêtée sur une erreur :\r\n";
  struct Case {
    bool complete;
    int code;
    const char* service;
    const char* box_end;  // "": no box
  } cases[] = {
      {true, 0, "Prêt à perforer - Durée: 0 mn 00 s - Longueur carton: 0.03 m", ""},
      {false, 1, "ATTENTION : fichier Midi endommagé, morceau tronqué",
       "\r\nLe morceau est tronqué : seules les notes lues avant l'erreur seront perforées."},
  };
  for (const auto& c : cases) {
    Desk d;
    const std::string path = d.home + "do.mid";
    write_file(path, tiny_midi(c.complete));
    d.p.sim_dialogs().open_answers.push_back(path);
    d.m.Ouvre_midi.click();
    EXPECT_EQ(d.s.midi_erreur_code, c.code);
    // 0 ms + half punch 2; 500 ms is 36 steps: last 35.
    EXPECT_EQ(d.m.List3.row(0), "0000002 00060 NOTE 0000035");
    EXPECT_EQ(d.m.List3.rows().back(), "0000035 00060 NTOF ");
    EXPECT_EQ(d.m.Label9.text(), " 12");
    EXPECT_EQ(d.m.Label4.text(), c.complete ? path : "") << "no HEAD line behind a stop";
    EXPECT_EQ(d.m.Text8.text(), "484");
    EXPECT_EQ(d.m.Label_defautP.text(), c.service);
    EXPECT_EQ(d.p.sim_dialogs().boxes,
              *c.box_end ? Rows{cut + raison_arret_midi(c.code, "") + c.box_end} : Rows{});
    EXPECT_TRUE(d.m.Command11.enabled());
    // Read without the console, as the later files of a chain are: the same rows.
    const auto r = prepare_import(champs_import(d.m)).reglages;
    ASSERT_TRUE(r);
    EXPECT_EQ(lignes_morceau(path, *r, nullptr, 0), std::optional<Rows>(d.m.List3.rows()));
  }
  EXPECT_FALSE(lignes_morceau("/nulle/part.mid", ReglagesImport{}, nullptr, 0));
}

}  // namespace
}  // namespace brivel::test
