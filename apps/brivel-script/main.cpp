// brivel-script: the console without a window, on the real platform, driven
// by a script of operator actions (see src/app/script_runner.h and the README).
// Exit 0 when every wait and expect held, 1 with the failing line (or when
// the console ended by itself), 2 on a script error or a bad command line.
#include <unistd.h>

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <cstdio>
#include <iostream>
#include <iterator>

#include "app/console_app.h"
#include "app/script_runner.h"
#include "command_line.h"
#include "import/fichier_midi.h"
#include "platform/qt/qt_platform.h"

namespace {

constexpr const char* kUsage =
    "Usage : brivel-script SCRIPT   (- pour l'entrée standard)\n"
    "Joue un script d'actions de l'opérateur sur la console sans fenêtre (voir le README).\n"
    "Sortie 0 : tout s'est passé comme attendu ; 1 : une attente ou une vérification a échoué ;\n"
    "2 : script ou ligne de commande refusés.\n";

// A script is a page of text.
constexpr int64_t kTailleMaxScript = 1024 * 1024;

// A console that ends by itself (the list too long) says why, and where the
// script was. Its quit is the window's: this console only.
class ScriptPlatform : public brivel::QtPlatform {
 public:
  brivel::QueuedDialogs dialogs;
  const brivel::ScriptRunner* runner = nullptr;

  void terminate_now() override {
    std::cerr << "brivel-script: la console s'est arrêtée d'elle-même";
    if (runner) std::cerr << ", ligne " << runner->line_number() << " : " << runner->line_text();
    std::cerr << "\n";
    if (!dialogs.boxes.empty()) std::cerr << "  " << dialogs.boxes.back() << "\n";
    std::cerr.flush();
    std::fflush(nullptr);
    _exit(1);
  }
};

}  // namespace

int main(int argc, char** argv) {
  const std::vector<std::string> args(argv + 1, argv + argc);
  if (auto end = brivel::cli::aide_ou_version(args, "brivel-script", kUsage, std::cout)) return *end;
  if (args.size() != 1) return brivel::cli::refuse("brivel-script", "un script et un seul", kUsage, std::cerr);
  if (args[0].size() > 1 && args[0][0] == '-')
    return brivel::cli::refuse("brivel-script", "option inconnue « " + args[0] + " »", kUsage, std::cerr);
  std::string script;
  if (args[0] == "-") {
    script.assign(std::istreambuf_iterator<char>(std::cin), std::istreambuf_iterator<char>());
  } else {
    if (auto refus = brivel::refus_fichier_texte(args[0], "Script", kTailleMaxScript)) {
      std::cerr << "brivel-script: " << *refus << "\n";
      return 2;
    }
    auto text = brivel::lit_fichier_texte(args[0]);
    if (!text) {
      std::cerr << "brivel-script: Script illisible : " << args[0] << "\n";
      return 2;
    }
    script = std::move(*text);
  }
  QCoreApplication qapp(argc, argv);
  ScriptPlatform platform;
  platform.set_dialogs(&platform.dialogs);
  QString dir = QCoreApplication::applicationDirPath();
  brivel::ConsoleApp app(platform, {dir.toStdString() + "/", QFileInfo(dir).isWritable(), true});
  app.Form_Load();
  platform.set_ports_folder(app.s.dossier_appli + "ports");
  // A red lamp's reason, where a new user reading the output finds it.
  app.m.subscribe([&app](brivel::Element& e, brivel::Prop p) {
    if (&e == &app.m.Shape1 && p == brivel::Prop::ToolTip && !e.tooltip().empty())
      std::cerr << "brivel-script: " << e.tooltip() << std::endl;
  });
  brivel::ScriptRunner runner(app, platform.dialogs, std::cout);
  platform.runner = &runner;
  // A line that fails inside a handler started by "start" can't unwind it.
  runner.end_now = [](const brivel::ScriptResult& r) {
    if (r.status != brivel::ScriptStatus::Ok) std::cerr << "brivel-script: " << r.message << "\n";
    std::cerr.flush();
    std::fflush(nullptr);
    _exit(static_cast<int>(r.status));
  };
  brivel::ScriptResult r = runner.run(script);
  if (r.status != brivel::ScriptStatus::Ok) std::cerr << "brivel-script: " << r.message << "\n";
  return static_cast<int>(r.status);
}
