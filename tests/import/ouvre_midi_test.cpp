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

}  // namespace
}  // namespace brivel::test
