#include "platform/qt/help_viewer.h"

#include <QApplication>
#include <QDialog>
#include <QFileInfo>
#include <QStandardPaths>
#include <QTextBrowser>
#include <QUrl>
#include <QVBoxLayout>

namespace brivel {

bool browser_available() {
  // Debian's names for "the" browser, then what xdg-open would hand the page to.
  for (const char* p : {"x-www-browser", "sensible-browser", "firefox", "firefox-esr", "chromium", "epiphany-browser"})
    if (!QStandardPaths::findExecutable(QString::fromLatin1(p)).isEmpty()) return true;
  return false;
}

bool show_help_inside(const QString& path) {
  if (!qobject_cast<QApplication*>(QCoreApplication::instance())) return false;
  const QFileInfo file(path);
  if (!file.isFile() || !file.isReadable()) return false;
  static QDialog* window = nullptr;
  if (!window) {
    window = new QDialog(QApplication::activeWindow(), Qt::Window);
    window->setObjectName(QStringLiteral("aide"));
    window->setWindowTitle(QStringLiteral("Aide de Brivel"));
    auto* v = new QVBoxLayout(window);
    auto* text = new QTextBrowser(window);
    text->setObjectName(QStringLiteral("aide_texte"));
    text->setOpenExternalLinks(true);
    v->addWidget(text);
    window->resize(760, 620);
  }
  window->findChild<QTextBrowser*>()->setSource(QUrl::fromLocalFile(file.absoluteFilePath()));
  window->show();
  window->raise();
  return true;
}

}  // namespace brivel
