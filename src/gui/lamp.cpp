#include "gui/lamp.h"

#include <QPainter>

#include "console/elements.h"
#include "gui/palette16.h"

namespace brivel::gui {

Lamp::Lamp(QWidget* parent) : QWidget(parent), index_(palette::kNone) {
  setFixedSize(sizeHint());
}

void Lamp::set_color_index(int index) {
  if (index == index_) return;
  index_ = index;
  update();
}

QColor Lamp::fill() const { return console_color(index_, palette()); }

void Lamp::paintEvent(QPaintEvent*) {
  QPainter p(this);
  p.setRenderHint(QPainter::Antialiasing);
  QRectF r = QRectF(rect()).adjusted(2.5, 2.5, -2.5, -2.5);
  QColor c = fill();
  QColor ring = palette().color(isEnabled() ? QPalette::Active : QPalette::Disabled, QPalette::WindowText);
  ring.setAlpha(140);
  p.setPen(QPen(ring, 1.2));
  p.setBrush(c.isValid() ? QBrush(c) : Qt::NoBrush);
  p.drawEllipse(r);
}

}  // namespace brivel::gui
