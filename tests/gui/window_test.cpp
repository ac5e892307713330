// The console's window on the simulated platform: the pages, widgets that
// mirror the model both ways, the side windows, the window during a run, and
// the pictures the README shows (written to BRIVEL_TEST_OUT).
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenuBar>
#include <QMouseEvent>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QStyleFactory>
#include <QTextBrowser>
#include <filesystem>
#include <fstream>

#include "console/file_list.h"
#include "geometry/note_names.h"
#include "gui/binder.h"
#include "card/card_sound.h"
#include "card/card_synth.h"
#include "gui/card_canvas.h"
#include "gui/card_listening.h"
#include "import/vertalen.h"
#include "gui/card_window.h"
#include "gui/geometry_rules.h"
#include "gui/hot_key.h"
#include "gui/lamp.h"
#include "gui/main_window.h"
#include "gui/palette16.h"
#include "gui/side_windows.h"
#include "platform/qt/help_viewer.h"
#include "platform/qt/rehearsal_port.h"
#include "run/engine/run_engine.h"
#include "import/import_files.h"
#include "support/punch_rig.h"

namespace brivel::gui {
namespace {
namespace fs = std::filesystem;

// The offscreen platform warns at each resize and raise that it has no window manager.
void quiet_offscreen(QtMsgType type, const QMessageLogContext& ctx, const QString& msg) {
  if (type == QtWarningMsg && msg.startsWith(QStringLiteral("This plugin does not support"))) return;
  std::fprintf(stderr, "%s\n", qPrintable(qFormatLogMessage(type, ctx, msg)));
}

struct QtEnvironment : ::testing::Environment {
  QApplication* app = nullptr;
  void SetUp() override {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    qInstallMessageHandler(quiet_offscreen);
    static int argc = 1;
    static char name[] = "test_gui";
    static char* argv[] = {name, nullptr};
    app = new QApplication(argc, argv);
    if (QStyle* fusion = QStyleFactory::create(QStringLiteral("Fusion"))) QApplication::setStyle(fusion);
  }
  void TearDown() override { delete app; }
};
[[maybe_unused]] ::testing::Environment* const kQtEnv = ::testing::AddGlobalTestEnvironment(new QtEnvironment);

void settle() { QApplication::processEvents(); }

bool save_picture(QWidget& w, const char* name) {
  QString dir = qEnvironmentVariable("BRIVEL_TEST_OUT");
  if (dir.isEmpty()) dir = QDir::temp().absoluteFilePath(QStringLiteral("brivel-test-output"));
  QDir().mkpath(dir);
  if (QWidget* f = QApplication::focusWidget()) f->clearFocus();
  settle();
  return w.grab().save(QDir(dir).absoluteFilePath(QString::fromLatin1(name)), "PNG");
}

template <class W = QWidget>
W* find(QWidget* in, const std::string& name) {
  auto* x = in->findChild<W*>(QString::fromStdString(name));
  EXPECT_NE(x, nullptr) << name;
  return x;
}

void key(QWidget* target, int k, Qt::KeyboardModifiers mods, const QString& text) {
  for (QEvent::Type type : {QEvent::KeyPress, QEvent::KeyRelease}) {
    QKeyEvent e(type, k, mods, text);
    QApplication::sendEvent(target, &e);
  }
  settle();
}

void click(QWidget* target, QPoint at) {
  for (QEvent::Type type : {QEvent::MouseButtonPress, QEvent::MouseButtonRelease}) {
    const Qt::MouseButtons held = type == QEvent::MouseButtonPress ? Qt::LeftButton : Qt::NoButton;
    QMouseEvent e(type, at, target->mapToGlobal(at), Qt::LeftButton, held, Qt::NoModifier);
    QApplication::sendEvent(target, &e);
  }
}

TEST(Palette, SixteenConsoleColoursNoColourAndSystemColours) {
  // 10 lamp on, 12 a note that is on, 13 a note that is closing, 15 idle.
  const std::pair<int, long> colours[] = {{0, 0x000000},  {4, 0x800000},  {7, 0xC0C0C0},  {8, 0x808080}, {10, 0x00FF00},
                                          {12, 0xFF0000}, {13, 0xFF00FF}, {15, 0xFFFFFF}, {16, -1},      {-1, -1}};
  for (auto [index, rgb] : colours) EXPECT_EQ(palette16_rgb(index), rgb) << index;
  QPalette sys;
  sys.setColor(QPalette::Button, QColor(1, 2, 3));
  sys.setColor(QPalette::Window, QColor(4, 5, 6));
  EXPECT_FALSE(console_color(palette::kNone, sys).isValid());
  EXPECT_EQ(console_color(palette::kButtonFace, sys), QColor(1, 2, 3));
  EXPECT_EQ(console_color(palette::kMenu, sys), QColor(4, 5, 6));
  EXPECT_EQ(console_color(12, sys), QColor(255, 0, 0));
}

// Rows a handler adds with no turn of the event loop between them, in no
// order, show whole and in the model's order without a redraw at each row.
TEST(ListFill, RowsAddedOneByOneShowWholeAndInOrder) {
  const auto shown = [](const QListWidget* w) {
    QStringList out;
    for (int i = 0; i < w->count(); ++i) out << w->item(i)->text();
    return out;
  };
  // Liste_pont keeps its rows sorted; File1 keeps them as they come.
  const std::pair<const char*, int> lists[] = {{"Liste_pont", 6848}, {"File1", 500}};
  for (auto [list, rows] : lists) {
    SCOPED_TRACE(list);
    Model m;
    Binder b(m);
    Element& e = m.get(list);
    std::unique_ptr<QListWidget> w(static_cast<QListWidget*>(b.make(e)));
    int refills = 0;
    QObject::connect(w->model(), &QAbstractItemModel::modelReset, [&refills] { ++refills; });
    e.clear_rows();
    for (int i = 0; i < rows; ++i) e.add_row(std::to_string((i * 7919) % rows + 100000));
    settle();
    QStringList want;
    for (const std::string& row : e.rows()) want << QString::fromStdString(row);
    EXPECT_EQ(shown(w.get()), want);
    EXPECT_LE(refills, 2) << "the whole list redrawn at each row";
    e.clear_rows();
    settle();
    EXPECT_EQ(w->count(), 0);
    e.add_row("x");
    settle();
    EXPECT_EQ(shown(w.get()), QStringList{QStringLiteral("x")});
  }
}

// With no web browser on the machine, "Aide" shows the guide in a window of
// the program; a missing page shows nothing.
TEST(HelpViewer, TheGuideInsideTheProgram) {
  const auto guide = fs::path(__FILE__).parent_path() / "../../data/Brivel.htm";
  EXPECT_FALSE(show_help_inside(QStringLiteral("/nonexistent/Brivel.htm")));
  ASSERT_TRUE(show_help_inside(QString::fromStdString(guide.string())));
  QWidget* help = nullptr;
  for (QWidget* w : QApplication::topLevelWidgets())
    if (w->objectName() == QLatin1String("aide")) help = w;
  ASSERT_NE(help, nullptr);
  EXPECT_TRUE(help->isVisible());
  ASSERT_NE(help->findChild<QTextBrowser*>(), nullptr);
  EXPECT_TRUE(help->findChild<QTextBrowser*>()->toPlainText().contains(QStringLiteral("Brivel")));
  help->close();
}

// A window on a console of the given kind; closing it runs the quit sequence.
template <class Rig>
struct Shown : ::testing::Test {
  Rig desk;
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
  QAction* action(const char* name) { return w.findChild<QAction*>(QString::fromLatin1(name)); }
  void choose(const char* name) {
    ASSERT_NE(action(name), nullptr) << name;
    action(name)->trigger();
    settle();
  }
};
using WindowTest = Shown<test::SimDesk>;
using ToolsWindow = Shown<test::SimConsole>;

TEST_F(WindowTest, MenusCarryShortcutsSeparatorsAndEnabledStates) {
  const std::tuple<const char*, const char*, bool> entries[] = {{"Ouvre_midi", "Ctrl+O", false},
                                                                {"Sauve_param", "Ctrl+S", false},
                                                                {"Sauve_contexte", "Ctrl+C", false},
                                                                {"Restitue_contexte", "Ctrl+R", true},
                                                                {"fenetre_perforation", "F1", true},
                                                                {"fenetre_moteurs", "F2", true},
                                                                {"fenetre_notes", "F3", true},
                                                                {"perfo_retard", "", false},
                                                                {"quitter", "", true},
                                                                {"Prog_nano", "", true}};
  for (auto [name, shortcut, enabled] : entries) {
    ASSERT_NE(action(name), nullptr) << name;
    EXPECT_EQ(action(name)->shortcut(), QKeySequence(QString::fromLatin1(shortcut))) << name;
    EXPECT_EQ(action(name)->isEnabled(), enabled) << name;
  }
  for (const char* sep : {"separe1", "separe2", "separe3", "separe4"}) EXPECT_TRUE(action(sep)->isSeparator()) << sep;
  // "Aide" and "A propos" sit on the top row and act at once.
  const QList<QAction*> top = w.menuBar()->actions();
  EXPECT_TRUE(top.contains(action("affiche_doc")) && top.contains(action("apropos")));
  EXPECT_EQ(action("affiche_doc")->menu(), nullptr);
  // Enabled states follow the model live.
  choose("fenetre_perforation");
  EXPECT_TRUE(action("Ouvre_midi")->isEnabled());
  m.fenetre_notes.set_enabled(false);
  EXPECT_FALSE(action("fenetre_notes")->isEnabled());
}

TEST_F(WindowTest, WidgetsShowTheModelAtOnceAndPassKeysAndClicksToIt) {
  m.Label_defautP.set_text("Défaut moteur X");
  EXPECT_EQ(find<QLabel>(&w, "Label_defautP")->text(), QStringLiteral("Défaut moteur X"));
  EXPECT_FALSE(find<QPushButton>(&w, "Command11")->isEnabled());
  m.Command11.set_enabled(true);
  EXPECT_TRUE(find<QPushButton>(&w, "Command11")->isEnabled());
  auto* lamp = find<Lamp>(&w, "Shape2");
  EXPECT_FALSE(lamp->fill().isValid());  // no colour before the first connection
  m.Shape2.set_color(10);
  EXPECT_EQ(lamp->fill(), QColor(0, 255, 0));
  auto* note = find<QLineEdit>(&w, "Note(5)");
  EXPECT_EQ(note->palette().color(QPalette::Base), QColor(255, 255, 255));
  m.Note(5).set_color(13);
  EXPECT_EQ(note->palette().color(QPalette::Base), QColor(255, 0, 255));
  m.Note(5).set_tooltip("1234");
  EXPECT_EQ(note->toolTip(), QStringLiteral("1234"));
  m.gauge1.set_max(200);
  m.gauge1.set_value(50);
  EXPECT_EQ(find<QProgressBar>(&w, "gauge1")->maximum(), 200);
  EXPECT_EQ(find<QProgressBar>(&w, "gauge1")->value(), 50);

  // Typing writes the model at each keystroke, and back.
  choose("fenetre_moteurs");
  auto* field = find<QLineEdit>(&w, "VitesseX");
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

  // Check boxes show grey; a click goes to the model, whose handler clears
  // "Cycle auto", and the window shows both.
  auto* compat = find<QCheckBox>(&w, "Check1");
  auto* cycle = find<QCheckBox>(&w, "Check2");
  EXPECT_EQ(compat->text(), QStringLiteral("Compat. Brivel27"));
  EXPECT_EQ(cycle->checkState(), Qt::Checked);
  m.valid_pwm.set_value(2);
  EXPECT_EQ(find<QCheckBox>(&w, "valid_pwm")->checkState(), Qt::PartiallyChecked);
  compat->click();
  EXPECT_EQ(m.Check1.value(), 1);
  EXPECT_EQ(cycle->checkState(), Qt::Unchecked);
}

TEST_F(WindowTest, AboutBoxWithItsHiddenButtonAndAddresses) {
  choose("apropos");
  FormWindow* about = w.about_box();
  ASSERT_TRUE(about->isVisible());
  EXPECT_EQ(about->windowTitle(), QStringLiteral("A propos..."));
  EXPECT_TRUE(w.isVisible()) << "not modal";
  auto* holes = find<QPushButton>(about, "About.nb_trou");
  EXPECT_FALSE(holes->isVisible());
  m.nb_trou.set_visible(true);
  EXPECT_TRUE(holes->isVisible());
  desk.s.compteur_trous = 1234;
  holes->click();
  EXPECT_EQ(m.Label_defautP.text(), "1234 perforations depuis le début du morceau");
  EXPECT_FALSE(holes->isVisible());
  auto* address = find<QLabel>(about, "About.address1");
  click(address, address->rect().center());
  EXPECT_EQ(desk.p.documents(), std::vector<std::string>{"Brivel.htm"}) << "the guide shipped with the program";
  EXPECT_FALSE(find<QLabel>(about, "About.address2")->isVisible());
  find<QPushButton>(about, "about_ok")->click();
  EXPECT_FALSE(m.About.visible() || about->isVisible());
  // Closing the main window runs the quit sequence.
  w.close();
  settle();
  EXPECT_TRUE(quit_ended);
  EXPECT_FALSE(m.Brivel.visible() || w.isVisible());
}

TEST_F(ToolsWindow, MotorPageDuringACalibration) {
  m.fenetre_moteurs.click();
  ASSERT_TRUE(desk.connect(10));
  bool grabbed = false;
  desk.p.at(desk.p.now() + 1500, [&] {
    settle();
    EXPECT_EQ(find<QLineEdit>(&w, "Calibration")->text().toStdString(), "Calibration moteur X en cours");
    EXPECT_FALSE(find<QPushButton>(&w, "CommandeX_P")->isEnabled());
    grabbed = save_picture(w, "calibration-moteurs.png");
    m.Stop_cal.operator_click();
  });
  m.CalibrerX.operator_click();
  EXPECT_TRUE(grabbed);
  EXPECT_EQ(find<QLineEdit>(&w, "Calibration")->text().toStdString(), "Fin calibration moteur X");
}

TEST_F(ToolsWindow, UploadReportWindow) {
  ASSERT_TRUE(desk.connect(10));
  fs::create_directories(desk.home + "bin");
  std::ofstream(desk.home + "bin/avrdude") << "#!/bin/sh\n";
  chmod((desk.home + "bin/avrdude").c_str(), 0755);
  desk.p.set_env("PATH", desk.home + "bin");
  fs::create_directories(desk.home + "Brivel_uploader/Binaire");
  std::ofstream(desk.home + "Brivel_uploader/Binaire/Brivel.cpp.hex") << ":00000001FF\n";
  desk.p.sim_dialogs().box_answers.push_back(BoxAnswer::Yes);
  m.Prog_uno_rev3.operator_click();
  ASSERT_EQ(desk.p.commands_run().size(), 1u);
  auto& run = desk.p.commands_run()[0];
  FormWindow* box = w.upload_window();
  ASSERT_TRUE(box && box->isVisible());
  auto* close = find<QPushButton>(box, "Upload.close");
  EXPECT_FALSE(close->isEnabled());
  run.report.on_output("avrdude: port /dev/sim/com10, 115200 bauds\n");
  run.report.on_output("avrdude: la carte ne répond pas (essai 1 sur 10)\n");
  run.report.on_end(1, false);
  settle();
  EXPECT_EQ(find<QPlainTextEdit>(box, "Upload.report")->toPlainText().toStdString(), m.upload_report.text());
  EXPECT_TRUE(find<QLabel>(box, "Upload.status")->text().startsWith(QStringLiteral("Échec de la programmation")));
  EXPECT_TRUE(close->isEnabled());
  EXPECT_TRUE(save_picture(*box, "televersement.png"));
  close->click();
  EXPECT_FALSE(m.Upload.visible() || box->isVisible());
}

// The main window shown, the note names loaded and the sample piece opened
// as the operator opens it. False, with why, when it would not open.
::testing::AssertionResult open_sample(test::PunchRig& r, MainWindow& w) {
  w.show();
  charge_noms_notes(r.c);
  r.p.sim_dialogs().open_answers.push_back(fs::path(__FILE__).parent_path() / "../../data/sample.mid");
  r.m.Ouvre_midi.set_enabled(true);
  r.m.Ouvre_midi.click();
  if (r.m.Command11.enabled()) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << r.m.Label_defautP.text();
}

// The card window on the sample piece, opened by F4, before and during a run,
// with the remaining time beside the gauge; and during the pause the note
// states in the note fields' colours on the note page.
TEST(CardWindow, FollowsTheSamplePieceLive) {
  BoardOptions realistic;
  realistic.instant = false;
  test::PunchRig r(realistic);
  MainWindow w{r.c, [] {}};
  ASSERT_TRUE(open_sample(r, w));
  auto* f4 = find<QAction>(&w, "fenetre_carton");
  EXPECT_EQ(f4->shortcut(), QKeySequence(Qt::Key_F4));
  f4->trigger();
  CardWindow* card = w.card_window();
  ASSERT_TRUE(card->isVisible());
  const size_t holes = card->live().layout().holes.size();
  ASSERT_GT(holes, 100u);
  EXPECT_TRUE(save_picture(*card, "carton-avant.png"));
  // Halfway through, the operator pauses and looks.
  auto* status = find<QLabel>(&w, "reste_perforation");
  bool looked = false;
  r.m.subscribe([&](Element& e, Prop p) {
    if (&e != &r.m.E(7) || p != Prop::Color || looked || card->live().punched_count() < int(holes / 2)) return;
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
      w.findChild<QAction*>(QStringLiteral("fenetre_notes"))->trigger();
      int on = 0;
      for (int k = 1; k <= 63; ++k) {
        if (r.m.Note(k).color() != kEtatActif) continue;
        const QColor base = find(&w, "Note(" + std::to_string(k) + ")")->palette().color(QPalette::Base);
        EXPECT_GT(base.red(), base.blue()) << k << ": light red for a note that is on";
        EXPECT_NE(base, QColor(Qt::white)) << k;
        ++on;
      }
      EXPECT_GT(on, 0);
      EXPECT_TRUE(save_picture(w, "page-notes-perforation.png"));
      r.m.fenetre_perforation.operator_click();
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
  // A piece opened with the window open: its count in the margin, its start
  // in view.
  ASSERT_GT(card->canvas()->view().top_mm, 0);
  r.p.sim_dialogs().open_answers.push_back(fs::path(__FILE__).parent_path() / "../../data/sample.mid");
  r.m.Ouvre_midi.click();
  settle();
  ASSERT_TRUE(r.m.Command11.enabled()) << r.m.Label_defautP.text();
  EXPECT_EQ(card->live().layout().holes.size(), LiveRun(r.c).layout().holes.size());
  EXPECT_TRUE(find<QLabel>(card, "carton_marge")
                  ->text()
                  .startsWith(QStringLiteral("%1 trous, ").arg(card->live().layout().holes.size())))
      << find<QLabel>(card, "carton_marge")->text().toStdString();
  EXPECT_EQ(card->canvas()->view().top_mm, 0);
}

// Listening to the sample's card: the panel names its sounds, exports the
// card as MIDI (read back by our decoder) and WAV, and "Écouter" plays it
// off the window's thread, the reading bar on the card, until "Arrêter".
TEST(CardWindow, ListensToTheCard) {
  if (default_soundfont().empty()) GTEST_SKIP() << "no General MIDI SoundFont installed (timgm6mb-soundfont)";
  test::PunchRig r;
  MainWindow w{r.c, [] {}};
  ASSERT_TRUE(open_sample(r, w));
  find<QAction>(&w, "fenetre_carton")->trigger();
  CardWindow* card = w.card_window();
  CardListening* l = card->listening();
  EXPECT_TRUE(l->said().startsWith(QStringLiteral("Sons : "))) << l->said().toStdString();
  const auto notes = l->notes();
  ASSERT_GT(notes.size(), 50u);

  r.p.storage().set_fault(FaultyStorage::Fault::DiskFull);
  EXPECT_FALSE(l->export_midi(QString::fromStdString(r.home + "carton.mid")));
  EXPECT_EQ(l->said().toStdString(), "Écriture impossible : " + r.home + "carton.mid (disque plein)");
  r.p.storage().set_fault(FaultyStorage::Fault::None);
  ASSERT_TRUE(l->export_midi(QString::fromStdString(r.home + "carton.mid")));
  const VertalenResult back = vertalen(r.read_file("carton.mid"), "carton.mid");
  EXPECT_EQ(back.midi_erreur_code, 0);
  EXPECT_EQ(piece_notes_ms(back.text).size(), notes.size());
  // The WAV on a thread of its own, the button off meanwhile.
  l->export_wav_in_background(QString::fromStdString(r.home + "carton.wav"));
  EXPECT_FALSE(find<QPushButton>(card, "carton_wav")->isEnabled());
  l->finish_export();
  EXPECT_TRUE(find<QPushButton>(card, "carton_wav")->isEnabled());
  EXPECT_EQ(l->said().toStdString(), "Carton exporté : " + r.home + "carton.wav");
  const std::string wav = r.read_file("carton.wav");
  EXPECT_EQ(wav.substr(0, 4), "RIFF");
  EXPECT_GT(wav.size(), static_cast<size_t>(notes.back().off_ms / 1000 * kRenderRate * 4));
  settle();  // the thread's own word on the export comes after, and changes nothing
  EXPECT_EQ(l->said().toStdString(), "Carton exporté : " + r.home + "carton.wav");

  // No sound card here: FluidSynth's file output plays at the pace of one.
  qputenv("BRIVEL_SORTIE_AUDIO", "file");
  qputenv("BRIVEL_FICHIER_AUDIO", QByteArray::fromStdString(r.home + "ecoute.wav"));
  auto* play = find<QPushButton>(card, "carton_ecouter");
  play->click();
  EXPECT_TRUE(l->playing()) << l->said().toStdString();
  EXPECT_EQ(play->text(), QStringLiteral("Arrêter"));
  ASSERT_TRUE(l->position_ms());
  EXPECT_GE(*l->position_ms(), 0);
  card->canvas()->set_reading(card->live().layout().y_mm(900));
  EXPECT_TRUE(save_picture(*card, "carton-ecoute.png"));
  play->click();
  settle();
  EXPECT_FALSE(l->playing());
  EXPECT_EQ(play->text(), QStringLiteral("Écouter"));
  EXPECT_FALSE(card->canvas()->view().reading_mm);
  qunsetenv("BRIVEL_SORTIE_AUDIO");
  qunsetenv("BRIVEL_FICHIER_AUDIO");
}

}  // namespace
}  // namespace brivel::gui
