// brivel-script: the console without a window, on the real platform, driven
// by a script of operator actions (see src/app/script_runner.h and the README).
// Exit 0 when every wait and expect held, 1 with the failing line, 2 on a
// script error.
#include <unistd.h>

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <iterator>
#include <sstream>

#include "app/console_app.h"
#include "app/script_runner.h"
#include "platform/qt/qt_platform.h"

namespace {

// The quit sequence of a script ends this process only: several scripts may
// run side by side, and none must end the others.
class ScriptPlatform : public brivel::QtPlatform {
 public:
  void end_processes(const std::string&) override {
    std::fflush(nullptr);
    _exit(0);
  }
};

}  // namespace

int main(int argc, char** argv) {
  QCoreApplication qapp(argc, argv);
  if (argc != 2) {
    std::cerr << "usage: brivel-script SCRIPT   (- pour l'entrée standard)\n";
    return 2;
  }
  std::string script;
  if (std::string(argv[1]) == "-") {
    script.assign(std::istreambuf_iterator<char>(std::cin), std::istreambuf_iterator<char>());
  } else {
    std::ifstream in(argv[1], std::ios::binary);
    if (!in) {
      std::cerr << "brivel-script: script illisible : " << argv[1] << "\n";
      return 2;
    }
    script.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  }
  ScriptPlatform platform;
  brivel::QueuedDialogs dialogs;
  platform.set_dialogs(&dialogs);
  QString dir = QCoreApplication::applicationDirPath();
  brivel::ConsoleApp app(platform, {dir.toStdString() + "/", QFileInfo(dir).isWritable()});
  app.Form_Load();
  platform.set_ports_folder(app.s.dossier_appli + "ports");
  brivel::ScriptRunner runner(app, dialogs, std::cout);
  brivel::ScriptResult r = runner.run(script);
  if (r.status != brivel::ScriptStatus::Ok) std::cerr << "brivel-script: " << r.message << "\n";
  return static_cast<int>(r.status);
}
