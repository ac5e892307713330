// When the window is painted. Between a reply of the board and the next
// frame the console should only decide and send; painting a frame of the
// window there (a lamp, the group box around it, the progress bar) would
// lengthen the run by as much, hole after hole; painting while a reply is
// awaited delays its reading as much. The gate holds the window's update
// requests once the console has taken a turn, and lets them through in the
// waits the machine imposes anyway (attente_ms), or after kMaxHoldMs.
#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QPointer>
#include <QTimer>
#include <vector>

namespace brivel {

class PaintGate : public QObject {
 public:
  // Nothing is held longer than this: a handler that computes without
  // waiting, or the idle program, still shows what changed.
  static constexpr int kMaxHoldMs = 20;

  PaintGate();
  ~PaintGate() override;

  // The console's code runs from here on: update requests are held.
  void hold() { holding_ = true; }
  // What was held is painted now, and requests pass until the next hold().
  void release();

 protected:
  bool eventFilter(QObject* o, QEvent* e) override;

 private:
  bool holding_ = false;
  std::vector<QPointer<QObject>> held_;
  QElapsedTimer since_;
  QTimer timer_;
};

}  // namespace brivel
