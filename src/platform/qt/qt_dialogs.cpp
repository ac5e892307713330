#include "platform/qt/qt_dialogs.h"

#include <QApplication>
#include <QFileDialog>
#include <QFileInfo>
#include <QInputDialog>
#include <QMessageBox>
#include <QSettings>

namespace brivel {

namespace {
bool have_widgets() { return qobject_cast<QApplication*>(QCoreApplication::instance()) != nullptr; }
QWidget* parent() { return QApplication::activeWindow(); }
}  // namespace

static std::vector<std::string> qt_filters(const std::string& filter) {
  // Pairs of "description|pattern|"; Qt wants the descriptions, which carry
  // their pattern in brackets.
  std::vector<std::string> out;
  std::size_t pos = 0;
  bool description = true;
  while (pos < filter.size()) {
    std::size_t bar = filter.find('|', pos);
    std::string part = filter.substr(pos, bar == std::string::npos ? std::string::npos : bar - pos);
    if (description && !part.empty()) out.push_back(part);
    description = !description;
    if (bar == std::string::npos) break;
    pos = bar + 1;
  }
  return out;
}

std::string qt_filter(const std::string& filter) {
  std::string out;
  for (const auto& f : qt_filters(filter)) out += (out.empty() ? "" : ";;") + f;
  return out;
}

std::string qt_selected_filter(const std::string& filter, int index) {
  std::vector<std::string> all = qt_filters(filter);
  if (all.empty()) return "";
  if (index < 1 || index > static_cast<int>(all.size())) index = 1;
  return all[static_cast<std::size_t>(index - 1)];
}

namespace {
// The folder last used for a kind of file (by its filter), kept from one
// session to the next: a dialog asked for no place opens there.
QString settings_key(const std::string& filter) {
  return QStringLiteral("dossiers/") + QString::fromStdString(filter).section(QLatin1Char('|'), 1, 1);
}
QString start_place(const FileDialogRequest& req) {
  if (!req.start_name.empty()) return QString::fromStdString(req.start_name);
  return QSettings(QStringLiteral("Brivel"), QStringLiteral("brivel")).value(settings_key(req.filter)).toString();
}
void remember(const FileDialogRequest& req, const QString& chosen) {
  if (chosen.isEmpty()) return;
  QSettings(QStringLiteral("Brivel"), QStringLiteral("brivel"))
      .setValue(settings_key(req.filter), QFileInfo(chosen).absolutePath());
}
}  // namespace

std::string QtDialogs::open_file(const FileDialogRequest& req) {
  if (!have_widgets()) return "";
  QString filter = QString::fromStdString(qt_filter(req.filter));
  QString selected = QString::fromStdString(qt_selected_filter(req.filter, req.filter_index));
  QString start = start_place(req);
  if (!req.multi_select) {
    const QString file = QFileDialog::getOpenFileName(parent(), QString(), start, filter, &selected);
    remember(req, file);
    return file.toStdString();
  }
  QStringList files = QFileDialog::getOpenFileNames(parent(), QString(), start, filter, &selected);
  if (files.isEmpty()) return "";
  remember(req, files.front());
  if (files.size() == 1) return files.front().toStdString();
  // Several files: the folder, then each name, separated by zero characters.
  std::string out = QFileInfo(files.front()).absolutePath().toStdString();
  for (const QString& f : files) {
    out.push_back('\0');
    out += QFileInfo(f).fileName().toStdString();
  }
  return out;
}

std::string QtDialogs::save_file(const FileDialogRequest& req) {
  if (!have_widgets()) return "";
  QFileDialog::Options opts;
  if (!req.overwrite_prompt) opts |= QFileDialog::DontConfirmOverwrite;
  QString selected = QString::fromStdString(qt_selected_filter(req.filter, req.filter_index));
  const QString file = QFileDialog::getSaveFileName(parent(), QString(), start_place(req),
                                                    QString::fromStdString(qt_filter(req.filter)), &selected, opts);
  remember(req, file);
  return file.toStdString();
}

BoxAnswer QtDialogs::message_box(const std::string& text, BoxButtons buttons) {
  const bool yes_no = buttons != BoxButtons::Ok;
  const bool oui = buttons == BoxButtons::YesNoDefaultYes;
  if (!have_widgets()) return yes_no ? (oui ? BoxAnswer::Yes : BoxAnswer::No) : BoxAnswer::Ok;
  QString t = QString::fromStdString(text);
  if (!yes_no) {
    QMessageBox::information(parent(), "Brivel", t);
    return BoxAnswer::Ok;
  }
  auto r = QMessageBox::question(parent(), "Brivel", t, QMessageBox::Yes | QMessageBox::No,
                                 oui ? QMessageBox::Yes : QMessageBox::No);
  return r == QMessageBox::Yes ? BoxAnswer::Yes : BoxAnswer::No;
}

std::optional<std::string> QtDialogs::input_box(const std::string& prompt, const std::string& def) {
  if (!have_widgets()) return std::nullopt;
  bool ok = false;
  QString r = QInputDialog::getText(parent(), "Brivel", QString::fromStdString(prompt), QLineEdit::Normal,
                                    QString::fromStdString(def), &ok);
  if (!ok) return std::nullopt;
  return r.toStdString();
}

}  // namespace brivel
