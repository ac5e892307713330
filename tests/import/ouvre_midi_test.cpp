#include "import/ouvre_midi.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "import/import_files.h"
#include "import/lignes_morceau.h"
#include "import/recents.h"
#include "import/refus_import.h"
#include "import/smf_hex.h"
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
  bool import(const std::string& text) { return importe_evenements(c, text, reglages()); }
  void open(const std::string& answer) {
    p.sim_dialogs().open_answers.push_back(answer);
    m.Ouvre_midi.click();
  }
  Rows& boxes() { return p.sim_dialogs().boxes; }
  Rows service;
};

TEST(OpenPiece, SelectionPaths) {
  EXPECT_EQ(chemins_selection("/pieces/valse.mid"), Rows{"/pieces/valse.mid"});
  EXPECT_EQ(chemins_selection(std::string("/\0valse.mid", 11)), Rows{"/valse.mid"});
  EXPECT_EQ(nom_court("/pieces/valse.mid"), "valse");
  EXPECT_EQ(nom_court("valse.mid"), "");
}

TEST(OpenPiece, TextFileToAPieceReadyToPunch) {
  Desk d;
  d.s.chemin_midi = "/x/piece.mid";
  d.s.fin_saisie = true;
  ASSERT_TRUE(d.import("TEMP 0000000 000000 0500000\r\n" + note_line(1000, 60, 500) +
                       "NOOF 0001500 000000 00001 00060\r\n" + note_line(0, 62, 0) +
                       "NOTE 0999999 000000 00001 00099 00000 00100 D6\r\n" +  // the table's end: no note
                       "HEAD ##10000  /x/piece.mid 01500\r\nENDF 9999999\r\n"));
  Rows expected = {"0000002 00062 NOTE 0000002", "0000002 00062 NTOF ", "0000074 00060 NOTE 0000107"};
  for (int y = 77; y <= 104; y += 3)
    expected.push_back((y < 100 ? "00000" : "0000") + std::to_string(y) + " ##### PASY");
  expected.push_back("0000107 00060 NTOF ");
  EXPECT_EQ(d.m.List3.rows(), expected);
  // Step 107 of 13.833 ms: 1480 ms.
  const std::pair<Element*, const char*> fields[] = {
      {&d.m.Label4, "/x/piece.mid"},
      {&d.m.Label9, " 14"},
      {&d.m.Text7, "0"},
      {&d.m.Text8, "1480"},
      {&d.m.Deb_perf_mn, "0"},
      {&d.m.Deb_perf_sec, "0"},
      {&d.m.Fin_perf_mn, "0"},
      {&d.m.Fin_perf_sec, "1"},
      {&d.m.Label_defautP, "Prêt à perforer - Durée: 0 mn 01 s - Longueur carton: 0.09 m"}};
  for (auto [e, text] : fields) EXPECT_EQ(e->text(), text) << e->name();
  EXPECT_EQ(d.s.duree_ms, 1480);
  EXPECT_EQ(d.s.reste_fin_ms, 480);
  EXPECT_FALSE(d.s.fin_saisie);
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

TEST(OpenPiece, SimulationModeHeadLineAndNoNote) {
  Desk d;
  d.m.Label4.set_text("/avant.mid");
  d.m.Text9.set_text("7351");
  ASSERT_TRUE(d.import(note_line(0, 60, 0)));
  EXPECT_TRUE(d.s.mode_simulation);
  EXPECT_EQ(d.m.Label4.text(), "/avant.mid");  // no HEAD line: the conversion stopped early
  d.m.Text9.set_text("73510");
  ASSERT_TRUE(d.import(note_line(0, 60, 0)));
  EXPECT_FALSE(d.s.mode_simulation);
  EXPECT_FALSE(d.import("TEMP 0000000 000000 0500000\r\nENDF 9999999\r\n"));
  EXPECT_EQ(d.m.List3.count(), 0);
}

TEST(OpenPiece, ScaleCheck) {
  // The last note starts at 900 ms: step 67, 55.6 mm of card, 926 ms.
  const std::string two60 = note_line(0, 60, 0) + note_line(500, 60, 0) + note_line(900, 62, 0);
  const std::string ready = "Prêt à perforer - Durée: 0 mn 00 s - Longueur carton: ";
  struct Case {
    std::string file;
    int check5;
    const char* nbtouches;
    const char* note6;  // 60 in the default scale
    int hors;
    std::string service;
  } cases[] = {
      // Without the check the count of notes the organ lacks goes behind.
      {two60, 0, "29", "59", 0, ready + "0.06 m - 2 notes hors gamme (Fenêtre > Carton)"},
      {note_line(0, 99, 0), 0, "29", "60", 0, ready + "0.00 m - 1 note hors gamme (Fenêtre > Carton)"},
      {two60, 1, "29", "60", 0, ready + "0.06 m"},
      {two60, 1, "29", "59", 2, "ATTENTION :  2 notes ne sont pas dans la gamme de l'orgue"},
      {two60, 1, "5", "60", 3, "ATTENTION :  3 notes ne sont pas dans la gamme de l'orgue"},
      {note_line(0, 99, 0), 1, "29", "60", 1, "ATTENTION :  1 note n'est pas dans la gamme de l'orgue"},
  };
  for (const auto& c : cases) {
    Desk d;
    d.m.Check5.set_value(c.check5);
    d.m.NBTouches.set_text(c.nbtouches);
    d.m.Note(6).set_text(c.note6);
    ASSERT_TRUE(d.import(c.file));
    EXPECT_EQ(d.s.nb_hors_gamme, c.hors) << c.nbtouches << " " << c.note6;
    EXPECT_EQ(d.m.Label_defautP.text(), c.service);
  }
}

// The card view's transposition moves every note as it is read, within the 128 MIDI notes.
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
    ASSERT_TRUE(d.import(note_line(0, k.note, 0)));
    EXPECT_EQ(d.m.List3.row(0), k.first_row) << k.shift;
  }
}

