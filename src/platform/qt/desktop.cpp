#include "platform/qt/desktop.h"

#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>

namespace brivel {

QUrl document_url(const std::string& path_or_url, const QString& current_folder) {
  const QString text = QString::fromStdString(path_or_url).trimmed();
  if (text.isEmpty()) return {};
  // A scheme is two letters or more before the colon, so that no file name
  // is ever taken for an address.
  static const QRegularExpression scheme("^[A-Za-z][A-Za-z0-9+.-]+:");
  if (scheme.match(text).hasMatch()) {
    QUrl url(text, QUrl::StrictMode);
    return url.isValid() ? url : QUrl();
  }
  QFileInfo file(QDir(current_folder), text);
  if (!file.exists()) return {};
  return QUrl::fromLocalFile(file.absoluteFilePath());
}

}  // namespace brivel
