#include "platform/qt/qt_serial.h"

#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <termios.h>
#include <unistd.h>

#include <QMetaEnum>
#include <QMetaObject>
#include <cerrno>
#include <fstream>
#include <iterator>

#include "platform/qt/line_settings.h"
#include "platform/qt/port_table.h"

namespace brivel {

std::string port_error_text(QSerialPort::SerialPortError e) {
  const char* key = QMetaEnum::fromType<QSerialPort::SerialPortError>().valueToKey(e);
  return key ? key : std::to_string(static_cast<int>(e));
}

namespace {
// Who holds the port's device, in words: the console or program that took
// its flock.
std::string holder_of(const std::string& path) {
  struct stat st {};
  std::ifstream locks("/proc/locks");
  const std::string text((std::istreambuf_iterator<char>(locks)), std::istreambuf_iterator<char>());
  if (::stat(path.c_str(), &st) != 0) return "un autre programme";
  const pid_t pid = flock_holder(text, major(st.st_dev), minor(st.st_dev), st.st_ino);
  if (pid == 0) return "un autre programme";
  std::ifstream comm("/proc/" + std::to_string(pid) + "/comm");
  std::string name;
  std::getline(comm, name);
  const std::string who = (name.empty() ? std::string("le processus") : name) + " (processus " + std::to_string(pid) + ")";
  return name.rfind("brivel", 0) == 0 ? who + " : une autre console pilote cette machine" : who;
}
}  // namespace

std::string open_failure_reason(const std::string& path, QSerialPort::SerialPortError e) {
  struct stat st {};
  if (::stat(path.c_str(), &st) != 0)
    return errno == EACCES ? "accès refusé au chemin du port" : "le périphérique n'existe pas (carte débranchée ?)";
  if (!S_ISCHR(st.st_mode)) return "ce n'est pas un port série (le lien mène à un fichier ordinaire ou un dossier)";
  if (::access(path.c_str(), R_OK | W_OK) != 0)
    return "accès refusé — ajoutez votre compte au groupe dialout (sudo adduser $USER dialout), puis reconnectez-vous";
  switch (e) {
    case QSerialPort::PermissionError:
    case QSerialPort::OpenError:
      return "déjà utilisé par " + holder_of(path);
    case QSerialPort::DeviceNotFoundError:
      return "le périphérique n'existe pas (carte débranchée ?)";
    case QSerialPort::UnsupportedOperationError:
      return "ce périphérique n'est pas un port série";
    default:
      return "ouverture impossible (" + port_error_text(e) + ")";
  }
}

QtSerialPort::QtSerialPort() {
  QObject::connect(&port_, &QSerialPort::readyRead, &context_, [this] { on_ready_read(); });
  QObject::connect(&port_, &QSerialPort::errorOccurred, &context_, [this](QSerialPort::SerialPortError e) {
    // A device pulled out from under us (ResourceError), or a line whose
    // other end has gone (a pseudo-terminal whose simulator was killed reads
    // EIO: ReadError, over and over): the port is gone and the program sees
    // it closed. The close waits for the next turn, out of the serial
    // library's own call, and leaves alone a port opened again meanwhile.
    if ((e != QSerialPort::ResourceError && e != QSerialPort::ReadError) || !port_.isOpen() || loss_queued_) return;
    loss_queued_ = true;
    const unsigned opening = opening_;
    QMetaObject::invokeMethod(
        &context_,
        [this, opening] {
          loss_queued_ = false;
          if (opening != opening_ || !port_.isOpen()) return;
          close();
          error_ = opened_label_ + " : liaison perdue (carte débranchée ou simulateur arrêté)";
          if (on_lost_) on_lost_();
        },
        Qt::QueuedConnection);
  });
}

QtSerialPort::~QtSerialPort() {
  if (port_.isOpen()) port_.close();
}

std::string QtSerialPort::device_path(int n) const { return port_device_path(n, ports_folder_); }

std::string QtSerialPort::port_label() const {
  std::string path = port_device_path(number_, ports_folder_);
  return "Port " + std::to_string(number_) + (path.empty() ? "" : " (" + path + ")");
}

bool QtSerialPort::set_port_number(int n) {
  if (port_.isOpen()) return false;
  if (port_device_path(n, ports_folder_).empty()) {
    error_ = "Port " + std::to_string(n) + " : aucun port série ne porte ce numéro (1 à 32, ou un lien " +
             (ports_folder_.empty() ? std::string("ports/comN") : ports_folder_ + "/com" + std::to_string(n)) + ")";
    return false;
  }
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
  if (!port_.open(QIODevice::ReadWrite)) {
    error_ = port_label() + " : " + open_failure_reason(path, port_.error());
    return false;
  }
  // The serial library claims the line for itself (TIOCEXCL); on a
  // pseudo-terminal that claim outlives a killed program and would keep a
  // restarted one out, so we don't rely on it. The console's own claim is a
  // flock on the device, whatever link names it, gone with the process.
  ioctl(port_.handle(), TIOCNXCL);
  if (::flock(port_.handle(), LOCK_EX | LOCK_NB) != 0) {
    port_.close();
    error_ = port_label() + " : déjà utilisé par " + holder_of(path);
    return false;
  }
  ++opening_;
  buffer_.clear();
  error_.clear();
  opened_label_ = port_label();
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
    case 'e':
      port_.setParity(QSerialPort::EvenParity);
      break;
    case 'o':
      port_.setParity(QSerialPort::OddParity);
      break;
    case 'm':
      port_.setParity(QSerialPort::MarkParity);
      break;
    case 's':
      port_.setParity(QSerialPort::SpaceParity);
      break;
    default:
      port_.setParity(QSerialPort::NoParity);
      break;
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
  dispatch_later_.ask();
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
  if (buffer_.count() > 0) dispatch_later_.ask();
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
    QMetaObject::invokeMethod(
        &context_, [this] { on_ready_read(); }, Qt::QueuedConnection);
}

void QtSerialPort::dispatch() {
  if (port_.isOpen() && buffer_.event_due() && on_comm_) on_comm_(kEvReceive);
}

}  // namespace brivel
