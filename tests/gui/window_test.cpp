// The console window on a simulated console: pages switched through the
// menu, widgets that mirror the model both ways, the hot key, the About box,
// closing, and a picture of each page.
#include <gtest/gtest.h>

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QElapsedTimer>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenuBar>
#include <QMouseEvent>
#include <QProgressBar>
#include <QPushButton>
#include <fstream>

#include "console/file_list.h"
#include "gui/geometry_rules.h"
#include "gui/lamp.h"
#include "gui/main_window.h"
#include "gui/side_windows.h"
#include "support/sim_desk.h"

namespace brivel::gui {
bool save_picture(QWidget& w, const char* name);
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
  W* find(const char* name, QWidget* in = nullptr) {
    auto* x = (in ? in : &w)->findChild<W*>(QString::fromLatin1(name));
    EXPECT_NE(x, nullptr) << name;
    return x;
  }
  bool on_screen(const char* name) {
    auto* x = w.findChild<QWidget*>(QString::fromLatin1(name));
    return x && x->isVisible();
  }
  static void key(QWidget* target, int k, Qt::KeyboardModifiers mods, const QString& text) {
    QKeyEvent press(QEvent::KeyPress, k, mods, text);
    QKeyEvent release(QEvent::KeyRelease, k, mods, text);
    QApplication::sendEvent(target, &press);
    QApplication::sendEvent(target, &release);
    settle();
  }
  static void click(QWidget* target, QPoint at) {
    QMouseEvent press(QEvent::MouseButtonPress, at, target->mapToGlobal(at), Qt::LeftButton, Qt::LeftButton,
                      Qt::NoModifier);
    QMouseEvent release(QEvent::MouseButtonRelease, at, target->mapToGlobal(at), Qt::LeftButton, Qt::NoButton,
                        Qt::NoModifier);
    QApplication::sendEvent(target, &press);
    QApplication::sendEvent(target, &release);
  }
};

TEST_F(WindowTest, CaptionStartLineAndThePagesFramesWithTheirPictures) {
  EXPECT_EQ(w.windowTitle(), QStringLiteral("Perforation de cartons d'orgue de barbarie          Brivel"));
  // A first start: no parameter file yet, and the line says what to do.
  EXPECT_EQ(find<QLabel>("Label_defautP")->text().toStdString(), kListeVide);
  const char* names[] = {"Frame3", "Frame4", "Frame5", "Frame7", "Frame8", "axe", "Detecteur", "Calibration_axes",
                         "Calc_ponts", "Frame2", "Calcul_X", "Frame9", "Perfoman", "Origine_N"};
  struct Step {
    const char* entry;  // nullptr: the window as it starts
    const char* shown;  // one letter per name above: Y shown, N not
    bool wide;
    const char* picture;
  } steps[] = {
      {nullptr, "YNNNNNNNNNNNNN", false, nullptr},
      {"fenetre_perforation", "YNNNNNNNNNNNNN", false, "page-perforation.png"},
      {"fenetre_moteurs", "NYYYYYYYNNNNNN", true, "page-moteurs.png"},
      {"fenetre_notes", "NNNNNNNNNYYYYY", true, "page-notes.png"},
      {"fenetre_moteurs", "NYYYYYYYNNNNNN", true, nullptr},
      // Frame8 is left visible by the page routine but stands beyond the
      // narrower window's edge.
      {"fenetre_perforation", "YNNNNNNNNNNNNN", false, nullptr},
  };
  const QSize narrow = w.size();
  for (const Step& s : steps) {
    if (s.entry) choose(s.entry);
    const char* at = s.entry ? s.entry : "start";
    for (int i = 0; i < 14; ++i) EXPECT_EQ(on_screen(names[i]), s.shown[i] == 'Y') << at << " " << names[i];
    EXPECT_EQ(w.size() == narrow, !s.wide) << at;
    EXPECT_GE(w.width(), twips_to_px(s.wide ? Model::kWideWidth : Model::kNarrowWidth, w.logicalDpiX())) << at;
    EXPECT_GE(w.height(), twips_to_px(s.wide ? Model::kWideHeight : Model::kNarrowHeight, w.logicalDpiY())) << at;
    if (!s.picture) continue;
    if (QWidget* f = QApplication::focusWidget()) f->clearFocus();
    EXPECT_TRUE(save_picture(w, s.picture)) << s.picture;
  }
  EXPECT_TRUE(m.Frame8.visible());
  // The bridge calculator in place of the detectors and the calibration.
  choose("fenetre_moteurs");
  find<QPushButton>("Def_ponts")->click();
  settle();
  EXPECT_TRUE(on_screen("Calc_ponts"));
  EXPECT_FALSE(on_screen("Detecteur"));
  EXPECT_FALSE(on_screen("Calibration_axes"));
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
  // Enabled states follow the model live.
  choose("fenetre_perforation");
  EXPECT_TRUE(action("Ouvre_midi")->isEnabled());
  m.fenetre_notes.set_enabled(false);
  EXPECT_FALSE(action("fenetre_notes")->isEnabled());
}

