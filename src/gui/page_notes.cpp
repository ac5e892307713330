#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include "gui/geometry_rules.h"
#include "gui/layout_helpers.h"
#include "gui/page_areas.h"

namespace brivel::gui {

namespace {

// The note table: five rows of three lines (note, X position, button).
// The captions of the three lines stand in the two free columns at the
// start of the first row.
QGroupBox* table_des_notes(Binder& b) {
  Model& m = b.model();
  QGroupBox* box = b.frame(m.Frame2);
  auto* g = new QGridLayout(box);
  g->setHorizontalSpacing(4);
  g->setVerticalSpacing(2);
  for (int line = 0; line < 3; ++line) {
    Element& first = line == 0 ? m.Note(1) : line == 1 ? m.Position(1) : m.perfo(1);
    auto* caption = new QLabel(QString::fromStdString(first.label()));
    g->addWidget(caption, line, 0, 1, kNoteFirstColumn, Qt::AlignRight | Qt::AlignVCenter);
  }
  for (int k = 1; k <= Model::kNotes; ++k) {
    NoteCell cell = note_cell(k);
    int top = cell.row * 4;  // three lines and a gap between rows
    QWidget* note = b.make(m.Note(k));
    QWidget* pos = b.make(m.Position(k));
    QWidget* go = b.make(m.perfo(k));
    size_for_chars(note, 3);
    size_for_chars(pos, 4);
    static_cast<QLineEdit*>(note)->setAlignment(Qt::AlignCenter);
    static_cast<QLineEdit*>(pos)->setAlignment(Qt::AlignCenter);
    int w = pos->width();
    note->setFixedWidth(w);
    go->setFixedSize(w, note->sizeHint().height() - 4);
    go->setToolTip(QStringLiteral("Déplacer la tête sur la note %1").arg(k));
    g->addWidget(note, top, cell.column);
    g->addWidget(pos, top + 1, cell.column);
    g->addWidget(go, top + 2, cell.column);
    if (cell.row < 4) g->setRowMinimumHeight(top + 3, 8);
  }
  return box;
}

QGroupBox* calcul_x(Binder& b) {
  Model& m = b.model();
  QGroupBox* box = b.frame(m.Calcul_X);
  auto* g = new QGridLayout(box);
  int r = 0;
  for (Element* e : {&m.NBTouches, &m.Text12, &m.Text13}) field_row(b, g, r++, *e);
  g->addWidget(b.make(m.Check6), r++, 0, 1, 3);
  auto* h = new QHBoxLayout;
  h->addWidget(b.make(m.Valcalc));
  h->addWidget(b.make(m.Calculer_pas_X));
  h->addStretch(1);
  g->addLayout(h, r++, 0, 1, 3);
  g->setColumnStretch(2, 1);
  return box;
}

QGroupBox* divers(Binder& b) {
  Model& m = b.model();
  QGroupBox* box = b.frame(m.Frame9);
  auto* g = new QGridLayout(box);
  int r = 0;
  field_row(b, g, r++, m.Check3);  // "Affichage notes :" and the mode as the box's caption
  g->addWidget(b.make(m.Check4), r++, 0, 1, 2);
  field_row(b, g, r++, m.Text16);
  g->addWidget(b.make(m.Check5), r++, 0, 1, 2);
  g->setColumnStretch(2, 1);
  return box;
}

}  // namespace

Area build_notes_area(Binder& b) {
  Model& m = b.model();
  auto* area = new QWidget;
  auto* v = new QVBoxLayout(area);
  v->setContentsMargins(0, 0, 0, 0);
  v->addWidget(table_des_notes(b));

  auto* below = new QHBoxLayout;
  below->addWidget(calcul_x(b));
  below->addWidget(divers(b));
  auto* hand = new QVBoxLayout;
  hand->addStretch(1);
  hand->addWidget(b.make(m.Perfoman));
  hand->addWidget(b.make(m.Origine_N));
  below->addLayout(hand);
  below->addStretch(1);
  v->addLayout(below);
  return {area, {&m.Frame2, &m.Calcul_X, &m.Frame9, &m.Perfoman, &m.Origine_N}};
}

}  // namespace brivel::gui
