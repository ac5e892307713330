// A call made at a later turn of the Qt event loop, once however many times
// it was asked for in between: how the serial ports raise their next receive
// event after a handler left bytes behind.
#pragma once

#include <QMetaObject>
#include <QObject>

#include <functional>

namespace brivel {

class QueuedCall {
 public:
  explicit QueuedCall(std::function<void()> fn) : fn_(std::move(fn)) {}

  void ask() {
    if (queued_) return;
    queued_ = true;
    QMetaObject::invokeMethod(
        &context_,
        [this] {
          queued_ = false;
          fn_();
        },
        Qt::QueuedConnection);
  }

 private:
  QObject context_;  // a call still queued dies with it
  std::function<void()> fn_;
  bool queued_ = false;
};

}  // namespace brivel
