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

// A bad file opened after a good piece leaves nothing that "Perforer" could
// punch, and the console says so everywhere at once; a file whose header
// only promises one track too many opens whole.
TEST(OpenPiece, ABadFileAfterAGoodOneLeavesNoPieceShown) {
  // Two tracks announced, one present.
  std::string deux_pistes = tiny_midi();
  deux_pistes[11] = 2;
  // A whole file of one track holding `events`, then its end.
  auto une_piste = [](const std::string& events) {
    const std::string track = events + std::string("\x00\xFF\x2F\x00", 4);
    return std::string("MThd\x00\x00\x00\x06\x00\x00\x00\x01\x01\xE0MTrk\x00\x00\x00", 21) +
           static_cast<char>(track.size()) + track;
  };
  const std::string aucune = "Aucune note à perforer dans ce fichier Midi";
  const struct {
    const char* what;
    std::string bytes;
    bool opens;
    std::string service;  // its beginning
    size_t boxes = 1;
  } kCases[] = {
      {"not MIDI", "Ceci n'est pas un morceau", false, "Fichier Midi refusé : ce n'est pas un fichier Midi"},
      {"empty", "", false, "Fichier Midi refusé : ce n'est pas un fichier Midi"},
      {"cut inside its track", tiny_midi(false), false,
       "Fichier Midi refusé : le fichier s'arrête au milieu d'une piste"},
      {"a track short of its header", deux_pistes, true, "ATTENTION : fichier Midi endommagé, pistes annoncées absentes"},
      {"no note", une_piste(""), false, aucune, 0},
      {"a note never ended", une_piste(std::string("\x00\x90\x3C\x64", 4)), false,
       aucune + " : sa note commence sans jamais finir (note-on sans note-off avant la fin de la piste)", 0},
  };
  for (const auto& k : kCases) {
    SCOPED_TRACE(k.what);
    Desk d;
    write_file(d.home + "bon.mid", tiny_midi());
    write_file(d.home + "autre.mid", k.bytes);
    d.open(d.home + "bon.mid");
    ASSERT_TRUE(d.m.Command11.enabled());
    // The last run's counters, which no new piece keeps.
    d.m.affiche_note.set_text("C3");
    d.m.Long_perforee.set_text("1.100 m");
    d.m.gauge1.set_value(40);
    d.open(d.home + "autre.mid");
    EXPECT_EQ(d.m.Label_defautP.text().rfind(k.service, 0), 0u) << d.m.Label_defautP.text();
    if (!k.boxes) {
      EXPECT_EQ(d.m.Label_defautP.text(), k.service);
    }
    EXPECT_EQ(d.boxes().size(), k.boxes);
    EXPECT_EQ(d.m.Command11.enabled(), k.opens);
    EXPECT_EQ(d.m.perfo_retard.enabled(), k.opens);
    EXPECT_EQ(d.m.Label4.text(), k.opens ? d.home + "autre.mid" : "");
    EXPECT_EQ(d.m.List3.count() > 0, k.opens);
    EXPECT_EQ(d.m.Fin_perf_sec.text(), k.opens ? "0" : "");
    EXPECT_EQ(d.s.duree_ms > 0, k.opens);
    EXPECT_EQ(d.m.affiche_note.text(), "");
    EXPECT_EQ(d.m.Long_perforee.text(), "0");
    EXPECT_EQ(d.m.gauge1.value(), 0);
    EXPECT_EQ(d.m.recent(1).tooltip(), d.home + (k.opens ? "autre.mid" : "bon.mid"));
    EXPECT_EQ(d.m.recent(2).tooltip(), k.opens ? d.home + "bon.mid" : "");
  }
}

}  // namespace
}  // namespace brivel::test
