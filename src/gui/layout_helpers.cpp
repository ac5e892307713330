#include "gui/layout_helpers.h"

#include "console/service_line.h"

#include <QFontMetrics>
#include <QLineEdit>

namespace brivel::gui {

QWidget* field_row(Binder& b, QGridLayout* g, int row, Element& e, int col) {
  QWidget* w = b.make(e);
  bool caption_inside = e.kind() == Kind::CheckBox || e.kind() == Kind::OptionButton;
  if (caption_inside && (e.label().empty() || e.text().empty())) {
    // The box carries its own caption: it takes the whole row.
    g->addWidget(w, row, col, 1, 3);
    return w;
  }
  if (!e.label().empty()) g->addWidget(b.label_of(e), row, col);
  if (e.kind() == Kind::TextField) size_for_chars(w, 7);
  g->addWidget(w, row, col + 1);
  if (!e.unit().empty()) g->addWidget(b.unit_of(e), row, col + 2);
  return w;
}

void size_for_chars(QWidget* w, int chars) {
  QFontMetrics fm(w->font());
  int px = fm.horizontalAdvance(QString(chars, QChar('0'))) + 14;
  w->setFixedWidth(px);
}

void mark_fault(QWidget* w) {
  QPalette pal = w->palette();
  pal.setColor(QPalette::WindowText, QColor(0xC6, 0x28, 0x28));
  w->setPalette(pal);
}

void colour_by_kind(Model& m, Element& e, QLabel* w) {
  const QPalette usual = w->palette();
  auto paint = [w, usual, &e] {
    if (texte_de_defaut(e.text()))
      mark_fault(w);
    else
      w->setPalette(usual);
  };
  paint();
  const int id = m.subscribe([paint, &e](Element& changed, Prop p) {
    if (&changed == &e && p == Prop::Text) paint();
  });
  QObject::connect(w, &QObject::destroyed, [&m, id] { m.unsubscribe(id); });
}

void embolden(QWidget* w) {
  QFont f = w->font();
  f.setBold(true);
  w->setFont(f);
}

}  // namespace brivel::gui
