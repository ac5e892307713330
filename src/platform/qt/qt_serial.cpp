#include "platform/qt/qt_serial.h"

#include <sys/ioctl.h>
#include <termios.h>

#include <QMetaObject>

#include "platform/qt/line_settings.h"
#include "platform/qt/port_table.h"

namespace brivel {

QtSerialPort::QtSerialPort() {
  QObject::connect(&port_, &QSerialPort::readyRead, &context_, [this] { on_ready_read(); });
  QObject::connect(&port_, &QSerialPort::errorOccurred, &context_, [this](QSerialPort::SerialPortError e) {
    // A device pulled out from under us: the port is gone and the program
    // sees it closed. The close waits for the next turn, out of the serial
    // library's own call, and leaves alone a port opened again meanwhile.
    if (e != QSerialPort::ResourceError || !port_.isOpen()) return;
    const unsigned opening = opening_;
    QMetaObject::invokeMethod(
        &context_,
        [this, opening] {
          if (opening == opening_) close();
        },
        Qt::QueuedConnection);
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
  ++opening_;
  buffer_.clear();
  return true;
}

void QtSerialPort::close() {
  if (port_.isOpen()) port_.close();
  buffer_.clear();
}

void QtSerialPort::set_settings(std::string_view settings) {
  std::optional<LineSettings> ls = parse_line_settings(settings);
  if (!ls) return;
  port_.setBaudRate(ls->baud);
  switch (ls->parity) {
    case 'e': port_.setParity(QSerialPort::EvenParity); break;
    case 'o': port_.setParity(QSerialPort::OddParity); break;
    case 'm': port_.setParity(QSerialPort::MarkParity); break;
    case 's': port_.setParity(QSerialPort::SpaceParity); break;
    default: port_.setParity(QSerialPort::NoParity); break;
  }
  port_.setDataBits(static_cast<QSerialPort::DataBits>(ls->data_bits));
  port_.setStopBits(ls->stop_halves == 4   ? QSerialPort::TwoStop
                    : ls->stop_halves == 3 ? QSerialPort::OneAndHalfStop
                                           : QSerialPort::OneStop);
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
  port_.clearError();
  qint64 n = port_.write(bytes.data(), static_cast<qint64>(bytes.size()));
  // Out on the line now, as the older controls did, and not at the next
  // turn: a frame's eight bytes go in one write to the device.
  if (n == static_cast<qint64>(bytes.size())) port_.flush();
  QSerialPort::SerialPortError e = port_.error();
  if (n != static_cast<qint64>(bytes.size()) || e == QSerialPort::WriteError || e == QSerialPort::ResourceError) {
    // The device is gone (or never answers a write): nothing more will pass.
    close();
    return false;
  }
  return true;
}

std::string QtSerialPort::input() {
  std::string s = buffer_.take();
  if (buffer_.count() > 0) schedule_dispatch();
  return s;
}

void QtSerialPort::on_ready_read() {
  if (!port_.isOpen()) return;
  QByteArray data = port_.readAll();
  buffer_.append(std::string_view(data.constData(), static_cast<std::size_t>(data.size())));
  dispatch();
  // Bytes that came in while a handler waited inside this one raise no
  // signal of their own (the serial library doesn't nest it): fetch them at
  // the next turn.
  if (port_.isOpen() && port_.bytesAvailable() > 0)
    QMetaObject::invokeMethod(&context_, [this] { on_ready_read(); }, Qt::QueuedConnection);
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
