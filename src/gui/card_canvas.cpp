#include "gui/card_canvas.h"

#include <QFontMetricsF>

#include <QPainter>
#include <QScrollBar>
#include <QWheelEvent>
#include <algorithm>
#include <cmath>

namespace brivel::gui {

namespace {

const QColor kCard(0xf4, 0xec, 0xd8);
const QColor kTrack(0xd8, 0xc8, 0xa8);
const QColor kPlanned(0x50, 0x40, 0x30);
const QColor kPunched(0x20, 0x90, 0x30);
const QColor kNext(0xff, 0x80, 0x00);
const QColor kHand(0x80, 0x20, 0xa0);  // holes punched by hand in a pause

QString track_name(const CardTrack& t) {
  return QString::fromStdString(t.name.empty() ? std::to_string(t.note) : t.name);
}
const QColor kHead(0xd0, 0x20, 0x20);
const QColor kFeed(0x20, 0x40, 0xd0);
const QColor kOutside(0x80, 0x80, 0x80, 70);
const QColor kReading(0x00, 0x90, 0xb0);

}  // namespace

void paint_card(QPainter& p, QSize size, const CardLayout& l, const LiveRun* live, const CardView& v) {
  const double s = v.px_per_mm;
  const double left = 8;
  const int h0 = v.header_px;
  auto X = [&](double mm) { return left + mm * s; };
  auto Y = [&](double mm) { return h0 + (mm - v.top_mm) * s; };
  const double bottom_mm = v.top_mm + (size.height() - h0) / s;

  p.fillRect(QRect(QPoint(0, 0), size), QColor(0x90, 0x90, 0x90));
  p.fillRect(QRectF(X(0), h0, l.width_mm * s, size.height() - h0), kCard);
  // The stretches outside the run's bounds.
  const double start_mm = l.y_mm(l.start_step), end_mm = l.y_mm(l.end_step) + l.punch_mm;
  if (start_mm > v.top_mm) p.fillRect(QRectF(X(0), h0, l.width_mm * s, Y(start_mm) - h0), kOutside);
  if (end_mm < bottom_mm) p.fillRect(QRectF(X(0), Y(end_mm), l.width_mm * s, size.height() - Y(end_mm)), kOutside);
  p.setPen(QPen(kTrack, 0));
  for (const CardTrack& t : l.tracks) p.drawLine(QPointF(X(t.x_mm), h0), QPointF(X(t.x_mm), size.height()));

  const auto [a, b] = l.holes_between(l.step_at(v.top_mm - l.punch_mm), l.step_at(bottom_mm));
  const std::vector<char>* punched = live ? &live->punched() : nullptr;
  p.setPen(Qt::NoPen);
  for (size_t i = a; i < b; ++i) {
    const CardLayout::Rect r = l.rect(l.holes[i]);
    const bool done = punched && i < punched->size() && (*punched)[i];
    const bool in_run = l.holes[i].step >= l.start_step && l.holes[i].step <= l.end_step;
    QColor c = done ? kPunched : kPlanned;
    if (!in_run) c.setAlpha(90);
    p.fillRect(QRectF(X(r.x), Y(r.y), r.w * s, r.h * s), c);
  }
  if (live) {
    if (auto n = live->next_hole(); n && *n < l.holes.size()) {
      const CardLayout::Rect r = l.rect(l.holes[*n]);
      p.setPen(QPen(kNext, 2.5));
      p.setBrush(Qt::NoBrush);
      p.drawRect(QRectF(X(r.x) - 2, Y(r.y) - 2, r.w * s + 4, r.h * s + 4));
    }
    if (live->running() || live->punched_count() > 0) {
      p.setPen(QPen(kHead, 1.5, Qt::DashLine));
      p.drawLine(QPointF(X(live->head_x_mm()), h0), QPointF(X(live->head_x_mm()), size.height()));
      p.setPen(QPen(kFeed, 1.5, Qt::DashLine));
      const double y = Y(l.y_mm(live->card_step()));
      p.drawLine(QPointF(X(0) - 6, y), QPointF(X(l.width_mm) + 6, y));
    }
  }
  if (v.reading_mm) {
    // The bar the organ reads the card at, while the card is heard.
    p.setPen(QPen(kReading, 2));
    const double y = Y(*v.reading_mm);
    p.drawLine(QPointF(X(0) - 10, y), QPointF(X(l.width_mm) + 10, y));
  }
  // The note names stay at the top while the card scrolls.
  p.fillRect(QRect(0, 0, size.width(), h0), QColor(0xf0, 0xf0, 0xf0));
  QFont f = p.font();
  f.setPixelSize(std::clamp(static_cast<int>(s * 2.2), 7, 11));
  p.setFont(f);
  p.setPen(Qt::black);
  // Names too wide for the gap between two tracks take two rows, every
  // other one lower, so that none runs into its neighbour.
  const QFontMetricsF fm(f);
  double widest = 0, gap = 1e9;
  for (size_t i = 0; i < l.tracks.size(); ++i) {
    widest = std::max(widest, fm.horizontalAdvance(track_name(l.tracks[i])));
    if (i > 0) gap = std::min(gap, std::abs(l.tracks[i].x_mm - l.tracks[i - 1].x_mm) * s);
  }
  const bool two_rows = widest + 3 > gap;
  for (size_t i = 0; i < l.tracks.size(); ++i) {
    const CardTrack& t = l.tracks[i];
    const double row_h = two_rows ? h0 / 2.0 : h0;
    const double top = two_rows && i % 2 ? row_h : 0;
    p.drawText(QRectF(X(t.x_mm) - widest, top, 2 * widest, row_h), Qt::AlignCenter, track_name(t));
  }
  if (!live) return;
  // Holes punched by hand in a pause: the operator's, drawn apart.
  p.setPen(QPen(kHand, 1.5));
  p.setBrush(Qt::NoBrush);
  for (const LiveRun::HandHole& hh : live->hand_holes()) {
    const double y = l.y_mm(hh.step);
    if (y + l.punch_mm < v.top_mm || y > bottom_mm) continue;
    p.drawEllipse(QRectF(X(hh.x_mm - l.hole_width_mm / 2), Y(y), l.hole_width_mm * s, l.punch_mm * s));
  }
}

CardCanvas::CardCanvas(LiveRun& live, QWidget* parent) : QAbstractScrollArea(parent), live_(live) {
  setObjectName(QStringLiteral("carton_vue"));
  verticalScrollBar()->setSingleStep(20);
  horizontalScrollBar()->setSingleStep(20);
}

void CardCanvas::set_zoom(double px_per_mm) {
  const double keep = view_.top_mm;
  view_.px_per_mm = std::clamp(px_per_mm, 1.0, 40.0);
  update_scrollbars();
  follow_top(keep);
}

void CardCanvas::follow_top(double mm) {
  verticalScrollBar()->setValue(static_cast<int>(std::lround(mm * view_.px_per_mm)));
  view_.top_mm = verticalScrollBar()->value() / view_.px_per_mm;
  viewport()->update();
}

void CardCanvas::follow(double mm) {
  const double visible_mm = (viewport()->height() - view_.header_px) / view_.px_per_mm;
  const double top = view_.top_mm;
  // Scrolls only when the mark leaves the middle of the view, so the card
  // moves in jumps an eye can follow rather than at every step.
  if (mm < top + visible_mm * 0.1 || mm > top + visible_mm * 0.8) follow_top(std::max(0.0, mm - visible_mm / 3));
}

void CardCanvas::set_reading(std::optional<double> mm) {
  view_.reading_mm = mm;
  if (mm) follow(*mm);
  viewport()->update();
}

void CardCanvas::refresh() {
  update_scrollbars();
  viewport()->update();
}

void CardCanvas::update_scrollbars() {
  const CardLayout& l = live_.layout();
  const int visible = std::max(1, viewport()->height() - view_.header_px);
  verticalScrollBar()->setPageStep(visible);
  verticalScrollBar()->setRange(0, std::max(0, static_cast<int>(l.length_mm * view_.px_per_mm) - visible));
  const int width = static_cast<int>(l.width_mm * view_.px_per_mm) + 16;
  horizontalScrollBar()->setPageStep(viewport()->width());
  horizontalScrollBar()->setRange(0, std::max(0, width - viewport()->width()));
  view_.top_mm = verticalScrollBar()->value() / view_.px_per_mm;
}

void CardCanvas::paintEvent(QPaintEvent*) {
  QPainter p(viewport());
  p.translate(-horizontalScrollBar()->value(), 0);
  paint_card(p, viewport()->size() + QSize(horizontalScrollBar()->value(), 0), live_.layout(), &live_, view_);
}

void CardCanvas::resizeEvent(QResizeEvent* ev) {
  QAbstractScrollArea::resizeEvent(ev);
  update_scrollbars();
}

void CardCanvas::wheelEvent(QWheelEvent* ev) {
  if (ev->modifiers() & Qt::ControlModifier) {
    set_zoom(view_.px_per_mm * (ev->angleDelta().y() > 0 ? 1.25 : 0.8));
    ev->accept();
    return;
  }
  QAbstractScrollArea::wheelEvent(ev);
}

void CardCanvas::scrollContentsBy(int, int) {
  view_.top_mm = verticalScrollBar()->value() / view_.px_per_mm;
  viewport()->update();
}

}  // namespace brivel::gui
