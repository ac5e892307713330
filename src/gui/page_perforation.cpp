#include <QGroupBox>
#include <QLabel>
#include <QListWidget>
#include <QVBoxLayout>

#include "gui/layout_helpers.h"
#include "gui/page_areas.h"

namespace brivel::gui {

namespace {

// Start and end of the stretch to punch: De [mn] mn [s] s   à [mn] mn [s] s
QHBoxLayout* bounds_row(Binder& b) {
  Model& m = b.model();
  auto* row = new QHBoxLayout;
  for (Element* e : {&m.Deb_perf_mn, &m.Deb_perf_sec, &m.Fin_perf_mn, &m.Fin_perf_sec}) {
    if (e == &m.Fin_perf_mn) row->addSpacing(16);
    if (!e->label().empty()) row->addWidget(b.label_of(*e));
    QWidget* w = b.make(*e);
    size_for_chars(w, 4);
    row->addWidget(w);
    row->addWidget(b.unit_of(*e));
  }
  row->addStretch(1);
  return row;
}

QGroupBox* controle(Binder& b) {
  Model& m = b.model();
  QGroupBox* box = b.frame(m.Frame6);
  auto* h = new QHBoxLayout(box);

  auto* files = new QVBoxLayout;
  files->addWidget(b.label_of(m.File1));
  QWidget* list = b.make(m.File1);
  list->setMinimumWidth(150);
  list->setMinimumHeight(120);
  files->addWidget(list, 1);
  h->addLayout(files, 1);

  auto* g = new QGridLayout;
  g->setHorizontalSpacing(10);
  int r = 0;
  g->addWidget(b.label_of(m.Shape2), r, 0);
  g->addWidget(b.make(m.Shape2), r++, 1, Qt::AlignLeft);
  for (Element* e : {&m.affiche_note, &m.compteurXY(2), &m.Long_perforee, &m.Text9, &m.Text10}) {
    g->addWidget(b.label_of(*e), r, 0);
    QWidget* w = b.make(*e);
    if (e->kind() == Kind::TextField) size_for_chars(w, 6);
    g->addWidget(w, r++, 1);
  }
  // Punch command and origin search lamps, each beside its caption.
  for (auto [lamp, caption] : {std::pair{&m.E(7), &m.Label_detecteur(2)}, std::pair{&m.E(5), &m.Label_detecteur(4)}}) {
    g->addWidget(b.make(*caption), r, 0);
    g->addWidget(b.make(*lamp), r++, 1, Qt::AlignLeft);
  }
  g->setRowStretch(r, 1);
  h->addLayout(g);
  return box;
}

}  // namespace

Area build_perforation_area(Binder& b) {
  Model& m = b.model();
  QGroupBox* f3 = b.frame(m.Frame3);
  auto* v = new QVBoxLayout(f3);

  QWidget* file = b.make(m.Label4);
  embolden(file);
  file->setMinimumHeight(file->fontMetrics().height());
  v->addWidget(file);
  v->addLayout(bounds_row(b));

  auto* buttons = new QHBoxLayout;
  for (Element* e : {&m.Command11, &m.Command12, &m.Avance}) buttons->addWidget(b.make(*e));
  buttons->addStretch(1);
  v->addLayout(buttons);
  v->addWidget(b.make(m.gauge1));

  v->addWidget(b.label_of(m.Label_defautP));
  auto* msg = static_cast<QLabel*>(b.make(m.Label_defautP));
  msg->setWordWrap(true);
  msg->setFrameShape(QFrame::StyledPanel);
  msg->setMargin(4);
  msg->setMinimumHeight(2 * msg->fontMetrics().lineSpacing() + 10);
  msg->setAlignment(Qt::AlignLeft | Qt::AlignTop);
  colour_by_kind(m, m.Label_defautP, msg);
  v->addWidget(msg);

  v->addWidget(controle(b), 1);

  // Kept for the logic, never shown: List3, Text7, Text8 and their kin are
  // hidden elements and get no widget.
  return {f3, {&m.Frame3}};
}

}  // namespace brivel::gui
