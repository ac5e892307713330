#include "geometry/geometry.h"

#include <gtest/gtest.h>

#include "console/pages.h"
#include "geometry/note_names.h"
#include "support/link_rig.h"

namespace brivel::test {
namespace {

std::vector<std::string> positions(Model& m, int from, int to) {
  std::vector<std::string> out;
  for (int k = from; k <= to; ++k) out.push_back(m.Position(k).text());
  return out;
}

bool unlocked(Model& m) {
  return m.Calculer_pas_X.enabled() && m.Text12.enabled() && m.Text13.enabled() && m.NBTouches.enabled() &&
         m.Check6.enabled();
}
bool locked(Model& m) {
  return !m.Calculer_pas_X.enabled() && !m.Text12.enabled() && !m.Text13.enabled() && !m.NBTouches.enabled() &&
         !m.Check6.enabled() && m.Valcalc.value() == 0;
}

struct NotesPage : SimDesk {
  NotesPage() {
    fenetre_notes_Click(c);
    EXPECT_TRUE(locked(m));
    EXPECT_TRUE(m.Valcalc.operator_click());
    EXPECT_TRUE(unlocked(m));
  }
};

// NBTouches is read by the numeric-prefix rule: a text that starts with no
// number counts no track, one that starts with 3 counts three. Tracks above
// the count keep their positions.
TEST(Scale, CalculatedPositions) {
  struct Case {
    std::vector<std::pair<const char*, const char*>> fields;
    int check6;  // the reversed table runs from the far track
    std::vector<std::string> first_four;
  } cases[] = {
      {{{"NBTouches", "3"}}, 1, {"70", "50", "30", "75"}},
      {{{"NBTouches", "1"}, {"Text12", "10"}, {"Text11", "0.5"}}, 1, {"20", "42", "58", "75"}},
      // 0.5, 1.5, 2.5, 3.5 go to the even neighbour.
      {{{"NBTouches", "4"}, {"Text12", "0.5"}, {"Text13", "1"}, {"Text11", "1"}}, 0, {"0", "2", "2", "4"}},
      {{{"NBTouches", "0"}}, 0, {"25", "42", "58", "75"}},
      {{{"NBTouches", ""}}, 0, {"25", "42", "58", "75"}},
      {{{"NBTouches", "abc"}}, 0, {"25", "42", "58", "75"}},
      {{{"NBTouches", "-2"}}, 0, {"25", "42", "58", "75"}},
      {{{"NBTouches", "3abc"}}, 0, {"30", "50", "70", "75"}},
      {{{"NBTouches", " 2.9"}}, 0, {"30", "50", "58", "75"}},
  };
  for (const auto& c : cases) {
    NotesPage d;
    for (const auto& [name, text] : c.fields) d.m.get(name).set_text(text);
    d.m.Check6.set_value(c.check6);
    d.m.Calculer_pas_X.operator_click();
    EXPECT_EQ(positions(d.m, 1, 4), c.first_four) << c.fields[0].second;
    EXPECT_TRUE(locked(d.m)) << c.fields[0].second;
    EXPECT_EQ(d.p.sim_dialogs().boxes.size(), static_cast<std::size_t>(c.check6)) << "the talon reminder only";
  }
}

TEST(Scale, RefusalsLeaveTableAndLockOpen) {
  struct Case {
    const char* field;
    const char* text;
    const char* box;
  } cases[] = {
      {"NBTouches", "64", "Nombre de notes \"64\" invalide : saisir dans Notes un nombre entier de 0 à 63"},
      {"NBTouches", "64abc", "Nombre de notes \"64abc\" invalide : saisir dans Notes un nombre entier de 0 à 63"},
      {"Text11", "0", "Calcul impossible : le Pas moteur X doit être différent de 0"},
      {"Text11", "", "Calcul impossible : le Pas moteur X doit être différent de 0"},
  };
  for (const auto& c : cases) {
    NotesPage d;
    d.m.get(c.field).set_text(c.text);
    d.m.Calculer_pas_X.operator_click();
    EXPECT_EQ(d.p.sim_dialogs().boxes, std::vector<std::string>{c.box}) << c.field << c.text;
    EXPECT_EQ(positions(d.m, 1, 2), (std::vector<std::string>{"25", "42"})) << c.field << c.text;
    EXPECT_TRUE(unlocked(d.m)) << c.field << c.text;
  }
}

TEST(Scale, Check4MechanicalReading) {
  SimDesk d;
  d.m.NbpasY.set_text("10");
  d.m.PontY.set_text("2");
  d.m.Check4.set_value(1);
  EXPECT_TRUE(d.m.Text16.enabled());
  EXPECT_EQ(d.m.NbpasY.text(), "1");
  EXPECT_EQ(d.m.PontY.text(), "0");
  d.m.NbpasY.set_text("10");
  d.m.PontY.set_text("2");
  d.m.Check4.set_value(0);
  EXPECT_FALSE(d.m.Text16.enabled());
  EXPECT_EQ(d.m.NbpasY.text(), "10");
  EXPECT_EQ(d.m.PontY.text(), "2");
}

// A machine on port 10 that answers "A" to every move.
struct Head : LinkRig {
  Head() {
    EXPECT_TRUE(connect(10));
    m.Demipas.set_value(0);
    m.Check3.set_value(0);
    m.Check3.set_value(1);  // French names made
  }
};

// A track's perfo button moves the head over it, from the page of notes as
// a working sequence, from the run engine as one move.
TEST(Scale, PerfoDirectionAndCount) {
  const std::string no_name = "Note(4) = \"130\" n'est pas un numéro de note Midi : saisir un nombre entier de 0 à 127";
  struct Case {
    bool notes_page;
    int k;
    const char* labelx;
    const char* note;  // typed in Note(k) first; nullptr: the default scale
    bool sens;
    const char* nb;
    std::vector<std::string> frames;
    const char* name;
    std::vector<std::string> boxes;
  } cases[] = {
      {true, 6, "108", nullptr, false, "0", {"AGxxxxx\n", "Mx00000\n", "ZGxxxxx\n"}, "Do", {}},  // note 60
      {false, 1, "0", nullptr, true, "25", {"MX00025\n"}, "La", {}},
      {false, 2, "100", nullptr, false, "58", {"Mx00058\n"}, "Do", {}},
      {false, 29, "490", nullptr, false, "0", {"Mx00000\n"}, "Sol#", {}},
      // Without a note name the head still moves, and the box says why.
      {true, 4, "0", "130", true, "75", {"AGxxxxx\n", "MX00075\n", "ZGxxxxx\n"}, "", {no_name}},
  };
  for (const auto& c : cases) {
    Head h;
    if (c.notes_page)
      fenetre_notes_Click(h.c);
    else
      fenetre_perforation_Click(h.c);
    if (c.note) h.m.Note(c.k).set_text(c.note);
    h.m.LabelX.set_text(c.labelx);
    h.m.affiche_note.set_text("?");
    h.s.sens_X = !c.sens;
    auto from = h.mark();
    if (c.notes_page)
      h.m.perfo(c.k).operator_click();
    else
      perfo_Click(h.c, c.k);
    EXPECT_EQ(h.s.sens_X, c.sens) << c.k;
    EXPECT_EQ(h.m.nb_PasX.text(), c.nb) << c.k;
    EXPECT_EQ(h.m.affiche_note.text(), c.name) << c.k;
    EXPECT_EQ(h.frame_bytes(from), c.frames) << c.k;
    EXPECT_EQ(h.p.sim_dialogs().boxes, c.boxes) << c.k;
  }
}

}  // namespace
}  // namespace brivel::test