// The pieces opened last come back from the menu Fichier, most recent first, kept for the next start.
TEST(OpenPiece, RecentPiecesInTheMenu) {
  Desk d;
  d.m.Ouvre_midi.set_enabled(true);
  for (const char* n : {"a.mid", "b.mid", "a.mid"}) {
    write_file(d.home + n, tiny_midi());
    d.open(d.home + n);
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
  EXPECT_EQ(avec_recent({"1", "2", "3", "4", "5"}, "6"), (Rows{"6", "1", "2", "3", "4"}));
}

// Past 32767 rows the program says so and ends: on filling the intermediate steps, and on reading
// a piece, whose conversion stops there, never reaching the broken track behind.
TEST(OpenPiece, TooManyRowsEndsTheProgram) {
  const Rows too_many = {
      "Nombre d'évènements trop important\r\nSuggestion :\r\nAugmenter le seuil d'insertion des ponts"};
  {
    Desk d;
    d.s.pas_Y_mm = 0.83;
    d.m.Poincon.set_text("0.9");  // one step wide
    d.m.List3.add_row("0000000 00060 NOTE 0040000");
    d.m.List3.add_row("0040000 00060 NTOF ");
    EXPECT_THROW(d.m.Command7.click(), SimProcessEnded);
    EXPECT_EQ(d.boxes(), too_many);
  }
  Desk d;
  std::string notes;
  for (int i = 0; i < 17000; ++i) notes += "00 90 3C 40 10 80 3C 00 ";
  write_file(d.home + "long.mid", header(0, 2, 96) + track(notes + "00 FF 2F 00") + "junk");
  try {
    d.open(d.home + "long.mid");
    ADD_FAILURE() << "the program should have ended";
  } catch (const SimProcessEnded& e) {
    EXPECT_FALSE(e.by_quit);
  }
  EXPECT_EQ(d.boxes(), too_many);
  EXPECT_EQ(d.m.List3.count(), 32768);
  EXPECT_EQ(d.s.midi_erreur_code, 0);  // "MTrk not in file" was never read
}

// A file picked in the dialog that is no piece, or settings that cannot read one: said on the
// service line, the list emptied, no run possible, nothing left in Temp/. "~/" is the home folder.
TEST(OpenPiece, RefusedFilesAndSettings) {
  const std::string refused = "Ouverture refusée : ";
  const std::string moteurs = " doit être supérieure à 0 (page Moteurs et poinçon)";
  struct Case {
    const char* field;
    const char* text;
    std::string path;  // "": refused before the dialog
    std::string message;
  } cases[] = {
      {"", "", "~/dir", "Fichier Midi refusé : ~/dir est un dossier"},
      {"", "", "/dev/zero",
       "Fichier Midi refusé : /dev/zero n'est pas un fichier ordinaire (périphérique, tube ou socket)"},
      // Two note-ons, no note-off: the converter drops both at End of Track.
      {"", "", "~/endless.mid",
       "Aucune note à perforer dans ce fichier Midi : 2 notes commencent sans jamais finir (note-on sans note-off "
       "avant la fin de la piste)"},
      {"vitesse", "0", "", refused + "la Vitesse du carton" + moteurs},
      {"NbpasY", "0", "", refused + "la Précision (pas moteur par pas de perforation)" + moteurs},
      {"PasmotY", "", "", refused + "le Pas moteur Y doit être supérieur à 0 (page Moteurs et poinçon)"},
      {"Poincon", "0.5", "",
       refused + "le Poinçon doit couvrir au moins un pas de perforation (Précision x Pas moteur = 0.83 mm)"},
      {"PontY", "2a", "", refused + "le paramètre des ponts (Ponts Y) \"2a\" n'est pas un nombre"},
      {"PontY", "-5", "",
       refused + "le paramètre des ponts (Ponts Y) donne un intervalle de trous nul : saisir 0 ou un nombre positif"},
      {"NBTouches", "70", "",
       refused + "Nombre de notes \"70\" invalide : saisir dans Notes un nombre entier de 0 à 63"},
  };
  for (const auto& c : cases) {
    Desk d;
    std::filesystem::create_directory(d.home + "dir");
    write_file(d.home + "endless.mid", header(0, 1, 96) + track("00 90 3C 40 00 90 3E 40 00 FF 2F 00"));
    auto home = [&](std::string s) {
      return s.find("~/") == std::string::npos ? s : s.replace(s.find("~/"), 2, d.home);
    };
    d.m.Check5.set_value(std::string(c.field) == "NBTouches");
    d.m.List3.add_row("0000074 00060 NOTE 0000107");
    d.m.Command11.set_enabled(true);
    d.m.perfo_retard.set_enabled(true);
    if (*c.field) d.m.get(c.field).set_text(c.text);
    if (c.path.empty())
      d.m.Ouvre_midi.click();
    else
      d.open(home(c.path));
    EXPECT_EQ(d.m.Label_defautP.text(), home(c.message));
    EXPECT_EQ(d.p.sim_dialogs().open_requests.empty(), c.path.empty()) << c.message;
    EXPECT_FALSE(d.m.Command11.enabled()) << c.message;
    EXPECT_FALSE(d.m.perfo_retard.enabled()) << c.message;
    EXPECT_EQ(d.m.List3.count(), 0) << c.message;
    EXPECT_FALSE(std::filesystem::exists(d.s.chemin_midid)) << c.message;
  }
}

TEST(OpenPiece, DialogRoadWithAFileThatIsNoMidi) {
  Desk d;
  const std::string path = d.home + "pas_midi.mid";
  write_file(path, "hello");
  std::filesystem::remove_all(d.home + "Temp");
  const int64_t t0 = d.p.now();
  d.open(path);
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
  EXPECT_EQ(d.boxes(),
            Rows{"La conversion du fichier Midi s'est arrêtée sur une erreur :\r\nce n'est pas un fichier "
                 "Midi (il ne commence pas par l'en-tête des fichiers Midi)\r\nAucune note n'a pu être lue."});
  EXPECT_EQ(d.m.gauge1.value(), 0) << "the bar doesn't stay where the conversion left it";
  EXPECT_TRUE(std::filesystem::is_directory(d.home + "Temp"));
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
    d.open(std::string("/nulle/part\0a.mid\0b.mid", 23));
    EXPECT_EQ(d.m.Liste_fichiers.rows(), (Rows{"/nulle/part/a.mid", "/nulle/part/b.mid"}));
    EXPECT_EQ(d.s.fichiers_restants, 2);
    EXPECT_EQ(d.s.chemin_midi, "/nulle/part/a.mid");
    // The file isn't there: said in a box and on the service line.
    EXPECT_EQ(d.boxes(), Rows{"Fichier Midi introuvable : /nulle/part/a.mid"});
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

// The whole road through the decoder; a file cut inside its track is punched as far as it goes, and said so.
TEST(OpenPiece, WholeRoadWithTheDecoder) {
  for (bool complete : {true, false}) {
    Desk d;
    const std::string path = d.home + "do.mid";
    write_file(path, tiny_midi(complete));
    d.open(path);
    EXPECT_EQ(d.s.midi_erreur_code, complete ? 0 : 1);
    // 0 ms + half punch 2; 500 ms is 36 steps: last 35.
    EXPECT_EQ(d.m.List3.row(0), "0000002 00060 NOTE 0000035");
    EXPECT_EQ(d.m.List3.rows().back(), "0000035 00060 NTOF ");
    EXPECT_EQ(d.m.Label9.text(), " 12");
    EXPECT_EQ(d.m.Label4.text(), complete ? path : "") << "no HEAD line behind a stop";
    EXPECT_EQ(d.m.Text8.text(), "484");
    EXPECT_EQ(d.m.Label_defautP.text(), complete ? "Prêt à perforer - Durée: 0 mn 00 s - Longueur carton: 0.03 m"
                                                 : "ATTENTION : fichier Midi endommagé, morceau tronqué");
    EXPECT_EQ(d.boxes(), complete ? Rows{}
                                  : Rows{"La conversion du fichier Midi s'est arrêtée sur une erreur :\r\n" +
                                         raison_arret_midi(1, "") +
                                         "\r\nLe morceau est tronqué : seules les notes lues avant l'erreur seront "
                                         "perforées."});
    EXPECT_TRUE(d.m.Command11.enabled());
    // Read without the console, as the later files of a chain are: the same rows.
    EXPECT_EQ(lignes_morceau(path, d.reglages(), nullptr, 0), std::optional<Rows>(d.m.List3.rows()));
  }
  EXPECT_FALSE(lignes_morceau("/nulle/part.mid", ReglagesImport{}, nullptr, 0));
}

}  // namespace
}  // namespace brivel::test
