// The card window on the sample piece: opened by F4 from "Fenêtre", before
// and during a run, its pictures, and the remaining time beside the gauge.
#include "gui/card_window.h"

#include <gtest/gtest.h>

#include <QAction>
#include <QApplication>
#include <QFile>
#include <QLabel>
#include <QTextBrowser>
#include <filesystem>

#include "card/card_export.h"
#include "geometry/note_names.h"
#include "gui/card_canvas.h"
#include "gui/main_window.h"
#include "platform/qt/help_viewer.h"
#include "support/punch_rig.h"

namespace brivel::gui {
bool save_picture(QWidget& w, const char* name);
namespace {

// With no web browser on the machine, "Aide" shows the guide in a window of
// the program; a missing page shows nothing.
TEST(HelpViewer, TheGuideInsideTheProgram) {
  const auto guide = std::filesystem::path(__FILE__).parent_path() / "../../data/Brivel.htm";
  EXPECT_FALSE(show_help_inside(QStringLiteral("/nonexistent/Brivel.htm")));
  ASSERT_TRUE(show_help_inside(QString::fromStdString(guide.string())));
  QWidget* help = nullptr;
  for (QWidget* w : QApplication::topLevelWidgets())
    if (w->objectName() == QLatin1String("aide")) help = w;
  ASSERT_NE(help, nullptr);
  EXPECT_TRUE(help->isVisible());
  auto* text = help->findChild<QTextBrowser*>();
  ASSERT_NE(text, nullptr);
  EXPECT_TRUE(text->toPlainText().contains(QStringLiteral("Brivel")));
  help->close();
}

TEST(CardWindow, FollowsTheSamplePieceLive) {
  BoardOptions realistic;
  realistic.instant = false;
  test::PunchRig r(realistic);
  MainWindow w{r.c, [] {}};
  w.show();
  charge_noms_notes(r.c);
  const auto sample = std::filesystem::path(__FILE__).parent_path() / "../../data/sample.mid";
  r.p.sim_dialogs().open_answers.push_back(sample.lexically_normal().string());
  r.m.Ouvre_midi.set_enabled(true);
  r.m.Ouvre_midi.click();
  ASSERT_TRUE(r.m.Command11.enabled()) << r.m.Label_defautP.text();

  auto* f4 = w.findChild<QAction*>(QStringLiteral("fenetre_carton"));
  ASSERT_NE(f4, nullptr);
  EXPECT_EQ(f4->shortcut(), QKeySequence(Qt::Key_F4));
  f4->trigger();
  CardWindow* card = w.card_window();
  ASSERT_TRUE(card->isVisible());
  const size_t holes = card->live().layout().holes.size();
  ASSERT_GT(holes, 100u);
  EXPECT_TRUE(save_picture(*card, "carton-avant.png"));

  // Halfway through, the operator pauses and looks.
  auto* status = w.findChild<QLabel*>(QStringLiteral("reste_perforation"));
  ASSERT_NE(status, nullptr);
  bool looked = false;
  r.m.subscribe([&](Element& e, Prop p) {
    if (&e != &r.m.E(7) || p != Prop::Color || looked) return;
    if (card->live().punched_count() < static_cast<int>(holes / 2)) return;
    looked = true;
    r.m.Command12.operator_click();
    r.p.at(r.p.now() + 1000, [&] {
      EXPECT_TRUE(card->live().paused());
      EXPECT_TRUE(status->text().startsWith(QStringLiteral("Reste "))) << status->text().toStdString();
      EXPECT_TRUE(status->text().endsWith(QStringLiteral("(arrêt)"))) << status->text().toStdString();
      // The card has scrolled with the run: the hole where it stands is in view.
      const CardView& v = card->canvas()->view();
      const double y = card->live().layout().y_mm(card->live().card_step());
      EXPECT_GE(y, v.top_mm);
      EXPECT_LE(y, v.top_mm + card->canvas()->viewport()->height() / v.px_per_mm);
      EXPECT_TRUE(save_picture(*card, "carton-pendant.png"));
      EXPECT_TRUE(r.m.Command12.operator_click());
    });
  });
  r.punch();
  EXPECT_TRUE(looked);
  EXPECT_EQ(card->live().punched_count(), static_cast<int>(holes));
  EXPECT_TRUE(status->text().startsWith(QStringLiteral("Perforation terminée en "))) << status->text().toStdString();

  // The export writes what the window shows, one shape a hole.
  const QString svg = QString::fromStdString(r.home + "carton.svg");
  ASSERT_TRUE(card->export_to(svg, false));
  QFile f(svg);
  ASSERT_TRUE(f.open(QIODevice::ReadOnly));
  EXPECT_EQ(static_cast<size_t>(f.readAll().count("class=\"trou\"")), holes);
}

}  // namespace
}  // namespace brivel::gui
