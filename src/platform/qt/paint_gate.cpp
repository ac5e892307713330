#include "platform/qt/paint_gate.h"

#include <QCoreApplication>
#include <QEvent>
#include <algorithm>

namespace brivel {

PaintGate::PaintGate() {
  timer_.setSingleShot(true);
  QObject::connect(&timer_, &QTimer::timeout, this, [this] { release(); });
  if (auto* app = QCoreApplication::instance()) app->installEventFilter(this);
}

PaintGate::~PaintGate() {
  if (auto* app = QCoreApplication::instance()) app->removeEventFilter(this);
}

void PaintGate::release() {
  holding_ = false;
  timer_.stop();
  // Taken first: painting may run handlers that hold again.
  const auto held = std::move(held_);
  held_.clear();
  for (const auto& w : held) {
    if (!w) continue;
    QEvent paint(QEvent::UpdateRequest);
    QCoreApplication::sendEvent(w, &paint);
  }
}

bool PaintGate::eventFilter(QObject* o, QEvent* e) {
  if (!holding_ || e->type() != QEvent::UpdateRequest || !o->isWidgetType()) return false;
  if (held_.empty()) {
    since_.start();
    timer_.start(kMaxHoldMs);
  } else if (since_.elapsed() >= kMaxHoldMs) {
    return false;
  }
  if (std::find(held_.begin(), held_.end(), o) == held_.end()) held_.emplace_back(o);
  return true;
}

}  // namespace brivel