TEST_F(WindowTest, TypingWritesTheModelAtEachKeystrokeAndBack) {
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
  for (QChar ch : QStringLiteral("450")) key(field, ch.unicode(), Qt::NoModifier, QString(ch));
  m.unsubscribe(sub);
  EXPECT_EQ(seen, (std::vector<std::string>{"4", "45", "450"}));
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

  auto* lamp = find<Lamp>("Shape2");
  EXPECT_FALSE(lamp->fill().isValid());  // no colour before the first connection
  m.Shape2.set_color(10);
  EXPECT_EQ(lamp->fill(), QColor(0, 255, 0));

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
  EXPECT_EQ(cycle->checkState(), Qt::Unchecked);
}

// A parameter file that lands in the folder by any road shows in the list.
TEST_F(WindowTest, ParameterFilesFollowTheFolderAndArePicked) {
  EXPECT_TRUE(m.File1.rows().empty());
  std::ofstream(desk.home + "orgue.set") << "x\r\n";
  std::ofstream(desk.home + "autre.set") << "x\r\n";
  QElapsedTimer t;
  t.start();
  while (m.File1.rows().size() < 2 && t.elapsed() < 5000) QApplication::processEvents(QEventLoop::AllEvents, 50);
  EXPECT_EQ(m.File1.rows(), (std::vector<std::string>{"autre.set", "orgue.set"}));
  auto* list = find<QListWidget>("File1");
  ASSERT_EQ(list->count(), 2);
  bool ran = false;
  m.File1.handler = [&] { ran = m.File1.selected() == 1; };
  click(list->viewport(), list->visualItemRect(list->item(1)).center());
  EXPECT_TRUE(ran) << "the handler runs with the row already picked";
  m.File1.set_selected(0);
  EXPECT_EQ(list->currentRow(), 0);
}

TEST_F(WindowTest, AltEOpensTheEepromBoxBesideTheWindow) {
  choose("fenetre_moteurs");
  auto* field = find<QLineEdit>("VitesseX");
  FormWindow* box = w.eeprom_box();
  EXPECT_FALSE(box->isVisible());
  key(field, Qt::Key_E, Qt::AltModifier, QStringLiteral("e"));
  EXPECT_TRUE(m.EEPROM.visible());
  ASSERT_TRUE(box->isVisible());
  EXPECT_EQ(box->windowTitle(), QStringLiteral("Utilitaire EEPROM"));
  EXPECT_EQ(m.VitesseX.text(), "5000") << "the key press goes no further";
  QPoint offset(twips_to_px(400, w.logicalDpiX()), twips_to_px(400, w.logicalDpiY()));
  EXPECT_EQ(box->pos(), w.frameGeometry().topLeft() + offset);
  find<QLineEdit>("EEPROM.adress", box);
  find<QPushButton>("EEPROM.Command1", box);
  // Closed, then Alt+E again: the same box comes back.
  box->close();
  settle();
  EXPECT_FALSE(m.EEPROM.visible());
  key(w.menuBar(), Qt::Key_E, Qt::AltModifier, QStringLiteral("e"));
  EXPECT_TRUE(box->isVisible());
  EXPECT_EQ(w.eeprom_box(), box);
}

TEST_F(WindowTest, AboutBoxWithItsHiddenButtonAndAddresses) {
  choose("apropos");
  FormWindow* about = w.about_box();
  ASSERT_TRUE(about->isVisible());
  EXPECT_EQ(about->windowTitle(), QStringLiteral("A propos..."));
  EXPECT_TRUE(w.isVisible()) << "not modal";
  auto* holes = find<QPushButton>("About.nb_trou", about);
  ASSERT_TRUE(holes);
  EXPECT_FALSE(holes->isVisible());
  m.nb_trou.set_visible(true);
  EXPECT_TRUE(holes->isVisible());
  desk.s.compteur_trous = 1234;
  holes->click();
  EXPECT_EQ(m.Label_defautP.text(), "1234 perforations depuis le début du morceau");
  EXPECT_FALSE(holes->isVisible());

  auto* address = find<QLabel>("About.address1", about);
  ASSERT_NE(address, nullptr);
  click(address, address->rect().center());
  EXPECT_EQ(desk.p.documents(), std::vector<std::string>{m.about_address1.text()});

  auto* ok = find<QPushButton>("about_ok", about);
  ASSERT_NE(ok, nullptr);
  ok->click();
  EXPECT_FALSE(m.About.visible());
  EXPECT_FALSE(about->isVisible());
}

TEST_F(WindowTest, ClosingTheWindowRunsTheQuitSequence) {
  w.close();
  settle();
  EXPECT_TRUE(quit_ended);
  EXPECT_FALSE(m.Brivel.visible());
  EXPECT_FALSE(w.isVisible());
}

}  // namespace
}  // namespace brivel::gui
