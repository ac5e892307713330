#include "gui/clickable_label.h"

#include <QMouseEvent>

namespace brivel::gui {

ClickableLabel::ClickableLabel(QWidget* parent) : QLabel(parent) {
  setCursor(Qt::PointingHandCursor);
  QFont f = font();
  f.setUnderline(true);
  setFont(f);
  QPalette pal = palette();
  pal.setColor(QPalette::WindowText, pal.color(QPalette::Link));
  setPalette(pal);
}

void ClickableLabel::mouseReleaseEvent(QMouseEvent* ev) {
  if (ev->button() == Qt::LeftButton && rect().contains(ev->position().toPoint()) && on_click) on_click();
  QLabel::mouseReleaseEvent(ev);
}

}  // namespace brivel::gui
