#include "demo.h"

#include <QAction>
#include <QApplication>
#include <QDir>
#include <QFileInfo>
#include <QPixmap>

#include <cstdio>

#include "app/console_app.h"
#include "gui/main_window.h"
#include "platform/sim/sim_platform.h"

namespace brivel::demo {

struct DemoDesk::Impl {
  SimPlatform platform;
  std::unique_ptr<ConsoleApp> app;
  std::unique_ptr<gui::MainWindow> window;
};

DemoDesk::DemoDesk(const QString& home) : d_(std::make_unique<Impl>()) {
  // The demonstration keeps its files to itself, never in the operator's folder.
  d_->platform.set_env("BRIVEL_HOME", home.toStdString());
  ConsoleOptions o;
  o.program_dir = home.toStdString();
  d_->app = std::make_unique<ConsoleApp>(d_->platform, o);
  d_->app->Form_Load();
  // Closing the window ends the demonstration; no quit sequence is needed
  // on a simulated machine.
  d_->window = std::make_unique<gui::MainWindow>(d_->app->c, [] { QApplication::quit(); });
  d_->window->show();
  QApplication::processEvents();
}

DemoDesk::~DemoDesk() {
  d_->window.reset();
  d_->app.reset();
}

bool DemoDesk::choose(const char* entry) {
  auto* a = d_->window->findChild<QAction*>(QString::fromLatin1(entry));
  if (!a || !a->isEnabled()) return false;
  a->trigger();
  QApplication::processEvents();
  return true;
}

bool DemoDesk::grab(const QString& path) {
  // No text cursor in the pictures.
  if (QWidget* f = QApplication::focusWidget()) f->clearFocus();
  QApplication::processEvents();
  return d_->window->grab().save(path, "PNG");
}

// Without a display the offscreen platform says at each resize that it has
// no window manager to tell, and Qt that there is no runtime folder; both are
// expected here and would only bury the demonstration's report.
static void quiet_offscreen(QtMsgType type, const QMessageLogContext& ctx, const QString& msg) {
  if (type == QtWarningMsg && msg.startsWith(QStringLiteral("This plugin does not support"))) return;
  if (msg.startsWith(QStringLiteral("QStandardPaths: XDG_RUNTIME_DIR not set"))) return;
  std::fprintf(stderr, "%s\n", qPrintable(qFormatLogMessage(type, ctx, msg)));
}

void quiet_offscreen_messages() { qInstallMessageHandler(quiet_offscreen); }

int run_demo(const QString& out_dir) {
  QDir dir(out_dir);
  if (!dir.mkpath(QStringLiteral("home"))) {
    std::fprintf(stderr, "Impossible de créer le dossier %s\n", qPrintable(dir.absolutePath()));
    return 1;
  }
  DemoDesk desk(dir.absoluteFilePath(QStringLiteral("home")));
  struct Shot {
    const char* entry;
    const char* file;
  };
  const Shot shots[] = {{"fenetre_perforation", "page-perforation.png"},
                        {"fenetre_moteurs", "page-moteurs.png"},
                        {"fenetre_notes", "page-notes.png"}};
  QStringList saved;
  for (const Shot& s : shots) {
    QString path = dir.absoluteFilePath(QString::fromLatin1(s.file));
    if (!desk.choose(s.entry)) {
      std::fprintf(stderr, "Entrée de menu indisponible : %s\n", s.entry);
      return 1;
    }
    if (!desk.grab(path)) {
      std::fprintf(stderr, "Impossible d'enregistrer %s\n", qPrintable(path));
      return 1;
    }
    saved << path;
  }
  std::printf("Pages enregistrées : %s\n", qPrintable(saved.join(QStringLiteral(", "))));
  return 0;
}

}  // namespace brivel::demo
