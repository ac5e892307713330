// The window during a run: the note states in the note fields' colours, seen
// on the note page while the run is paused, and a picture of it.
#include <gtest/gtest.h>

#include <QAction>
#include <QApplication>
#include <QLineEdit>

#include "gui/main_window.h"
#include "run/engine/run_engine.h"
#include "support/punch_rig.h"

namespace brivel::gui {
bool save_picture(QWidget& w, const char* name);
namespace {

TEST(RunWindow, NoteStatesShowOnTheNotePageDuringAPause) {
  test::PunchRig r;
  MainWindow w{r.c, [] {}};
  w.show();
  QApplication::processEvents();
  // A held note (60, track 6) and, from 2 s, a chord of three (62, 64, 65:
  // tracks 7 to 9) that ends later: the pause comes inside the chord.
  ASSERT_TRUE(r.load(test::fichier_evenements({test::note_line(1000, 60, 1500), test::note_line(2000, 62, 900),
                                               test::note_line(2000, 64, 900), test::note_line(2000, 65, 300)},
                                              3000)));
  // The pause comes on the chord's row at step 148 (2 s is step 145).
  int at_row = 0;
  while (at_row < r.m.List3.count() && std::stoi(r.m.List3.row(at_row).substr(0, 7)) < 148) ++at_row;
  const auto look = [&] {
    auto* notes = w.findChild<QAction*>(QStringLiteral("fenetre_notes"));
    ASSERT_TRUE(notes && notes->isEnabled());
    notes->trigger();
    QApplication::processEvents();
    const auto base = [&](int k) {
      auto* f = w.findChild<QLineEdit*>(QString::fromStdString("Note(" + std::to_string(k) + ")"));
      EXPECT_NE(f, nullptr) << k;
      return f ? f->palette().color(QPalette::Base) : QColor();
    };
    for (int k : {6, 7, 8, 9}) {
      EXPECT_EQ(r.m.Note(k).color(), kEtatActif) << k;
      EXPECT_NE(base(k), base(1)) << k;
      EXPECT_GT(base(k).red(), base(k).blue()) << k << ": light red for a note that is on";
    }
    if (QWidget* f = QApplication::focusWidget()) f->clearFocus();
    EXPECT_TRUE(save_picture(w, "page-notes-perforation.png"));
  };
  bool seen = false;
  r.m.subscribe([&](Element& e, Prop p) {
    if (&e != &r.m.Command12 || p != Prop::Text || e.text() != "Continuer" || seen) return;
    seen = true;
    // In the wait after the hole: the operator opens the note page, looks,
    // then goes back to the run's page and "Continuer".
    r.p.at(r.p.now() + 500, [&] {
      look();
      r.m.fenetre_perforation.operator_click();
      EXPECT_TRUE(r.m.Command12.operator_click());
    });
  });
  r.m.subscribe([&](Element& e, Prop p) {
    if (&e == &r.m.gauge1 && p == Prop::Value && e.value() == at_row && !seen) r.m.Command12.operator_click();
  });
  r.punch();
  EXPECT_TRUE(seen);
  EXPECT_EQ(r.m.Label_defautP.text(), "Perforation terminée");
}

}  // namespace
}  // namespace brivel::gui
