// A label that answers a click, drawn as a link: the port label of the motor
// page and the addresses of the About box.
#pragma once

#include <QLabel>

#include <functional>

namespace brivel::gui {

class ClickableLabel : public QLabel {
 public:
  explicit ClickableLabel(QWidget* parent = nullptr);
  std::function<void()> on_click;

 protected:
  void mouseReleaseEvent(QMouseEvent* ev) override;
};

}  // namespace brivel::gui
