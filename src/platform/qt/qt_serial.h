// The serial port on QSerialPort, with the receive-event behaviour of the
// older serial controls (see ReceiveBuffer). The receive handler runs only
// while the Qt event loop processes events, that is inside a turn. A write
// reaches the device at once, whole; a device that has gone fails the write
// and leaves the port closed.
#pragma once

#include <QObject>
#include <QSerialPort>
#include <functional>
#include <string>

#include "platform/platform.h"
#include "platform/qt/queued_call.h"
#include "platform/receive_buffer.h"

namespace brivel {

// Why a port could not be opened, in French, with what to do about it:
// checked on the device itself, since the serial library gives one error
// for a refused access and for a port held by another program.
std::string open_failure_reason(const std::string& path, QSerialPort::SerialPortError e);
// The serial library's name of an error, for the rare ones.
std::string port_error_text(QSerialPort::SerialPortError e);

class QtSerialPort : public SerialPort {
 public:
  QtSerialPort();
  ~QtSerialPort() override;

  void set_ports_folder(const std::string& folder) { ports_folder_ = folder; }

  bool set_port_number(int n) override;
  int port_number() const override { return number_; }
  bool open() override;
  void close() override;
  bool is_open() const override { return port_.isOpen(); }
  void set_settings(std::string_view settings) override;
  void set_dtr(bool on) override;
  void set_rts(bool on) override;
  void set_rthreshold(int n) override;
  void set_input_len(int n) override { buffer_.set_input_len(n); }
  bool write(std::string_view bytes) override;
  std::string input() override;
  int in_buffer_count() const override { return buffer_.count(); }
  void set_on_comm(std::function<void(int)> handler) override { on_comm_ = std::move(handler); }
  std::string last_error() const override { return error_; }
  // Called inside a turn when the open port is lost (the device or the
  // other end of the line has gone); the port is closed by then.
  void set_on_lost(std::function<void()> f) { on_lost_ = std::move(f); }
  std::string device_path(int n) const override;

 private:
  void on_ready_read();
  void dispatch();
  std::string port_label() const;  // "Port 7 (/dev/ttyACM0)"

  QObject context_;  // owner of the queued dispatches
  QSerialPort port_;
  ReceiveBuffer buffer_;
  std::function<void(int)> on_comm_;
  std::string ports_folder_;
  int number_ = 1;
  QueuedCall dispatch_later_{[this] { dispatch(); }};  // the next receive event
  unsigned opening_ = 0;  // counts the openings, to tell a stale loss report
  bool loss_queued_ = false;
  std::string error_;
  // The port as it was opened: a lost link is named by the path the
  // operator chose, not by what the number would open once the link is gone.
  std::string opened_label_;
  std::function<void()> on_lost_;
};

}  // namespace brivel
