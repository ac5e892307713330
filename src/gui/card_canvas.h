// The card painted on screen: the tracks across, the steps down, the holes
// of the piece; during a run the confirmed holes, the next one, the head and
// the card's position. Only what lies in view is painted: the holes of the
// visible steps are found by binary search, so that a piece at the row limit
// costs what a screenful costs.
#pragma once

#include <QAbstractScrollArea>
#include <optional>

#include "card/live_run.h"

class QPainter;

namespace brivel::gui {

struct CardView {
  double px_per_mm = 4;  // zoom
  double top_mm = 0;     // the card's Y at the top of the view
  int header_px = 18;    // the band of note names
  // Listening: where the reading bar stands on the card, mm.
  std::optional<double> reading_mm;
};

// Paints the stretch of card that fits in `size` from view.top_mm down. With
// `live` null, the card as it will be punched.
void paint_card(QPainter& p, QSize size, const CardLayout& l, const LiveRun* live, const CardView& view);

class CardCanvas : public QAbstractScrollArea {
 public:
  explicit CardCanvas(LiveRun& live, QWidget* parent = nullptr);

  // Millimetres of card per pixel step of the zoom, 1 to 40 px a mm.
  void set_zoom(double px_per_mm);
  double zoom() const { return view_.px_per_mm; }
  // Brings the card's Y `mm` into view, a third from the top.
  void follow(double mm);
  // Back to the card's start: another piece is shown.
  void to_start() { follow_top(0); }
  // The reading bar of the card played, followed by the view; none to take
  // it away.
  void set_reading(std::optional<double> mm);
  const CardView& view() const { return view_; }
  // Lays out again from the console and repaints.
  void refresh();

 protected:
  void paintEvent(QPaintEvent*) override;
  void resizeEvent(QResizeEvent*) override;
  void wheelEvent(QWheelEvent* ev) override;
  void scrollContentsBy(int, int) override;

 private:
  void update_scrollbars();
  void follow_top(double mm);

  LiveRun& live_;
  CardView view_;
};

}  // namespace brivel::gui
