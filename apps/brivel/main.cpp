// Brivel: the console of the card punch.
//
//   brivel              the console window on this machine's serial ports
//   brivel --demo DIR   the window on a simulated machine; saves a picture of
//                       each page into DIR (runs without a display on Qt's
//                       offscreen platform)
#include <QApplication>
#include <QLibraryInfo>
#include <QLabel>
#include <QLocale>
#include <QTranslator>
#include <QFileInfo>
#include <QStatusBar>
#include <QStyleFactory>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <string>
#include <vector>

#include "app/console_app.h"
#include "command_line.h"
#include "demo.h"
#include "start_actions.h"
#include "gui/main_window.h"
#include "platform/qt/qt_platform.h"

namespace {

constexpr const char* kUsage =
    "Usage : brivel [--set FICHIER.set] [--port N] [--ouvrir FICHIER.mid [--perforer]] [--demo DOSSIER] [options de Qt]\n"
    "  (sans option)     la console de perforation, sur les ports série de cette machine\n"
    "  --set FICHIER     charge ce fichier de paramètres au démarrage, comme choisi dans la liste\n"
    "  --port N          se connecte au port N au démarrage\n"
    "  --ouvrir FICHIER  ouvre ce morceau au démarrage\n"
    "  --perforer        le perfore, puis se termine en disant combien de trous en combien de temps\n"
    "  --demo DOSSIER    la console sur une machine simulée ; une image de chaque page dans DOSSIER\n"
    "  --help, --version\n"
    "Options de Qt acceptées : -platform NOM, -display AFFICHAGE, -style STYLE, -geometry G, -reverse.\n";

// Qt's own options that take a value, and those that don't: QApplication
// reads them; anything else is refused before a window opens.
bool qt_option_with_value(const std::string& a) {
  return a == "-platform" || a == "-display" || a == "-style" || a == "-geometry" || a == "-qwindowgeometry";
}

// The platform Qt will try, and whether it can find a display: without one
// the graphical platforms abort the program.
bool display_available(const std::string& platform_arg) {
  std::string platform = platform_arg;
  if (platform.empty()) {
    const char* env = std::getenv("QT_QPA_PLATFORM");
    platform = env ? env : "";
  }
  const auto set = [](const char* name) {
    const char* v = std::getenv(name);
    return v && *v;
  };
  if (platform.rfind("xcb", 0) == 0) return set("DISPLAY");
  if (platform.rfind("wayland", 0) == 0) return set("WAYLAND_DISPLAY");
  if (!platform.empty()) return true;  // offscreen, minimal, vnc...: no display needed
  return set("DISPLAY") || set("WAYLAND_DISPLAY");
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<std::string> args(argv + 1, argv + argc);
  if (auto end = brivel::cli::aide_ou_version(args, "brivel", kUsage, std::cout)) return *end;
  brivel::start::Options start;
  if (std::string why = brivel::start::take_options(args, start); !why.empty())
    return brivel::cli::refuse("brivel", why, kUsage, std::cerr);
  bool demo_asked = false;
  std::string platform;
  for (std::size_t i = 0; i < args.size(); ++i) {
    const std::string& a = args[i];
    if (a == "--demo" || qt_option_with_value(a)) {
      if (i + 1 >= args.size())
        return brivel::cli::refuse("brivel", "l'option " + a + " attend une valeur", kUsage, std::cerr);
      if (a == "-platform") platform = args[i + 1];
      demo_asked = demo_asked || a == "--demo";
      ++i;
    } else if (a != "-reverse") {
      return brivel::cli::refuse("brivel", "option inconnue « " + a + " »", kUsage, std::cerr);
    }
  }
  if (!display_available(platform)) {
    std::cerr << "brivel : aucun affichage (ni DISPLAY ni WAYLAND_DISPLAY) : lancez Brivel dans une session "
                 "graphique, ou avec QT_QPA_PLATFORM=offscreen\n";
    return 1;
  }
  if (demo_asked || start.punch) brivel::demo::quiet_offscreen_messages();
  QApplication qapp(argc, argv);
  QApplication::setApplicationName(QStringLiteral("Brivel"));
  if (QStyle* fusion = QStyleFactory::create(QStringLiteral("Fusion"))) QApplication::setStyle(fusion);
  // The console speaks French: Qt's own dialogs (files, boxes) too.
  QLocale::setDefault(QLocale(QLocale::French, QLocale::France));
  QTranslator qt_fr;
  if (qt_fr.load(QStringLiteral("qtbase_fr"), QLibraryInfo::path(QLibraryInfo::TranslationsPath)))
    QApplication::installTranslator(&qt_fr);

  const QStringList qargs = QApplication::arguments();
  int demo = qargs.indexOf(QStringLiteral("--demo"));
  if (demo > 0) return brivel::demo::run_demo(qargs.at(demo + 1));

  brivel::QtPlatform platform_qt;
  brivel::ConsoleOptions options;
  options.program_dir = QApplication::applicationDirPath().toStdString();
  options.program_dir_writable = QFileInfo(QApplication::applicationDirPath()).isWritable();
  options.hole_journal = true;
  brivel::Dialogs* real_dialogs = &platform_qt.dialogs();
  brivel::ConsoleApp app(platform_qt, options);
  app.Form_Load();
  platform_qt.set_ports_folder(app.s.dossier_appli + "ports");

  brivel::gui::MainWindow window(app.c, [&app] { app.Form_QueryUnload(); });
  // The reason a red lamp is red, also in the status bar, where a new user
  // looks for it.
  // Wrapped, not cut at the window's edge.
  auto* reason_text = new QLabel(&window);
  reason_text->setWordWrap(true);
  window.statusBar()->addWidget(reason_text, 1);
  const int reason = app.m.subscribe([reason_text, &app](brivel::Element& e, brivel::Prop p) {
    if (&e == &app.m.Shape1 && p == brivel::Prop::ToolTip) reason_text->setText(QString::fromStdString(e.tooltip()));
  });
  window.show();
  QApplication::processEvents();
  int status = brivel::start::run(app, *real_dialogs, platform_qt, start);
  if (status < 0) status = qapp.exec();
  app.m.unsubscribe(reason);
  return status;
}
