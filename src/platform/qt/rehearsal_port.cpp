#include "platform/qt/rehearsal_port.h"

#include <QTimer>

namespace brivel {

namespace {

BoardOptions realistic() {
  BoardOptions o;
  o.instant = false;
  return o;
}

}  // namespace

RehearsalPort::RehearsalPort() : board_(std::make_unique<BoardModel>(realistic())) { clock_.start(); }

RehearsalPort::~RehearsalPort() = default;

bool RehearsalPort::open() {
  if (open_) return false;
  open_ = true;
  ++opening_;
  buffer_.clear();
  return true;
}

void RehearsalPort::close() {
  open_ = false;
  buffer_.clear();
}

void RehearsalPort::set_dtr(bool on) {
  dtr_ = on;
  modem_lines();
}

void RehearsalPort::set_rts(bool on) {
  rts_ = on;
  modem_lines();
}

// The board restarts when the lines are raised, as an Arduino does.
void RehearsalPort::modem_lines() {
  const bool raised = dtr_ || rts_;
  if (raised && !raised_ && open_) board_->reset(now());
  raised_ = raised;
}

void RehearsalPort::set_rthreshold(int n) {
  buffer_.set_threshold(n);
  next_dispatch_.ask();
}

std::string RehearsalPort::input() {
  std::string s = buffer_.take();
  if (buffer_.count() > 0) next_dispatch_.ask();
  return s;
}

bool RehearsalPort::write(std::string_view bytes) {
  if (!open_) return false;
  const int64_t t = now();
  for (BoardOutput& out : board_->receive(bytes, t)) {
    const unsigned opening = opening_;
    QTimer::singleShot(static_cast<int>(std::max<int64_t>(0, out.at_ms - t)), &context_,
                       [this, opening, bytes = std::move(out.bytes)] {
                         // A reply to a port since closed goes nowhere.
                         if (!open_ || opening != opening_) return;
                         buffer_.append(bytes);
                         dispatch();
                       });
  }
  return true;
}

// One receive event at a time, as the real line gives them: bytes left
// behind by a handler raise the next one at a later turn.
void RehearsalPort::dispatch() {
  if (open_ && on_comm_ && buffer_.event_due()) on_comm_(kEvReceive);
}


bool PortChoice::set_port_number(int n) {
  if (on_->is_open()) return false;
  if (n == kPortRepetition) {
    on_ = &rehearsal_;
    return true;
  }
  on_ = &real_;
  return real_.set_port_number(n);
}

void PortChoice::set_on_comm(std::function<void(int)> handler) {
  real_.set_on_comm(handler);
  rehearsal_.set_on_comm(std::move(handler));
}

}  // namespace brivel
