#include <QGroupBox>
#include <QLabel>
#include <QVBoxLayout>

#include "gui/layout_helpers.h"
#include "gui/page_areas.h"

namespace brivel::gui {

namespace {

QGroupBox* form_frame(Binder& b, Element& frame, std::initializer_list<Element*> fields) {
  QGroupBox* box = b.frame(frame);
  auto* g = new QGridLayout(box);
  int r = 0;
  for (Element* e : fields) field_row(b, g, r++, *e);
  g->setColumnStretch(3, 1);
  return box;
}

QGroupBox* interface_machine(Binder& b) {
  Model& m = b.model();
  QGroupBox* box = b.frame(m.Frame5);
  auto* h = new QHBoxLayout(box);
  h->addWidget(b.make(m.Label3));  // a click reopens the port
  QWidget* port = b.make(m.AdressePort);
  size_for_chars(port, 4);
  h->addWidget(port);
  h->addWidget(b.make(m.Shape1));
  h->addStretch(1);
  return box;
}

QGroupBox* ponts(Binder& b) {
  Model& m = b.model();
  QGroupBox* box = b.frame(m.Frame8);
  auto* h = new QHBoxLayout(box);
  QWidget* w = b.make(m.PontY);
  size_for_chars(w, 5);
  h->addWidget(w);
  h->addWidget(b.make(m.Def_ponts));
  h->addStretch(1);
  return box;
}

QGroupBox* trois_axes(Binder& b) {
  Model& m = b.model();
  QGroupBox* box = b.frame(m.axe);
  auto* v = new QVBoxLayout(box);

  auto* g = new QGridLayout;
  g->setHorizontalSpacing(8);
  int r = 0;
  for (Element* e : {&m.nb_PasX, &m.nb_PasY, &m.VitesseX, &m.VitesseY, &m.Text_origineX}) field_row(b, g, r++, *e, 0);
  g->setColumnMinimumWidth(3, 18);
  r = 0;
  for (Element* e : {&m.TempoZ, &m.MaxZ, &m.dcycle_pwm}) field_row(b, g, r++, *e, 4);
  g->addWidget(b.make(m.valid_pwm), r++, 4, 1, 3);
  g->addWidget(b.make(m.Check2), r++, 4, 1, 3);
  g->setColumnStretch(7, 1);
  v->addLayout(g);

  // Position counters of the head and the card.
  auto* counters = new QHBoxLayout;
  for (Element* e : {&m.LabelX, &m.LabelY}) {
    QLabel* name = b.label_of(*e);
    embolden(name);
    counters->addWidget(name);
    auto* value = static_cast<QLabel*>(b.make(*e));
    value->setFrameShape(QFrame::StyledPanel);
    value->setMinimumWidth(value->fontMetrics().horizontalAdvance("-0000000") + 12);
    value->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    counters->addWidget(value);
    counters->addSpacing(12);
  }
  counters->addStretch(1);
  v->addLayout(counters);

  auto* buttons = new QHBoxLayout;
  for (Element* e : {&m.CommandeX_P, &m.CommandeX_M, &m.CommandeY_M, &m.CommandeZ_M, &m.OrigineX_M, &m.RAZ}) {
    QWidget* w = b.make(*e);
    w->setMinimumWidth(w->fontMetrics().horizontalAdvance(w->property("text").toString()) + 24);
    buttons->addWidget(w);
  }
  buttons->addStretch(1);
  v->addLayout(buttons);

  auto* fault = static_cast<QLabel*>(b.make(m.Label_defaut));
  fault->setWordWrap(true);
  embolden(fault);
  colour_by_kind(m, m.Label_defaut, fault);
  v->addWidget(fault);
  return box;
}

QGroupBox* detecteurs(Binder& b) {
  Model& m = b.model();
  QGroupBox* box = b.frame(m.Detecteur);
  auto* v = new QVBoxLayout(box);
  v->addWidget(b.make(m.Check1));
  auto* g = new QGridLayout;
  int r = 0;
  g->addWidget(b.label_of(m.Poin_H), r, 0);
  g->addWidget(b.make(m.Poin_H), r++, 1);
  g->addWidget(b.label_of(m.Poin_B), r, 0);
  g->addWidget(b.make(m.Poin_B), r++, 1);
  g->addWidget(b.make(m.Label_detecteur(0)), r, 0);
  g->addWidget(b.make(m.Det_T(3)), r++, 1);
  g->addWidget(b.make(m.Label_detecteur(1)), r, 0);
  g->addWidget(b.make(m.Det_L(4)), r++, 1);
  g->setColumnStretch(2, 1);
  v->addLayout(g);
  v->addWidget(b.make(m.visu_detecteurs));
  return box;
}

QGroupBox* calibration(Binder& b) {
  Model& m = b.model();
  QGroupBox* box = b.frame(m.Calibration_axes);
  auto* v = new QVBoxLayout(box);
  v->addWidget(b.make(m.Calibration));
  auto* g = new QGridLayout;
  g->addWidget(b.make(m.CalibrerX), 0, 0);
  g->addWidget(b.make(m.CalibrerY), 0, 1);
  g->addWidget(b.make(m.CalibrerZ), 0, 2);
  g->addWidget(b.make(m.Stop_cal), 1, 0, 1, 3);
  v->addLayout(g);
  return box;
}

// The bridge calculator, with the operator's four steps written beside it.
QGroupBox* calcul_ponts(Binder& b) {
  Model& m = b.model();
  QGroupBox* box = b.frame(m.Calc_ponts);
  auto* v = new QVBoxLayout(box);
  auto* top = new QHBoxLayout;
  auto* steps = new QVBoxLayout;
  for (const char* s : {"- Définir mini et maxi", "- Calculer", "- Sélectionner", "- Appliquer"})
    steps->addWidget(new QLabel(QString::fromUtf8(s)));
  steps->addStretch(1);
  top->addLayout(steps);
  auto* bounds = new QGridLayout;
  auto* wanted = new QLabel(QStringLiteral("Pont souhaité"));
  embolden(wanted);
  bounds->addWidget(wanted, 0, 0, 1, 3);
  int r = 1;
  for (Element* e : {&m.Text14, &m.Text15, &m.Text17}) field_row(b, bounds, r++, *e);
  bounds->setRowStretch(r, 1);
  top->addLayout(bounds);
  top->addStretch(1);
  v->addLayout(top);

  v->addWidget(b.label_of(m.Liste_pont));
  QWidget* heading = b.make(m.Label39);
  embolden(heading);
  v->addWidget(heading);
  QWidget* list = b.make(m.Liste_pont);
  list->setFont(QFont(QStringLiteral("Monospace")));
  list->setMinimumHeight(90);
  list->setMaximumHeight(150);
  v->addWidget(list, 1);
  auto* buttons = new QHBoxLayout;
  buttons->addWidget(b.make(m.Calculer_ponts_Y));
  buttons->addWidget(b.make(m.Appliquer_ponts));
  buttons->addStretch(1);
  v->addLayout(buttons);
  return box;
}

}  // namespace

Area build_moteurs_area(Binder& b) {
  Model& m = b.model();
  auto* area = new QWidget;
  auto* g = new QGridLayout(area);
  g->setContentsMargins(0, 0, 0, 0);

  auto* left = new QVBoxLayout;
  left->addWidget(form_frame(b, m.Frame4, {&m.vitesse, &m.Poincon, &m.PasmotY, &m.NbpasY, &m.Dist_cartons}));
  left->addWidget(form_frame(b, m.Frame7, {&m.Text11, &m.Demipas}));
  left->addWidget(ponts(b));
  left->addWidget(interface_machine(b));
  left->addStretch(1);
  g->addLayout(left, 0, 0);

  // The axes on top; below them the detectors and the calibration, or the
  // bridge calculator in their place.
  auto* right = new QVBoxLayout;
  right->addWidget(trois_axes(b));
  auto* below = new QHBoxLayout;
  below->addWidget(detecteurs(b));
  below->addWidget(calibration(b), 1);
  below->addWidget(calcul_ponts(b), 1);
  right->addLayout(below);
  right->addStretch(1);
  g->addLayout(right, 0, 1);
  g->setColumnStretch(1, 1);

  return {area, {&m.Frame4, &m.Frame5, &m.Frame7, &m.Frame8, &m.axe, &m.Detecteur, &m.Calibration_axes, &m.Calc_ponts}};
}

}  // namespace brivel::gui
