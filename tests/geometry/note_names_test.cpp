#include "geometry/note_names.h"

#include <gtest/gtest.h>

#include "support/sim_desk.h"

namespace brivel {
namespace {

TEST(NoteNames, TableOfBothKinds) {
  auto fr = table_noms_notes(true);
  auto en = table_noms_notes(false);
  struct Case {
    int n;
    const char* fr;
    const char* en;
  } cases[] = {{60, "Do", "C"}, {57, "La", "A"}, {61, "Do#", "C#"}, {72, "Do", "C"}, {0, "Do", "C"},
               {62, "Ré", "D"}, {66, "Fa#", "F#"}, {119, "Si", "B"}, {120, "", ""}, {127, "", ""}};
  for (const auto& c : cases) {
    EXPECT_EQ(fr[c.n], c.fr) << c.n;
    EXPECT_EQ(en[c.n], c.en) << c.n;
  }
  // With the octave, where the views show it: the middle Do is Do3, C4.
  const struct {
    int n;
    const char* fr;
    const char* en;
  } octaves[] = {{60, "Do3", "C4"}, {57, "La2", "A3"}, {72, "Do4", "C5"}, {0, "Do-2", "C-1"}, {127, "", ""}};
  for (const auto& o : octaves) {
    EXPECT_EQ(nom_et_octave(fr[o.n], o.n, true), o.fr) << o.n;
    EXPECT_EQ(nom_et_octave(en[o.n], o.n, false), o.en) << o.n;
  }
}

TEST(NoteNames, Check3CaptionAndNames) {
  test::SimDesk d;
  EXPECT_EQ(d.m.Check3.text(), "Do Ré mi");
  EXPECT_EQ(d.s.noms_notes[60], "");  // nothing made before a click or a load

  struct Step {
    int value;
    const char* caption;
    const char* name60;
  } steps[] = {{0, "  A B C ", "C"}, {1, "Do Ré Mi ", "Do"}, {2, "  A B C ", "C"}};
  for (const auto& st : steps) {
    d.m.Check3.set_value(st.value);
    EXPECT_EQ(d.m.Check3.text(), st.caption) << st.value;
    EXPECT_EQ(d.s.noms_notes[60], st.name60) << st.value;
  }
}

}  // namespace
}  // namespace brivel
