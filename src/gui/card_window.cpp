#include "gui/card_window.h"

#include "core/numbers.h"
#include "geometry/note_names.h"
#include "import/analyse.h"
#include "import/ouvre_midi.h"

#include <QAction>
#include <QBoxLayout>
#include <QCheckBox>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QSettings>
#include <QShortcut>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QPushButton>
#include <QTimer>

#include "card/card_export.h"
#include "gui/binder.h"
#include "gui/card_canvas.h"
#include "gui/card_listening.h"
#include "persistence/files/text_file.h"
#include "persistence/journal/hole_journal.h"

namespace brivel::gui {

CardWindow::CardWindow(Context& c, QWidget* parent)
    : QWidget(parent, Qt::Window),
      c_(c),
      live_(std::make_unique<LiveRun>(c)) {
  setObjectName(QStringLiteral("Carton"));
  setWindowTitle(QStringLiteral("Carton"));
  canvas_ = new CardCanvas(*live_, this);

  auto* side = new QVBoxLayout;
  state_ = new QLabel(this);
  state_->setObjectName(QStringLiteral("carton_etat"));
  state_->setWordWrap(true);
  side->addWidget(state_);
  auto* zoom = new QHBoxLayout;
  auto* minus = new QPushButton(QStringLiteral("−"), this);
  auto* plus = new QPushButton(QStringLiteral("+"), this);
  minus->setToolTip(QStringLiteral("Réduire (Ctrl + molette)"));
  plus->setToolTip(QStringLiteral("Agrandir (Ctrl + molette)"));
  connect(minus, &QPushButton::clicked, this, [this] { canvas_->set_zoom(canvas_->zoom() * 0.8); });
  connect(plus, &QPushButton::clicked, this, [this] { canvas_->set_zoom(canvas_->zoom() * 1.25); });
  zoom->addWidget(new QLabel(QStringLiteral("Zoom"), this));
  zoom->addWidget(minus);
  zoom->addWidget(plus);
  side->addLayout(zoom);
  margin_ = new QLabel(this);
  margin_->setObjectName(QStringLiteral("carton_marge"));
  margin_->setWordWrap(true);
  margin_->setAlignment(Qt::AlignTop | Qt::AlignLeft);
  side->addWidget(margin_);
  shifts_ = new QHBoxLayout;
  side->addLayout(shifts_);
  // After a restore: the head over the last hole the journal holds, to check
  // it on the card before the run goes on.
  auto* check = new QPushButton(QStringLiteral("Tête sur le dernier trou"), this);
  check->setObjectName(QStringLiteral("carton_dernier_trou"));
  check->setToolTip(QStringLiteral("Amène la tête sur la piste du dernier trou percé, pour le vérifier"));
  connect(check, &QPushButton::clicked, this, [this] { head_to_last_hole(); });
  side->addWidget(check);
  side->addStretch(1);
  auto* listen_title = new QLabel(QStringLiteral("<b>Écoute</b>"), this);
  side->addWidget(listen_title);
  listening_ = new CardListening(c_, *live_, *canvas_, this);
  side->addWidget(listening_);
  // The space bar starts and stops the listening.
  auto* space = new QShortcut(QKeySequence(Qt::Key_Space), this);
  connect(space, &QShortcut::activated, this, [this] { listening_->toggle(); });
  side->addSpacing(8);
  bounds_only_ = new QCheckBox(QStringLiteral("Entre les bornes seulement"), this);
  side->addWidget(bounds_only_);
  auto* svg = new QPushButton(QStringLiteral("Exporter en SVG..."), this);
  auto* pdf = new QPushButton(QStringLiteral("Exporter en PDF..."), this);
  connect(svg, &QPushButton::clicked, this, [this] { ask_export(false); });
  connect(pdf, &QPushButton::clicked, this, [this] { ask_export(true); });
  side->addWidget(svg);
  side->addWidget(pdf);

  auto* row = new QHBoxLayout(this);
  row->addWidget(canvas_, 1);
  auto* panel = new QWidget(this);
  panel->setLayout(side);
  panel->setFixedWidth(220);
  row->addWidget(panel);
  resize(720, 640);

  live_->on_change = [this] { changed(); };
  piece_events_ = c_.s.evenements.subscribe([this](const RunEvent& e) {
    if (e.kind != RunEvent::Kind::PieceChanged) return;
    canvas_->to_start();
    fill_margin();
  });
  // The remaining time counts down between the steps of a long move.
  tick_ = new QTimer(this);
  tick_->setInterval(500);
  connect(tick_, &QTimer::timeout, this, [this] {
    if (status_) status_->setText(run_text());
    state_->setText(run_text());
  });
  tick_->start();
}

CardWindow::~CardWindow() { c_.s.evenements.unsubscribe(piece_events_); }

void CardWindow::set_status_label(QLabel* l) {
  status_ = l;
  status_->setText(run_text());
}

QString CardWindow::run_text() const {
  LiveRun& l = *live_;
  auto duree = [](double ms) { return QString::fromStdString(texte_duree(ms)); };
  if (l.running()) {
    QString t = QStringLiteral("Reste %1").arg(duree(l.remaining_ms().value_or(0)));
    if (auto chain = l.chain_remaining_ms()) t += QStringLiteral(" (chaîne : %1)").arg(duree(*chain));
    if (l.paused()) t += QStringLiteral(" (arrêt)");
    return t;
  }
  if (auto start = l.deferred_start_ms())
    return QStringLiteral("Départ dans %1 - durée estimée %2").arg(duree(*start), duree(l.planned_ms()));
  return QString::fromStdString(l.summary());
}

void CardWindow::showEvent(QShowEvent* ev) {
  QWidget::showEvent(ev);
  fill_margin();
  canvas_->refresh();
}

void CardWindow::fill_margin() {
  const CardLayout& l = live_->layout();
  // What a run over the bounds punches, and the card's length as the
  // service line gives it.
  QString t = QStringLiteral("%1 trous").arg(l.holes.size());
  if (l.run_holes.size() != l.holes.size()) t += QStringLiteral(", %1 entre les bornes").arg(l.run_holes.size());
  t += QStringLiteral(", %1 de carton\n")
           .arg(QString::fromStdString(texte_longueur_carton(l.y_mm(l.last_step) / 1000)));
  if (l.outside.empty()) {
    t += QStringLiteral("\nToutes les notes sont dans la gamme.\n");
  } else {
    int n = 0;
    for (const auto& [note, count] : l.outside) n += count;
    t += QStringLiteral("\nHors gamme : %1 notes\n").arg(n);
    for (const auto& [note, count] : l.outside) {
      const QString name = note >= 0 && note < 128 ? QString::fromStdString(nom_et_octave(
                                                         c_.s.noms_notes[note], note, c_.m.Check3.value() == 1))
                                                   : QString();
      t += QStringLiteral("  %1 %2 : %3\n").arg(note).arg(name).arg(count);
    }
  }
  std::vector<int> scale;
  for (const CardTrack& tr : l.tracks) scale.push_back(tr.note);
  const auto best = best_transpositions(transpositions(piece_notes(c_.m.List3.rows()), scale), 3);
  t += QStringLiteral("\nMeilleures transpositions :\n");
  for (const Transposition& b : best)
    t += QStringLiteral("  %1%2 demi-tons : %3 hors gamme\n").arg(b.shift > 0 ? "+" : "").arg(b.shift).arg(b.outside);
  const int now = static_cast<int>(val(c_.m.transposition.text()));
  if (now != 0) t += QStringLiteral("\nLu transposé de %1%2 demi-tons\n").arg(now > 0 ? "+" : "").arg(now);
  margin_->setText(t);
  // One click applies a proposed shift: the piece is read again with it.
  while (QLayoutItem* item = shifts_->takeAt(0)) {
    delete item->widget();
    delete item;
  }
  const bool can_read = !c_.s.run_on_stack && !c_.s.chemin_midi.empty() && c_.m.List3.count() > 0;
  for (const Transposition& b : best) {
    if (b.shift == 0 || !can_read || l.outside.empty()) continue;
    auto* button = new QPushButton(QStringLiteral("%1%2").arg(b.shift > 0 ? "+" : "").arg(b.shift), this);
    button->setObjectName(QStringLiteral("transposer_%1").arg(b.shift));
    button->setToolTip(QStringLiteral("Relire le morceau transposé de %1 demi-tons").arg(b.shift));
    const int shift = b.shift;
    connect(button, &QPushButton::clicked, this, [this, shift] { transpose(shift); });
    shifts_->addWidget(button);
  }
}

void CardWindow::changed() {
  const QString text = run_text();
  state_->setText(text);
  if (status_) status_->setText(text);
  if (!isVisible()) return;
  if (live_->running()) canvas_->follow(live_->layout().y_mm(live_->card_step()));
  if (!live_->running()) fill_margin();
  canvas_->refresh();
}

bool CardWindow::head_to_last_hole() {
  const auto holes = holes_of_last_run(read_journal(c_.p.storage(), journal_path(c_.s)), c_.s.nom_midi_court);
  if (holes.empty() || holes.back().track < 1) {
    state_->setText(QStringLiteral("Aucun trou dans le journal pour ce morceau"));
    return false;
  }
  // The note page's own button for that track: the same rules as a click.
  const bool moved = c_.m.perfo(holes.back().track).operator_click();
  state_->setText(moved ? QStringLiteral("Tête sur la piste %1, pas %2").arg(holes.back().track).arg(holes.back().step)
                        : QStringLiteral("Commande refusée : la machine est occupée"));
  return moved;
}

bool CardWindow::export_to(const QString& path, bool bounds_only) const {
  const CardLayout& l = live_->layout();
  const CardRange r = bounds_only ? run_bounds(l) : whole_card(l);
  const bool pdf = path.endsWith(QStringLiteral(".pdf"), Qt::CaseInsensitive);
  return static_cast<bool>(ecrit_fichier_atomique(c_.p.storage(), path.toStdString(), pdf ? card_pdf(l, r) : card_svg(l, r)));
}

void CardWindow::transpose(int shift) {
  if (c_.s.run_on_stack) return;
  c_.m.transposition.set_text(std::to_string(static_cast<int>(val(c_.m.transposition.text())) + shift));
  relit_morceau(c_);
}

void CardWindow::ask_export(bool pdf) {
  const QString filter = pdf ? QStringLiteral("PDF (*.pdf)") : QStringLiteral("SVG (*.svg)");
  // A name made from the piece, in the folder of the last export.
  QSettings settings(QStringLiteral("Brivel"), QStringLiteral("brivel"));
  const QString folder = settings.value(QStringLiteral("dossiers/export"), QDir::homePath()).toString();
  const QString piece = QString::fromStdString(c_.s.nom_midi_court.empty() ? "carton" : c_.s.nom_midi_court);
  const QString proposed = QDir(folder).absoluteFilePath(piece + (pdf ? QStringLiteral(".pdf") : QStringLiteral(".svg")));
  QString path = QFileDialog::getSaveFileName(this, QStringLiteral("Exporter le carton"), proposed, filter);
  if (path.isEmpty()) return;
  settings.setValue(QStringLiteral("dossiers/export"), QFileInfo(path).absolutePath());
  const QString ext = pdf ? QStringLiteral(".pdf") : QStringLiteral(".svg");
  if (!path.endsWith(ext, Qt::CaseInsensitive)) path += ext;
  state_->setText(export_to(path, bounds_only_->isChecked()) ? QStringLiteral("Carton exporté : %1").arg(path)
                                                             : QStringLiteral("Écriture impossible : %1").arg(path));
}

CardWindow* install_card_window(Context& c, Binder& b, QMenuBar* bar, QWidget* parent) {
  auto* w = new CardWindow(c, parent);
  for (QAction* a : bar->actions()) {
    if (a->objectName() != QLatin1String("fenetre") || !a->menu()) continue;
    QMenu* menu = a->menu();
    menu->addSeparator();
    QAction* open = menu->addAction(QStringLiteral("Carton"));
    open->setObjectName(QStringLiteral("fenetre_carton"));
    open->setShortcut(QKeySequence(Qt::Key_F4));
    QObject::connect(open, &QAction::triggered, w, [w] {
      w->show();
      w->raise();
      w->activateWindow();
    });
  }
  // The remaining time stands right of the progress bar.
  if (QWidget* gauge = b.widget(c.m.gauge1)) {
    auto* box = qobject_cast<QBoxLayout*>(gauge->parentWidget() ? gauge->parentWidget()->layout() : nullptr);
    const int at = box ? box->indexOf(gauge) : -1;
    if (at >= 0) {
      auto* row = new QHBoxLayout;
      box->insertLayout(at, row);
      box->removeWidget(gauge);
      row->addWidget(gauge, 1);
      auto* label = new QLabel;
      label->setObjectName(QStringLiteral("reste_perforation"));
      label->setToolTip(QStringLiteral("Temps restant de la perforation"));
      row->addWidget(label);
      w->set_status_label(label);
    }
  }
  return w;
}

}  // namespace brivel::gui
