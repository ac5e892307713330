#include "platform/qt/qt_serial.h"

#include <sys/ioctl.h>
#include <termios.h>

#include <QMetaObject>

#include "platform/qt/port_table.h"

namespace brivel {

QtSerialPort::QtSerialPort() {
  QObject::connect(&port_, &QSerialPort::readyRead, &context_, [this] { on_ready_read(); });
  QObject::connect(&port_, &QSerialPort::errorOccurred, &context_, [this](QSerialPort::SerialPortError e) {
    // A device pulled out from under us: the port is gone, and the waits see
    // it closed.
    if (e == QSerialPort::ResourceError && port_.isOpen()) port_.close();
  });
}

QtSerialPort::~QtSerialPort() {
  if (port_.isOpen()) port_.close();
}

bool QtSerialPort::set_port_number(int n) {
  if (port_.isOpen() || port_device_path(n, ports_folder_).empty()) return false;
  number_ = n;
  return true;
}

bool QtSerialPort::open() {
  if (port_.isOpen()) return false;
  std::string path = port_device_path(number_, ports_folder_);
  if (path.empty()) return false;
  port_.setPortName(QString::fromStdString(path));
  port_.setBaudRate(57600);
  port_.setDataBits(QSerialPort::Data8);
  port_.setParity(QSerialPort::NoParity);
  port_.setStopBits(QSerialPort::OneStop);
  port_.setFlowControl(QSerialPort::NoFlowControl);
  if (!port_.open(QIODevice::ReadWrite)) return false;
  // The serial library claims the line for itself (TIOCEXCL); on a
  // pseudo-terminal that claim outlives a killed program and would keep a
  // restarted one out, so we don't rely on it.
  ioctl(port_.handle(), TIOCNXCL);
  buffer_.clear();
  return true;
}

void QtSerialPort::close() {
  if (port_.isOpen()) port_.close();
  buffer_.clear();
}

void QtSerialPort::set_settings(std::string_view settings) {
  // "57600,n,8,1": baud, parity, data bits, stop bits.
  std::string s(settings);
  int baud = 57600;
  char parity = 'n';
  int bits = 8, stop = 1;
  std::sscanf(s.c_str(), "%d,%c,%d,%d", &baud, &parity, &bits, &stop);
  port_.setBaudRate(baud);
  port_.setParity(parity == 'e' || parity == 'E' ? QSerialPort::EvenParity
                  : parity == 'o' || parity == 'O' ? QSerialPort::OddParity
                                                   : QSerialPort::NoParity);
  port_.setDataBits(bits == 7 ? QSerialPort::Data7 : QSerialPort::Data8);
  port_.setStopBits(stop == 2 ? QSerialPort::TwoStop : QSerialPort::OneStop);
}

// A pseudo-terminal has no modem lines: setting them fails there (ENOTTY),
// which is no failed connection.
void QtSerialPort::set_dtr(bool on) {
  if (port_.isOpen()) port_.setDataTerminalReady(on);
}

void QtSerialPort::set_rts(bool on) {
  if (port_.isOpen()) port_.setRequestToSend(on);
}

void QtSerialPort::set_rthreshold(int n) {
  buffer_.set_threshold(n);
  schedule_dispatch();
}

bool QtSerialPort::write(std::string_view bytes) {
  if (!port_.isOpen()) return false;
  qint64 n = port_.write(bytes.data(), static_cast<qint64>(bytes.size()));
  return n == static_cast<qint64>(bytes.size());
}

std::string QtSerialPort::input() {
  std::string s = buffer_.take();
  if (buffer_.count() > 0) schedule_dispatch();
  return s;
}

void QtSerialPort::on_ready_read() {
  QByteArray data = port_.readAll();
  buffer_.append(std::string_view(data.constData(), static_cast<std::size_t>(data.size())));
  dispatch();
}

void QtSerialPort::dispatch() {
  if (port_.isOpen() && buffer_.event_due() && on_comm_) on_comm_(kEvReceive);
}

void QtSerialPort::schedule_dispatch() {
  if (dispatch_queued_) return;
  dispatch_queued_ = true;
  QMetaObject::invokeMethod(
      &context_,
      [this] {
        dispatch_queued_ = false;
        dispatch();
      },
      Qt::QueuedConnection);
}

}  // namespace brivel
