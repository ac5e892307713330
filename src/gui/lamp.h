// A lamp of the console: a small disc filled with a colour of the console
// palette. Without a colour of its own it is drawn as an empty ring.
#pragma once

#include <QWidget>

namespace brivel::gui {

class Lamp : public QWidget {
 public:
  explicit Lamp(QWidget* parent = nullptr);
  void set_color_index(int index);
  int color_index() const { return index_; }
  // The colour painted, invalid when the lamp shows no colour.
  QColor fill() const;
  QSize sizeHint() const override { return {20, 20}; }

 protected:
  void paintEvent(QPaintEvent*) override;

 private:
  int index_;
};

}  // namespace brivel::gui
