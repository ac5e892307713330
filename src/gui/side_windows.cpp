#include "gui/side_windows.h"

#include <QCloseEvent>
#include <QGridLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include "gui/layout_helpers.h"

namespace brivel::gui {

FormWindow::FormWindow(Binder& b, Element& form, QWidget* parent) : QWidget(parent, Qt::Window), form_(form) {
  setObjectName(QString::fromStdString(form.name()));
  setWindowTitle(QString::fromStdString(form.text()));
  Element* f = &form;
  b.bind(form, this, [this, f](Prop p) {
    if (p == Prop::Text) setWindowTitle(QString::fromStdString(f->text()));
    if (p == Prop::Visible) {
      setVisible(f->visible());
      if (f->visible()) raise();
    }
  });
}

void FormWindow::closeEvent(QCloseEvent* ev) {
  form_.set_visible(false);
  QWidget::closeEvent(ev);
}

FormWindow* build_about_box(Binder& b, QWidget* parent) {
  Model& m = b.model();
  auto* box = new FormWindow(b, m.About, parent);
  auto* v = new QVBoxLayout(box);
  v->setSpacing(6);
  auto* title = new QLabel(QStringLiteral("Brivel"));
  QFont f = title->font();
  f.setPointSizeF(f.pointSizeF() * 1.6);
  f.setBold(true);
  title->setFont(f);
  v->addWidget(title);
  QWidget* description = b.make(m.about_description);
  embolden(description);
  v->addWidget(description);
  for (Element* e : {&m.about_usb, &m.about_version, &m.about_credits, &m.about_notice}) {
    auto* l = static_cast<QLabel*>(b.make(*e));
    l->setWordWrap(true);
    v->addWidget(l);
  }
  v->addSpacing(6);
  v->addWidget(b.make(m.about_address1));
  v->addWidget(b.make(m.about_address2));
  auto* bottom = new QHBoxLayout;
  bottom->addStretch(1);
  QWidget* holes = b.make(m.nb_trou);
  holes->setFixedSize(22, 22);
  holes->setToolTip(QStringLiteral("Nombre de perforations depuis le début du morceau"));
  bottom->addWidget(holes);
  auto* ok = new QPushButton(QStringLiteral("OK"));
  ok->setObjectName(QStringLiteral("about_ok"));
  ok->setDefault(true);
  Element* about = &m.About;
  QObject::connect(ok, &QPushButton::clicked, box, [about] { about->set_visible(false); });
  bottom->addWidget(ok);
  v->addLayout(bottom);
  box->setMinimumWidth(440);
  return box;
}

FormWindow* build_eeprom_box(Binder& b, QWidget* parent) {
  Model& m = b.model();
  auto* box = new FormWindow(b, m.EEPROM, parent);
  auto* g = new QGridLayout(box);
  field_row(b, g, 0, m.adress);
  field_row(b, g, 1, m.value);
  g->addWidget(b.make(m.eeprom_read), 0, 2);
  g->addWidget(b.make(m.eeprom_write), 1, 2);
  return box;
}

}  // namespace brivel::gui
