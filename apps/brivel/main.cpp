// Brivel: the console of the card punch.
//
//   brivel              the console window on this machine's serial ports
//   brivel --demo DIR   the window on a simulated machine; saves a picture of
//                       each page into DIR (runs without a display on Qt's
//                       offscreen platform)
#include <QApplication>
#include <QFileInfo>
#include <QStyleFactory>

#include <cstdio>
#include <cstring>

#include "app/console_app.h"
#include "demo.h"
#include "gui/main_window.h"
#include "platform/qt/qt_platform.h"

int main(int argc, char** argv) {
  for (int i = 1; i < argc; ++i)
    if (std::strcmp(argv[i], "--demo") == 0) brivel::demo::quiet_offscreen_messages();
  QApplication qapp(argc, argv);
  QApplication::setApplicationName(QStringLiteral("Brivel"));
  if (QStyle* fusion = QStyleFactory::create(QStringLiteral("Fusion"))) QApplication::setStyle(fusion);

  const QStringList args = QApplication::arguments();
  int demo = args.indexOf(QStringLiteral("--demo"));
  if (demo > 0) {
    if (demo + 1 >= args.size()) {
      std::fprintf(stderr, "Usage : brivel --demo DOSSIER\n");
      return 2;
    }
    return brivel::demo::run_demo(args.at(demo + 1));
  }

  brivel::QtPlatform platform;
  brivel::ConsoleOptions options;
  options.program_dir = QApplication::applicationDirPath().toStdString();
  options.program_dir_writable = QFileInfo(QApplication::applicationDirPath()).isWritable();
  brivel::ConsoleApp app(platform, options);
  app.Form_Load();
  platform.set_ports_folder(app.s.dossier_appli + "ports");

  brivel::gui::MainWindow window(app.c, [&app] { app.Form_QueryUnload(); });
  window.show();
  return qapp.exec();
}
