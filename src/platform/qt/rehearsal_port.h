// The rehearsal machine: the board model behind a serial port of its own, in
// the real program, with the durations the board was sent (steps of "PX" and
// "PY" microseconds, punch cycles of "IZ" + "MZ" ms) in real time. An operator
// rehearses a piece, the calibrations and the manual commands with no
// machine plugged in. It answers on port number kPortRepetition, which no
// scan reaches and no device table holds.
#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <memory>

#include "board/board_model.h"
#include "platform/platform.h"
#include "platform/qt/queued_call.h"
#include "platform/receive_buffer.h"

namespace brivel {

inline constexpr int kPortRepetition = 99;

class RehearsalPort : public SerialPort {
 public:
  RehearsalPort();
  ~RehearsalPort() override;

  bool set_port_number(int n) override { return n == kPortRepetition && !open_; }
  int port_number() const override { return kPortRepetition; }
  bool open() override;
  void close() override;
  bool is_open() const override { return open_; }
  void set_settings(std::string_view) override {}
  void set_dtr(bool on) override;
  void set_rts(bool on) override;
  void set_rthreshold(int n) override;
  void set_input_len(int n) override { buffer_.set_input_len(n); }
  bool write(std::string_view bytes) override;
  std::string input() override;
  int in_buffer_count() const override { return buffer_.count(); }
  void set_on_comm(std::function<void(int)> handler) override { on_comm_ = std::move(handler); }
  std::string device_path(int) const override { return {}; }

 private:
  void modem_lines();
  void dispatch();
  int64_t now() const { return clock_.elapsed(); }

  QObject context_;  // owner of the replies still on their way
  QElapsedTimer clock_;
  std::unique_ptr<BoardModel> board_;
  ReceiveBuffer buffer_;
  std::function<void(int)> on_comm_;
  bool open_ = false, dtr_ = false, rts_ = false, raised_ = false;
  unsigned opening_ = 0;
  QueuedCall next_dispatch_{[this] { dispatch(); }};
};

// The platform's one serial port: the rehearsal machine on its number, the
// real line on any other.
class PortChoice : public SerialPort {
 public:
  PortChoice(SerialPort& real, SerialPort& rehearsal) : real_(real), rehearsal_(rehearsal) {}

  bool set_port_number(int n) override;
  int port_number() const override { return on_->port_number(); }
  bool open() override { return on_->open(); }
  void close() override { on_->close(); }
  bool is_open() const override { return on_->is_open(); }
  void set_settings(std::string_view s) override { on_->set_settings(s); }
  void set_dtr(bool on) override { on_->set_dtr(on); }
  void set_rts(bool on) override { on_->set_rts(on); }
  void set_rthreshold(int n) override { on_->set_rthreshold(n); }
  void set_input_len(int n) override { on_->set_input_len(n); }
  bool write(std::string_view bytes) override { return on_->write(bytes); }
  std::string input() override { return on_->input(); }
  int in_buffer_count() const override { return on_->in_buffer_count(); }
  void set_on_comm(std::function<void(int)> handler) override;
  std::string last_error() const override { return on_->last_error(); }
  std::string device_path(int n) const override { return real_.device_path(n); }

 private:
  SerialPort& real_;
  SerialPort& rehearsal_;
  SerialPort* on_ = &real_;
};

}  // namespace brivel
