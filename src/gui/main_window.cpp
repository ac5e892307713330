#include "gui/main_window.h"

#include <QFileSystemWatcher>

#include "console/file_list.h"

#include <QApplication>
#include <QCloseEvent>
#include <QLayout>
#include <QMenuBar>
#include <QTimer>
#include <QVBoxLayout>
#include <algorithm>

#include "console/pages.h"
#include "gui/card_window.h"
#include "gui/geometry_rules.h"
#include "gui/hot_key.h"
#include "gui/menus.h"
#include "gui/rehearsal_banner.h"
#include "gui/side_windows.h"
#include "gui/upload_window.h"

namespace brivel::gui {

MainWindow::MainWindow(Context& c, std::function<void()> on_close)
    : c_(c), on_close_(std::move(on_close)), binder_(std::make_unique<Binder>(c.m)) {
  Model& m = c_.m;
  setObjectName(QStringLiteral("Brivel"));
  setWindowTitle(QString::fromStdString(m.Brivel.text()));

  build_menus(*binder_, menuBar());

  auto* central = new QWidget;
  auto* v = new QVBoxLayout(central);
  areas_.push_back(build_perforation_area(*binder_));
  areas_.push_back(build_moteurs_area(*binder_));
  areas_.push_back(build_notes_area(*binder_));
  for (Area& a : areas_) v->addWidget(a.widget);
  v->addStretch(1);
  setCentralWidget(central);

  about_ = build_about_box(*binder_, this);
  eeprom_ = build_eeprom_box(*binder_, this);
  upload_ = build_upload_window(*binder_, this);
  card_ = install_card_window(c_, *binder_, menuBar(), this);
  watch_rehearsal(c_, *binder_, this);
  // Parameter files saved or copied into the folder by any road show in the
  // list at once.
  auto* folder = new QFileSystemWatcher(this);
  if (!c_.s.dossier_appli.empty()) folder->addPath(QString::fromStdString(c_.s.dossier_appli));
  // A burst of changes (a run writes its context a few times a second) is
  // read once.
  auto* settle = new QTimer(this);
  settle->setSingleShot(true);
  settle->setInterval(200);
  connect(settle, &QTimer::timeout, this, [this] { refresh_File1(c_); });
  connect(folder, &QFileSystemWatcher::directoryChanged, settle, [settle] {
    if (!settle->isActive()) settle->start();
  });

  binder_->bind(m.Brivel, this, [this](Prop p) {
    Model& mm = c_.m;
    if (p == Prop::Text) setWindowTitle(QString::fromStdString(mm.Brivel.text()));
    if (p == Prop::Visible) setVisible(mm.Brivel.visible());
  });
  binder_->on_layout_changed = [this] { schedule_relayout(); };
  // The window's minimum is set by relayout() for the page in view; left to
  // the layout it would keep the joint minimum of pages seen in passing.
  layout()->setSizeConstraint(QLayout::SetNoConstraint);

  hot_key_ = new HotKeyFilter(this, [this] { open_eeprom_box(); });
  qApp->installEventFilter(hot_key_);

  relayout();
}

MainWindow::~MainWindow() {
  qApp->removeEventFilter(hot_key_);
  // The binder goes first: no change of the model may reach a widget that
  // is being destroyed.
  binder_.reset();
}

QSize MainWindow::wished_size() const {
  const Element& b = c_.m.Brivel;
  return {twips_to_px(b.width(), logicalDpiX()), twips_to_px(b.height(), logicalDpiY())};
}

void MainWindow::schedule_relayout() {
  if (relayout_pending_) return;
  relayout_pending_ = true;
  QTimer::singleShot(0, this, [this] { relayout(); });
}

void MainWindow::relayout() {
  relayout_pending_ = false;
  // Hide before showing: a layout that saw two pages at once would keep
  // their joint size as the window's minimum.
  std::vector<QWidget*> show;
  for (Area& a : areas_) {
    bool any = std::any_of(a.frames.begin(), a.frames.end(), [this](Element* e) { return binder_->in_view(*e); });
    if (any)
      show.push_back(a.widget);
    else
      a.widget->hide();
  }
  for (QWidget* a : show) a->show();
  // Let every layout below take in the frames just shown or hidden before
  // the window's own size is asked.
  QCoreApplication::sendPostedEvents(nullptr, QEvent::LayoutRequest);
  centralWidget()->layout()->invalidate();
  layout()->invalidate();
  layout()->activate();
  setMinimumSize(minimumSizeHint());
  resize(wished_size().expandedTo(sizeHint()));
}

void MainWindow::open_eeprom_box() {
  int dx = twips_to_px(400, logicalDpiX());
  int dy = twips_to_px(400, logicalDpiY());
  eeprom_->adjustSize();
  eeprom_->move(frameGeometry().topLeft() + QPoint(dx, dy));
  ouvre_utilitaire_eeprom(c_);
  // Already open: the same box comes back to the front.
  eeprom_->show();
  eeprom_->raise();
  eeprom_->activateWindow();
}

void MainWindow::closeEvent(QCloseEvent* ev) {
  ev->ignore();
  if (on_close_) on_close_();
  // In the real program the quit sequence ends the process and never comes
  // back; if it does, the window goes when the model has hidden it.
  if (!c_.m.Brivel.visible()) ev->accept();
}

}  // namespace brivel::gui
