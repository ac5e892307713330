#include "gui/upload_window.h"

#include <QFontDatabase>
#include <QHBoxLayout>
#include <QLabel>
#include <QPlainTextEdit>
#include <QScrollBar>
#include <QVBoxLayout>

#include "gui/layout_helpers.h"

namespace brivel::gui {

FormWindow* build_upload_window(Binder& b, QWidget* parent) {
  Model& m = b.model();
  auto* box = new FormWindow(b, m.Upload, parent);
  auto* v = new QVBoxLayout(box);
  auto* status = static_cast<QLabel*>(b.make(m.upload_status));
  status->setWordWrap(true);
  embolden(status);
  v->addWidget(status);

  // The report grows by what avrdude says; the view follows its end unless
  // the operator has scrolled up to read.
  auto* report = new QPlainTextEdit;
  report->setObjectName(QString::fromStdString(m.upload_report.name()));
  report->setReadOnly(true);
  report->setLineWrapMode(QPlainTextEdit::NoWrap);
  report->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
  report->setMinimumSize(620, 320);
  Element* text = &m.upload_report;
  b.bind(m.upload_report, report, [report, text](Prop p) {
    if (p != Prop::Text) return;
    QScrollBar* bar = report->verticalScrollBar();
    const bool at_end = bar->value() == bar->maximum();
    const QString now = QString::fromStdString(text->text());
    const QString shown = report->toPlainText();
    if (now.startsWith(shown) && !shown.isEmpty()) {
      QTextCursor end(report->document());
      end.movePosition(QTextCursor::End);
      end.insertText(now.mid(shown.size()));
    } else {
      report->setPlainText(now);
    }
    if (at_end) bar->setValue(bar->maximum());
  });
  report->setPlainText(QString::fromStdString(text->text()));
  v->addWidget(report, 1);

  auto* bottom = new QHBoxLayout;
  bottom->addStretch(1);
  bottom->addWidget(b.make(m.upload_close));
  v->addLayout(bottom);
  return box;
}

}  // namespace brivel::gui
