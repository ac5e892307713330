// The console window on a simulated console: pages switched through the
// menu, widgets that mirror the model both ways, the hot key, the About box,
// closing, and a picture of each page.
#include "gui/main_window.h"

#include "console/file_list.h"

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QDir>
#include <QElapsedTimer>
#include <QGroupBox>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenuBar>
#include <QMouseEvent>
#include <QProgressBar>
#include <QPushButton>

#include <fstream>
#include <gtest/gtest.h>

#include "console/file_list.h"
#include "gui/geometry_rules.h"
#include "gui/lamp.h"
#include "gui/side_windows.h"
#include "support/sim_desk.h"

namespace brivel::gui {
namespace {

class WindowTest : public ::testing::Test {
 protected:
  test::SimDesk desk;
  Model& m = desk.m;
  bool quit_ended = false;
  MainWindow w{desk.c, [this] {
                 try {
                   desk.app.Form_QueryUnload();
                 } catch (const SimProcessEnded& e) {
                   quit_ended = e.by_quit;
                 }
               }};

  void SetUp() override {
    w.show();
    settle();
  }
  static void settle() { QApplication::processEvents(); }

  QAction* action(const char* name) { return w.findChild<QAction*>(QString::fromLatin1(name)); }
  void choose(const char* name) {
    QAction* a = action(name);
    ASSERT_NE(a, nullptr) << name;
    a->trigger();
    settle();
  }
  template <class W>
  W* find(const char* name) {
    auto* x = w.findChild<W*>(QString::fromLatin1(name));
    EXPECT_NE(x, nullptr) << name;
    return x;
  }
  bool on_screen(const char* name) {
    auto* x = w.findChild<QWidget*>(QString::fromLatin1(name));
    return x && x->isVisible();
  }
  void type(QWidget* target, const QString& keys) {
    for (QChar ch : keys) {
      QKeyEvent press(QEvent::KeyPress, ch.unicode(), Qt::NoModifier, QString(ch));
      QKeyEvent release(QEvent::KeyRelease, ch.unicode(), Qt::NoModifier, QString(ch));
      QApplication::sendEvent(target, &press);
      QApplication::sendEvent(target, &release);
    }
  }
  static void click(QWidget* target, QPoint at) {
    QMouseEvent press(QEvent::MouseButtonPress, at, target->mapToGlobal(at), Qt::LeftButton, Qt::LeftButton,
                      Qt::NoModifier);
    QMouseEvent release(QEvent::MouseButtonRelease, at, target->mapToGlobal(at), Qt::LeftButton, Qt::NoButton,
                        Qt::NoModifier);
    QApplication::sendEvent(target, &press);
    QApplication::sendEvent(target, &release);
  }
  static void alt_e(QWidget* target) {
    QKeyEvent press(QEvent::KeyPress, Qt::Key_E, Qt::AltModifier, QStringLiteral("e"));
    QApplication::sendEvent(target, &press);
  }
  QString out_dir() {
    QString dir = qEnvironmentVariable("BRIVEL_TEST_OUT");
    if (dir.isEmpty()) dir = QDir::temp().absoluteFilePath(QStringLiteral("brivel-test-output"));
    QDir().mkpath(dir);
    return dir;
  }
};

TEST_F(WindowTest, CaptionAndStartPage) {
  EXPECT_EQ(w.windowTitle(), QStringLiteral("Perforation de cartons d'orgue de barbarie          Brivel"));
  EXPECT_TRUE(on_screen("Frame3"));
  EXPECT_TRUE(on_screen("Frame6"));
  // Beyond the edge of the narrow window at start.
  for (const char* hidden : {"Frame7", "Frame8", "Calcul_X", "Frame9", "Perfoman", "Frame4", "axe", "Frame2"})
    EXPECT_FALSE(on_screen(hidden)) << hidden;
  // A first start: no parameter file yet, and the line says what to do.
  EXPECT_EQ(find<QLabel>("Label_defautP")->text().toStdString(), kListeVide);
}

TEST_F(WindowTest, PagesThroughTheMenuShowTheFramesOfTheirPage) {
  const char* names[] = {"Frame3",    "Frame4",           "Frame5",     "Frame7", "Frame8",
                         "axe",       "Detecteur",        "Calibration_axes", "Calc_ponts",
                         "Frame2",    "Calcul_X",         "Frame9",     "Perfoman", "Origine_N"};
  struct Step {
    const char* entry;
    const char* shown;  // one letter per name above: Y shown, N not
  } steps[] = {
      {"fenetre_perforation", "YNNNNNNNNNNNNN"},
      {"fenetre_moteurs", "NYYYYYYYNNNNNN"},
      {"fenetre_notes", "NNNNNNNNNYYYYY"},
      {"fenetre_moteurs", "NYYYYYYYNNNNNN"},
      // Frame8 is left visible by the page routine but stands beyond the
      // narrower window's edge.
      {"fenetre_perforation", "YNNNNNNNNNNNNN"},
  };
  for (const Step& s : steps) {
    choose(s.entry);
    for (int i = 0; i < 14; ++i)
      EXPECT_EQ(on_screen(names[i]), s.shown[i] == 'Y') << s.entry << " " << names[i];
  }
  EXPECT_TRUE(m.Frame8.visible());
}

TEST_F(WindowTest, WindowSizeFollowsThePage) {
  choose("fenetre_perforation");
  QSize narrow = w.size();
  EXPECT_GE(narrow.width(), twips_to_px(Model::kNarrowWidth, w.logicalDpiX()));
  choose("fenetre_moteurs");
  EXPECT_GT(w.width(), narrow.width());
  EXPECT_GE(w.height(), twips_to_px(Model::kWideHeight, w.logicalDpiY()));
  choose("fenetre_perforation");
  EXPECT_EQ(w.size(), narrow);
}

TEST_F(WindowTest, MenusCarryShortcutsSeparatorsAndEnabledStates) {
  struct Case {
    const char* name;
    const char* shortcut;
    bool enabled;
  } cases[] = {
      {"Ouvre_midi", "Ctrl+O", false},         {"Sauve_param", "Ctrl+S", false},
      {"Sauve_contexte", "Ctrl+C", false},     {"Restitue_contexte", "Ctrl+R", true},
      {"fenetre_perforation", "F1", true},     {"fenetre_moteurs", "F2", true},
      {"fenetre_notes", "F3", true},           {"perfo_retard", "", false},
      {"quitter", "", true},                   {"Prog_nano", "", true},
  };
  for (const auto& c : cases) {
    QAction* a = action(c.name);
    ASSERT_NE(a, nullptr) << c.name;
    EXPECT_EQ(a->shortcut(), QKeySequence(QString::fromLatin1(c.shortcut))) << c.name;
    EXPECT_EQ(a->isEnabled(), c.enabled) << c.name;
  }
  for (const char* sep : {"separe1", "separe2", "separe3", "separe4"}) EXPECT_TRUE(action(sep)->isSeparator()) << sep;
  // "Aide" and "A propos" sit on the top row and act at once.
  QList<QAction*> top = w.menuBar()->actions();
  EXPECT_TRUE(top.contains(action("affiche_doc")));
  EXPECT_TRUE(top.contains(action("apropos")));
  EXPECT_EQ(action("affiche_doc")->menu(), nullptr);
  // Enabled states follow the model live: the page routine enables the entries.
  choose("fenetre_perforation");
  EXPECT_TRUE(action("Ouvre_midi")->isEnabled());
  choose("fenetre_moteurs");
  EXPECT_TRUE(action("Sauve_param")->isEnabled());
  m.fenetre_notes.set_enabled(false);
  EXPECT_FALSE(action("fenetre_notes")->isEnabled());
}

TEST_F(WindowTest, TypingWritesTheModelAtEachKeystroke) {
  choose("fenetre_moteurs");
  auto* field = find<QLineEdit>("VitesseX");
  ASSERT_TRUE(field);
  EXPECT_EQ(field->text(), QStringLiteral("5000"));
  std::vector<std::string> seen;
  int sub = m.subscribe([&](Element& e, Prop p) {
    if (&e == &m.VitesseX && p == Prop::Text) seen.push_back(e.text());
  });
  field->setFocus();
  field->selectAll();
  type(field, QStringLiteral("450"));
  m.unsubscribe(sub);
  EXPECT_EQ(seen, (std::vector<std::string>{"4", "45", "450"}));
  EXPECT_EQ(m.VitesseX.text(), "450");
  EXPECT_EQ(field->text(), QStringLiteral("450"));
  // And the other way: the program writes the field.
  m.VitesseX.set_text("6000");
  EXPECT_EQ(field->text(), QStringLiteral("6000"));
}

TEST_F(WindowTest, ModelChangesShowAtOnce) {
  m.Label_defautP.set_text("Défaut moteur X");
  EXPECT_EQ(find<QLabel>("Label_defautP")->text(), QStringLiteral("Défaut moteur X"));

  auto* perforer = find<QPushButton>("Command11");
  EXPECT_FALSE(perforer->isEnabled());
  m.Command11.set_enabled(true);
  EXPECT_TRUE(perforer->isEnabled());
  m.Command12.set_text("Continuer");
  EXPECT_EQ(find<QPushButton>("Command12")->text(), QStringLiteral("Continuer"));

  auto* lamp = find<Lamp>("Shape2");
  EXPECT_FALSE(lamp->fill().isValid());  // no colour before the first connection
  m.Shape2.set_color(10);
  EXPECT_EQ(lamp->fill(), QColor(0, 255, 0));
  m.Shape2.set_color(12);
  EXPECT_EQ(lamp->fill(), QColor(255, 0, 0));

  auto* note = find<QLineEdit>("Note(5)");
  EXPECT_EQ(note->palette().color(QPalette::Base), QColor(255, 255, 255));
  m.Note(5).set_color(13);
  EXPECT_EQ(note->palette().color(QPalette::Base), QColor(255, 0, 255));
  m.Note(5).set_tooltip("1234");
  EXPECT_EQ(note->toolTip(), QStringLiteral("1234"));

  m.gauge1.set_max(200);
  m.gauge1.set_value(50);
  EXPECT_EQ(find<QProgressBar>("gauge1")->maximum(), 200);
  EXPECT_EQ(find<QProgressBar>("gauge1")->value(), 50);
}

TEST_F(WindowTest, CheckBoxesShowGreyAndPassClicksToTheModel) {
  choose("fenetre_moteurs");
  auto* compat = find<QCheckBox>("Check1");
  auto* cycle = find<QCheckBox>("Check2");
  EXPECT_EQ(compat->text(), QStringLiteral("Compat. Brivel27"));
  EXPECT_EQ(cycle->checkState(), Qt::Checked);
  m.valid_pwm.set_value(2);
  EXPECT_EQ(find<QCheckBox>("valid_pwm")->checkState(), Qt::PartiallyChecked);
  // The click goes to the model; its handler clears "Cycle auto", and the
  // window shows both.
  compat->click();
  EXPECT_EQ(m.Check1.value(), 1);
  EXPECT_EQ(compat->checkState(), Qt::Checked);
  EXPECT_EQ(m.Check2.value(), 0);
  EXPECT_EQ(cycle->checkState(), Qt::Unchecked);
}

TEST_F(WindowTest, ParameterFilesListedAndPicked) {
  std::ofstream(desk.home + "orgue.set") << "x\r\n";
  std::ofstream(desk.home + "autre.set") << "x\r\n";
  refresh_File1(desk.c);
  auto* list = find<QListWidget>("File1");
  ASSERT_EQ(list->count(), 2);
  EXPECT_EQ(list->item(0)->text(), QStringLiteral("autre.set"));
  bool ran = false;
  m.File1.handler = [&] { ran = m.File1.selected() == 1; };
  click(list->viewport(), list->visualItemRect(list->item(1)).center());
  EXPECT_EQ(m.File1.selected(), 1);
  EXPECT_TRUE(ran) << "the handler runs with the row already picked";
  m.File1.set_selected(0);
  EXPECT_EQ(list->currentRow(), 0);
}

TEST_F(WindowTest, AltEOpensTheEepromBoxBesideTheWindow) {
  choose("fenetre_moteurs");
  auto* field = find<QLineEdit>("VitesseX");
  FormWindow* box = w.eeprom_box();
  EXPECT_FALSE(box->isVisible());
  alt_e(field);
  settle();
  EXPECT_TRUE(m.EEPROM.visible());
  ASSERT_TRUE(box->isVisible());
  EXPECT_EQ(box->windowTitle(), QStringLiteral("Utilitaire EEPROM"));
  box->grab().save(QDir(out_dir()).absoluteFilePath(QStringLiteral("eeprom.png")), "PNG");
  EXPECT_EQ(m.VitesseX.text(), "5000") << "the key press goes no further";
  QPoint offset(twips_to_px(400, w.logicalDpiX()), twips_to_px(400, w.logicalDpiY()));
  EXPECT_EQ(box->pos(), w.frameGeometry().topLeft() + offset);
  EXPECT_NE(box->findChild<QLineEdit*>(QStringLiteral("EEPROM.adress")), nullptr);
  EXPECT_NE(box->findChild<QPushButton*>(QStringLiteral("EEPROM.Command1")), nullptr);
  // Closed, then Alt+E again: the same box comes back.
  box->close();
  settle();
  EXPECT_FALSE(m.EEPROM.visible());
  alt_e(w.menuBar());
  settle();
  EXPECT_TRUE(box->isVisible());
  EXPECT_EQ(w.eeprom_box(), box);
  // Alt alone with another letter does nothing.
  box->close();
  QKeyEvent other(QEvent::KeyPress, Qt::Key_R, Qt::AltModifier, QStringLiteral("r"));
  QApplication::sendEvent(field, &other);
  settle();
  EXPECT_FALSE(box->isVisible());
}

TEST_F(WindowTest, AboutBoxWithItsHiddenButtonAndAddresses) {
  choose("apropos");
  FormWindow* about = w.about_box();
  ASSERT_TRUE(about->isVisible());
  EXPECT_EQ(about->windowTitle(), QStringLiteral("A propos..."));
  EXPECT_TRUE(w.isVisible()) << "not modal";
  about->grab().save(QDir(out_dir()).absoluteFilePath(QStringLiteral("about.png")), "PNG");
  auto* holes = about->findChild<QPushButton*>(QStringLiteral("About.nb_trou"));
  ASSERT_NE(holes, nullptr);
  EXPECT_FALSE(holes->isVisible());
  m.nb_trou.set_visible(true);
  EXPECT_TRUE(holes->isVisible());
  desk.s.compteur_trous = 1234;
  holes->click();
  EXPECT_EQ(m.Label_defautP.text(), "1234 perforations depuis le début du morceau");
  EXPECT_FALSE(holes->isVisible());

  auto* address = about->findChild<QLabel*>(QStringLiteral("About.address1"));
  ASSERT_NE(address, nullptr);
  click(address, address->rect().center());
  ASSERT_EQ(desk.p.documents().size(), 1u);
  EXPECT_EQ(desk.p.documents()[0], m.about_address1.text());

  auto* ok = about->findChild<QPushButton*>(QStringLiteral("about_ok"));
  ASSERT_NE(ok, nullptr);
  ok->click();
  EXPECT_FALSE(m.About.visible());
  EXPECT_FALSE(about->isVisible());
}

// A parameter file that lands in the folder by any road shows in the list.
TEST_F(WindowTest, TheListFollowsTheFolder) {
  EXPECT_TRUE(m.File1.rows().empty());
  std::ofstream(desk.home + "orgue.set") << "3\r\n";
  QElapsedTimer t;
  t.start();
  while (m.File1.rows().empty() && t.elapsed() < 5000) QApplication::processEvents(QEventLoop::AllEvents, 50);
  EXPECT_EQ(m.File1.rows(), std::vector<std::string>{"orgue.set"});
}

TEST_F(WindowTest, ClosingTheWindowRunsTheQuitSequence) {
  w.close();
  settle();
  EXPECT_TRUE(quit_ended);
  EXPECT_FALSE(m.Brivel.visible());
  EXPECT_FALSE(w.isVisible());
}

TEST_F(WindowTest, PicturesOfThePages) {
  struct Shot {
    const char* entry;
    const char* file;
  } shots[] = {{"fenetre_perforation", "page-perforation.png"},
               {"fenetre_moteurs", "page-moteurs.png"},
               {"fenetre_notes", "page-notes.png"}};
  for (const Shot& s : shots) {
    choose(s.entry);
    if (QWidget* f = QApplication::focusWidget()) f->clearFocus();
    QPixmap pic = w.grab();
    EXPECT_EQ(pic.size(), w.size());
    QString path = QDir(out_dir()).absoluteFilePath(QString::fromLatin1(s.file));
    EXPECT_TRUE(pic.save(path, "PNG")) << path.toStdString();
  }
  // The bridge calculator in place of the detectors and the calibration.
  choose("fenetre_moteurs");
  find<QPushButton>("Def_ponts")->click();
  settle();
  if (on_screen("Calc_ponts")) {
    EXPECT_FALSE(on_screen("Detecteur"));
    EXPECT_FALSE(on_screen("Calibration_axes"));
    w.grab().save(QDir(out_dir()).absoluteFilePath(QStringLiteral("page-moteurs-ponts.png")), "PNG");
  }
}

}  // namespace
}  // namespace brivel::gui
