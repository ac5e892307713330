// The parameter and context files through the console: their exact bytes,
// Sauver Paramètres and a click in File1 with what each field sets off, the
// automatic context with its history, and a run taken up again from its
// context after the program stopped.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <optional>
#include <set>

#include "console/file_list.h"
#include "core/cp1252.h"
#include "core/numbers.h"
#include "import/smf_hex.h"
#include "persistence/files/context_file.h"
#include "persistence/files/parameter_file.h"
#include "persistence/files/text_file.h"
#include "persistence/persistence.h"
#include "import/import_files.h"
#include "support/sim_console.h"

namespace brivel::test {
namespace {
namespace fs = std::filesystem;
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

// Refreshes the list and clicks `name` in it.
void pick(SimDesk& d, const std::string& name) {
  refresh_File1(d.c);
  d.m.File1.set_selected(-1);
  for (int i = 0; i < d.m.File1.count(); ++i)
    if (d.m.File1.row(i) == name) d.m.File1.set_selected(i);
  d.m.File1.click();
}

// Writes `lines` as x.set and loads it from File1, answering OK to any box.
void load(SimDesk& d, const Lines& lines) {
  write(d, "x.set", lines);
  d.p.sim_dialogs().box_answers.push_back(BoxAnswer::Ok);
  pick(d, "x.set");
}

// The lines a default console saves, without the final empty one.
Lines defaults(SimDesk& d) {
  Lines f = save(d, "x.set");
  f.pop_back();
  return f;
}

TEST(ContextFile, BytesAreWindows1252WithCrLfAndAFinalEmptyLine) {
  EXPECT_EQ(texte_fichier({"Orgue à 29.set", "", "12"}), "Orgue \xE0 29.set\r\n\r\n12\r\n\r\n");
  EXPECT_EQ(texte_fichier({}), "\r\n");
  SimDesk d;
  d.m.NBTouches.set_text("5");
  d.m.compteurXY(1).set_text("1234");
  d.s.compteur_trous = 987;
  // The note states by colour, each with its end step.
  for (auto [k, colour, tip] : {std::tuple{1, palette::kLightRed, " 107"},
                                {2, palette::kLightMagenta, ""},
                                {3, palette::kLightGreen, ""},
                                {4, palette::kWhite, "x"}}) {
    d.m.Note(k).set_color(colour);
    if (*tip) d.m.Note(k).set_tooltip(tip);
  }
  d.s.chemin_midi = "/p/b.mid";
  d.s.rang_fichier = 1;
  d.s.fichiers_restants = 2;
  for (const char* f : {"/p/a.mid", "/p/b.mid", "/p/c.mid"}) d.m.Liste_fichiers.add_row(f);
  EXPECT_EQ(lignes_contexte(d.m, d.s), (Lines{"", "1234", "987", "12", " 107", "13", "", "ndef", "", "15", "x", "15",
                                              "", "/p/b.mid", " 1", " 2", "/p/a.mid", "/p/b.mid", "/p/c.mid"}));
}

// The automatic context keeps the one it replaces in Contextes/ only when
// that one belongs to another run: another piece, or further back; also when
// the file was replaced from outside since the console wrote it.
TEST(ContextFile, TheHistoryKeepsWhatAnotherRunLeft) {
  SimDesk d;
  d.m.NBTouches.set_text("1");
  d.s.nom_fichier_set = "x.set";
  const auto kept = [&] {
    std::size_t n = 0;
    std::error_code ec;
    for (fs::directory_iterator it(d.home + kDossierHistorique, ec), end; !ec && it != end; it.increment(ec))
      n += it->path().extension() == ".sav";
    return n;
  };
  struct Step {
    const char* piece;
    int holes;
    const char* y;
    const char* outside;  // a context of this piece written over the file first
    std::size_t kept;
  };
  for (const Step& st : {Step{"/p/a.mid", 10, "100", nullptr, 0}, Step{"/p/a.mid", 20, "200", nullptr, 0},
                         Step{"/p/a.mid", 5, "50", nullptr, 1}, Step{"/p/b.mid", 6, "60", nullptr, 2},
                         Step{"/p/b.mid", 7, "70", "/p/other.mid", 3}}) {
    if (st.outside) {
      d.s.chemin_midi = st.outside;
      write(d, "Perfo_en_cours.sav", lignes_contexte(d.m, d.s));
    }
    d.s.chemin_midi = st.piece;
    d.s.compteur_trous = st.holes;
    d.m.compteurXY(1).set_text(st.y);
    ASSERT_TRUE(ecrit_contexte_auto(d.c));
    EXPECT_EQ(kept(), st.kept) << st.piece << " " << st.holes;
  }
}

// A cancel writes nothing; the menu asks with the filter and the piece's
// name, then writes; a failed write is told on the service line.
TEST(ContextFile, AWritePreparedAheadChangesNothingUntilTheSameWriteComes) {
  SimDesk d;
  const std::string f = d.home + "Perfo_en_cours.sav";
  std::ofstream(f) << "old";
  Ecritures e(system_storage());
  // Prepared, then the same bytes: renamed; other bytes: dropped, and the
  // write that came is made in full; a second preparation drops the first.
  for (const char* came : {"new", "other"}) {
    e.prepare(f, "new");
    EXPECT_EQ(d.read_file("Perfo_en_cours.sav"), "old");
    ASSERT_TRUE(e.ecrit(f, came));
    EXPECT_EQ(d.read_file("Perfo_en_cours.sav"), came);
    EXPECT_FALSE(fs::exists(f + ".pret"));
    std::ofstream(f) << "old";
  }
  e.prepare(f, "first");
  e.prepare(f, "second");
  ASSERT_TRUE(e.ecrit(f, "first"));
  EXPECT_EQ(d.read_file("Perfo_en_cours.sav"), "first");
  EXPECT_EQ(e.bilan().renommees, 1);
  EXPECT_EQ(e.bilan().perdues, 3);
}

TEST(SaveMenu, CancelThenAskWithTheFilterAndStartNameThenAFailedWrite) {
  SimDesk d;
  d.m.Sauve_contexte.click();
  EXPECT_EQ(d.p.busy_log(), (std::vector<bool>{false}));
  for (const auto& e : fs::directory_iterator(d.home)) EXPECT_FALSE(e.is_regular_file()) << e.path();
  d.s.nom_midi_court = "Valse";
  d.m.NBTouches.set_text("1");
  d.p.sim_dialogs().save_answers.push_back(d.home + "Ma valse.sav");
  d.m.Sauve_contexte.click();
  ASSERT_EQ(d.p.sim_dialogs().save_requests.size(), 2u);
  const auto& req = d.p.sim_dialogs().save_requests[1];
  EXPECT_EQ(req.filter, "Fichiers (*.sav)|*.sav|Tous (*.*)|*.*|");
  EXPECT_EQ(req.filter_index, 1);
  EXPECT_TRUE(req.overwrite_prompt);
  EXPECT_EQ(req.start_name, d.home + "Valse.sav");
  EXPECT_EQ(d.read_file("Ma valse.sav"), "\r\n0\r\n0\r\n15\r\n\r\n\r\n 0\r\n 0\r\n\r\n");
  EXPECT_EQ(d.p.busy_log(), (std::vector<bool>{false, true, false}));
  EXPECT_TRUE(d.m.Avance.enabled());
  d.p.sim_dialogs().save_answers.push_back(d.home + "nowhere/x.sav");
  d.m.Sauve_contexte.click();
  EXPECT_EQ(d.m.Label_defautP.text(), "Contexte non sauvegardé : impossible d'écrire le fichier " + d.home +
                                         "nowhere/x.sav (dossier ou fichier introuvable)");
  EXPECT_FALSE(d.p.busy());
}

// A save the disk refuses says why and leaves the file it would have
// replaced as it was, with nothing beside it.
TEST(SaveMenu, ADiskThatRefusesKeepsTheOldFile) {
  using F = FaultyStorage::Fault;
  const struct {
    F fault;
    const char* why;
  } kCases[] = {{F::DiskFull, "disque plein"},
                {F::WriteFails, "erreur d'entrée-sortie du disque"},
                {F::RenameRefused, "occupé par un autre programme"},
                {F::ReadOnly, "disque en lecture seule"}};
  for (const auto& k : kCases) {
    for (const bool parametres : {false, true}) {
      SCOPED_TRACE(std::string(k.why) + (parametres ? " .set" : " .sav"));
      SimDesk d;
      const std::string nom = parametres ? "orgue.set" : "valse.sav";
      std::ofstream(d.home + nom) << "ancien";
      d.p.storage().set_fault(k.fault);
      d.p.sim_dialogs().save_answers.push_back(d.home + nom);
      (parametres ? d.m.Sauve_param : d.m.Sauve_contexte).click();
      EXPECT_EQ(d.m.Label_defautP.text(), std::string(parametres ? "Paramètres non sauvegardés" : "Contexte non sauvegardé") +
                                              " : impossible d'écrire le fichier " + d.home + nom + " (" + k.why + ")");
      EXPECT_EQ(d.read_file(nom), "ancien");
      d.p.storage().set_fault(F::None);
      for (const auto& e : fs::directory_iterator(d.home)) EXPECT_EQ(e.path().filename().string().find(".tmp"), std::string::npos);
    }
  }
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

// A file that the machine can't use is refused whole, naming the line, the
// field and the value: the instrument in use stays, nothing goes to the
// board, and the piece opened is no longer offered to "Perforer".
TEST(ParameterLoad, ABadFileIsRefusedWholeAndChangesNothing) {
  const struct {
    int line;  // 0: the file stops after 20 lines
    std::string text;
    std::string why;  // empty: loads
  } kCases[] = {
      {0, "", "ligne 21 (Pas) : absente, le fichier s'arrête à la ligne 20 sur 162"},
      {5, "soixante", "ligne 5 (Vitesse X) : « soixante » n'est pas un nombre"},
      {6, "huit mètres", "ligne 6 (Vitesse Y) : « huit mètres » n'est pas un nombre"},
      {5, std::string("\x01\x02", 2), "ligne 5 (Vitesse X) : « <01><02> » n'est pas un nombre"},
      {5, "0", "ligne 5 (Vitesse X) : « 0 » µs : la carte fait un pas en 20 à 32000 µs"},
      {6, "40000", "ligne 6 (Vitesse Y) : « 40000 » µs : la carte fait un pas en 20 à 32000 µs"},
      {12, "0,083", "ligne 12 (Pas moteur) : « 0,083 » est lu 0 : le séparateur décimal est le point"},
      {14, "0", "ligne 14 (Vitesse) : « 0 » : la valeur doit être supérieure à 0"},
      {17, "64", "ligne 17 (Notes) : « 64 » : l'instrument a de 1 à 63 notes"},
      {23, "", "ligne 23 (Position 1) : «  » n'est pas un nombre"},
      {160, "oui", "ligne 160 (Impulsions hachées sur le moteur X) : « oui » n'est pas un nombre"},
      // Read short as the console always has, and usable: loads.
      {157, "6,5", ""},
      {70, "", "ligne 70 (Note 25) : «  » n'est pas un nombre"},
      {80, "", ""},  // Note 30: the rows beyond the instrument's 29 are not read
  };
  for (const auto& k : kCases) {
    SCOPED_TRACE(k.why);
    SimConsole d;
    write(d, "bon.set", defaults(d));
    pick(d, "bon.set");
    ASSERT_TRUE(d.p.serial().is_open());
    std::ofstream(d.home + "bon.mid", std::ios::binary) << tiny_midi();
    d.p.sim_dialogs().open_answers.push_back(d.home + "bon.mid");
    d.m.Ouvre_midi.click();
    ASSERT_TRUE(d.m.Command11.enabled());
    const std::string vitesse = d.m.VitesseX.text();
    Lines f = defaults(d);
    if (k.line == 0)
      f.resize(20);
    else
      f[static_cast<size_t>(k.line - 1)] = k.text;
    write(d, "mauvais.set", f);
    d.p.sim_dialogs().box_answers.push_back(BoxAnswer::Ok);
    const std::size_t frames = d.frames().size();
    pick(d, "mauvais.set");
    if (k.why.empty()) {
      EXPECT_EQ(d.s.nom_fichier_set, "mauvais.set");
      continue;
    }
    EXPECT_EQ(d.m.Label_defautP.text(), "Fichier de paramètres refusé : mauvais.set : " + k.why);
    ASSERT_EQ(d.p.sim_dialogs().boxes.size(), 1u);
    EXPECT_EQ(d.p.sim_dialogs().boxes[0],
              "Le fichier de paramètres mauvais.set est refusé :\r\n" + k.why +
                  "\r\nL'instrument en cours reste celui de bon.set.");
    EXPECT_EQ(d.s.nom_fichier_set, "bon.set");
    EXPECT_EQ(d.m.File1.row(d.m.File1.selected()), "bon.set");
    EXPECT_EQ(d.m.VitesseX.text(), vitesse);
    EXPECT_EQ(d.frames().size(), frames);
    EXPECT_FALSE(d.m.Command11.enabled());
    EXPECT_EQ(d.m.Label4.text(), "");
    EXPECT_EQ(d.m.List3.count(), 0);
  }
}

TEST(ParameterLoad, LinesThatCountAndShortFiles) {
  SimDesk a;
  const Lines full = defaults(a);
  // What, where the file stops (then its empty line), NBTouches, Check1,
  // Dist_cartons, dcycle_pwm enabled, and the lines changed. Text17 comes
  // out 6 whether saved, empty or missing.
  const std::tuple<const char*, int, std::string, int, std::string, bool, std::vector<std::pair<int, std::string>>>
      cases[] = {
          {"17 over 18, 162 over 151", 162, "12", 0, "300", false, {{17, "12"}, {18, "40"}, {151, " 1"}, {162, " 0"}}},
          {"an empty Text17", 162, "29", 0, "250", false, {{157, ""}, {159, "250"}, {160, " 0"}}},
      };
  for (const auto& [what, keep_lines, touches, check1, dist, dcycle, changes] : cases) {
    SCOPED_TRACE(what);
    SimDesk d;
    // What the fields held before the load, for the lines a short file lacks.
    d.m.Check1.set_value(1);
    d.m.Text17.set_text("9");
    d.m.Dist_cartons.set_text(keep_lines < 162 ? "77" : "5");
    Lines f = full;
    for (const auto& [line, text] : changes) f[static_cast<size_t>(line - 1)] = text;
    f.resize(static_cast<size_t>(keep_lines));
    load(d, f);
    EXPECT_EQ(Lines({d.m.NBTouches.text(), d.m.Text17.text(), d.m.Dist_cartons.text()}), Lines({touches, "6", dist}));
    EXPECT_EQ(d.m.Check1.value(), check1);
    EXPECT_EQ(d.m.dcycle_pwm.enabled(), dcycle);
    EXPECT_TRUE(d.m.Ouvre_midi.enabled());
    EXPECT_TRUE(d.p.sim_dialogs().boxes.empty());
  }
  // Check6 set: a reminder of the heel, and the load waits for it.
  SimDesk d;
  Lines f = full;
  f[157] = " 1";
  load(d, f);
  EXPECT_EQ(d.p.sim_dialogs().boxes, (Lines{"Penser à vérifier la valeur du talon"}));
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

using Hole = std::pair<int, int64_t>;

// Division 480 at the default tempo: a held note, a chord of two short notes,
// a held note after it. With the default console (13.83 ms a step, punch 3
// steps) its rows fall at steps 2 (60 on) to 35, 74 (62, 64) to 78, and 82
// (67) to 116, with PASY rows every 3 steps: 115 and 116 follow each other.
std::string piece() {
  const std::string events = dt(0) + "90 3C 64 " + dt(480) + "80 3C 40 " + dt(480) + "90 3E 64 00 90 40 64 " + dt(96) +
                             "80 3E 40 00 80 40 40 " + dt(0) + "90 43 64 " + dt(500) + "80 43 40 " + dt(0) + "FF 2F 00";
  return header(0, 1, 480) + track(events);
}

// A console with the board (or another console's board), the sample
// instrument saved and loaded from File1, the piece opened.
struct Desk : SimConsole {
  explicit Desk(BoardModel* shared = nullptr) {
    if (!shared) return;
    other = std::make_unique<BoardPeer>(p, *shared);
    p.sim_serial().add_port(10, other.get());
  }
  std::string write_piece(const std::string& name) {
    std::ofstream(home + name, std::ios::binary) << piece();
    return home + name;
  }
  std::string instrument_and_piece(const std::string& name = "piece.mid") {
    if (!fs::exists(home + name)) write_piece(name);
    save(*this, "orgue.set");
    pick(*this, "orgue.set");
    p.sim_dialogs().open_answers.push_back(home + name);
    m.Ouvre_midi.click();
    return home + name;
  }
  void restore(const std::string& file) {
    p.sim_dialogs().open_answers.push_back(file);
    m.Restitue_contexte.click();
  }
  std::set<Hole> holes() const {
    std::set<Hole> h;
    for (const auto& x : board.holes()) h.insert({x.x_steps, x.y_steps});
    return h;
  }
  std::unique_ptr<BoardPeer> other;
};

TEST(Restore, FailuresNameTheFileAndTheLineAndOfferNoRun) {
  Desk d;
  d.instrument_and_piece();
  ASSERT_TRUE(sauve_contexte_auto(d.c));
  const Lines good = split_cp1252_lines(d.read_file(kContexteAuto));
  const std::string sav = d.home + "c.sav";
  const std::tuple<const char*, std::function<void(Lines&)>, std::string> cases[] = {
      {"parameter file missing", [](Lines& l) { l[0] = "parti.set"; }, "ligne 1 : fichier de paramètres "},
      {"line 3 no number", [](Lines& l) { l[2] = "beaucoup"; }, "ligne 3 : le nombre de perforations « beaucoup »"},
      {"rang_fichier no number", [](Lines& l) { l[62] = " un"; }, "ligne 63 : le rang du fichier « "},
      {"stops early", [](Lines& l) { l.resize(30); }, "le fichier s'arrête à la ligne 31"},
      {"file list cut",
       [](Lines& l) {
         l[63] = " 3";
         l.resize(65);
       },
       "la ligne 66, avant la fin de la liste des fichiers (ligne 67)"},
      {"another NBTouches", [](Lines& l) { l.erase(l.begin() + 59, l.begin() + 61); }, "enregistré pour 28 notes"},
      {"piece gone", [](Lines& l) { l[61] = "/nulle/part.mid"; }, "ligne 62 : "},
  };
  for (const auto& [what, edit, says] : cases) {
    Lines l = good;
    edit(l);
    std::ofstream(sav, std::ios::binary) << texte_fichier(l);
    d.s.reprise_contexte = false;
    d.restore(sav);
    const std::string said = d.m.Label_defautP.text();
    EXPECT_EQ(said.rfind("Contexte non restitué : " + sav + " : ", 0), 0u) << what << ": " << said;
    EXPECT_NE(said.find(says), std::string::npos) << what << ": " << said;
    EXPECT_FALSE(d.s.reprise_contexte) << what;
  }
  // A cancel reads nothing and leaves the flags as they were.
  d.s.reprise_contexte = true;
  d.m.Restitue_contexte.click();
  EXPECT_TRUE(d.s.reprise_contexte);
}

}  // namespace
}  // namespace brivel::test
