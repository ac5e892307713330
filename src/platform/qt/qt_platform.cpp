#include "platform/qt/qt_platform.h"

#include <signal.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QCursor>
#include <QDesktopServices>
#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QGuiApplication>
#include <QProcess>
#include <QTime>
#include <QTimer>
#include <QUrl>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <thread>
#include <vector>

#include "platform/qt/data_files.h"
#include "platform/qt/desktop.h"
#include "platform/qt/help_viewer.h"
#include "platform/qt/paint_gate.h"
#include "platform/qt/port_table.h"
#include "platform/qt/qt_devices.h"
#include "platform/qt/qt_dialogs.h"
#include "platform/qt/qt_serial.h"
#include "platform/qt/rehearsal_port.h"

namespace brivel {

struct QtPlatform::Impl {
  QElapsedTimer clock;
  QtSerialPort serial;
  RehearsalPort rehearsal;
  PortChoice port{serial, rehearsal};
  QtDevices devices;
  QtDialogs real_dialogs;
  Dialogs* dialogs = nullptr;
  struct Timer {
    std::unique_ptr<QTimer> timer;
    std::function<void()> fn;
    bool running = false;
  };
  std::map<int, Timer> timers;
  // Timers removed while a tick was being handled: their signal may still be
  // on the stack, so they are deleted at the next turn taken outside any tick.
  std::vector<std::unique_ptr<QTimer>> retired;
  int ticks_on_stack = 0;
  int next_timer = 1;
  bool busy = false;
  PaintGate paint_gate;
};

QtPlatform::QtPlatform() : d_(std::make_unique<Impl>()) {
  d_->clock.start();
  // The kernel may end a sleep up to the thread's slack late (50 µs by
  // default); a run sleeps twice per move, thousands of times.
  prctl(PR_SET_TIMERSLACK, 1UL, 0UL, 0UL, 0UL);
  d_->dialogs = &d_->real_dialogs;
  // A port lost under the program is a removal as far as the console goes:
  // the lamps turn red, and a wait on the line ends at once.
  d_->serial.set_on_lost([this] { d_->devices.report_removal(); });
}

QtPlatform::~QtPlatform() = default;

void QtPlatform::set_ports_folder(const std::string& folder) {
  d_->serial.set_ports_folder(folder);
  d_->devices.set_ports_folder(folder);
}

void QtPlatform::set_dialogs(Dialogs* dialogs) { d_->dialogs = dialogs ? dialogs : &d_->real_dialogs; }

void QtPlatform::turn(int wake_within_ms) {
  if (d_->ticks_on_stack == 0) d_->retired.clear();
  if (wake_within_ms == 0) {
    // Between a reply and the next frame: nothing is painted here.
    d_->paint_gate.hold();
    QCoreApplication::processEvents(QEventLoop::AllEvents);
  } else {
    // Block until something happens (a reply byte, a timer, a click), but no
    // longer than the caller's deadline: a run costs no CPU while it waits.
    // Each turn has its own wake-up, so a turn nested in a handler cannot
    // take away the deadline of the turn below it.
    QTimer wake;
    if (wake_within_ms > 0) {
      wake.setSingleShot(true);
      wake.setTimerType(Qt::PreciseTimer);
      wake.start(wake_within_ms);
    }
    QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
  }
  // The console's code runs on: what it changes is painted in its next wait.
  d_->paint_gate.hold();
}

int32_t QtPlatform::tick_ms() { return static_cast<int32_t>(d_->clock.elapsed()); }

std::optional<double> QtPlatform::fine_ms() { return static_cast<double>(d_->clock.nsecsElapsed()) / 1e6; }

void QtPlatform::show_changes() { d_->paint_gate.release(); }

void QtPlatform::sleep_fraction_ms(double ms) {
  if (ms <= 0) return;
  // The kernel wakes a sleeper up to a few tenths of a millisecond late on
  // a busy or virtual machine: the last of it is spent awake, so that the
  // wait ends on time and never before it.
  constexpr double kAwakeMs = 0.2;
  const auto end = std::chrono::steady_clock::now() + std::chrono::duration<double, std::milli>(std::min(ms, 1.5));
  if (ms > kAwakeMs)
    std::this_thread::sleep_for(std::chrono::duration<double, std::milli>(std::min(ms, 1.5) - kAwakeMs));
  while (std::chrono::steady_clock::now() < end) {
  }
}

SerialPort& QtPlatform::serial() { return d_->port; }
DeviceNotifier& QtPlatform::devices() { return d_->devices; }
Dialogs& QtPlatform::dialogs() { return *d_->dialogs; }

int QtPlatform::add_timer(int interval_ms, std::function<void()> on_tick) {
  int id = d_->next_timer++;
  auto& t = d_->timers[id];
  t.timer = std::make_unique<QTimer>();
  t.fn = std::move(on_tick);
  QObject::connect(t.timer.get(), &QTimer::timeout, [this, id] {
    auto it = d_->timers.find(id);
    // A handler still on the stack (waiting inside) is not entered again:
    // that tick is lost, as the older timers lost theirs.
    if (it == d_->timers.end() || it->second.running) return;
    it->second.running = true;
    ++d_->ticks_on_stack;
    auto fn = it->second.fn;  // the handler may remove its own timer
    fn();
    --d_->ticks_on_stack;
    it = d_->timers.find(id);
    if (it != d_->timers.end()) it->second.running = false;
  });
  t.timer->start(interval_ms);
  return id;
}

void QtPlatform::remove_timer(int id) {
  auto it = d_->timers.find(id);
  if (it == d_->timers.end()) return;
  it->second.timer->stop();
  d_->retired.push_back(std::move(it->second.timer));
  d_->timers.erase(it);
}

int QtPlatform::time_of_day_s() { return QTime::currentTime().msecsSinceStartOfDay() / 1000; }

void QtPlatform::set_busy(bool busy) {
  if (!qobject_cast<QGuiApplication*>(QCoreApplication::instance()) || busy == d_->busy) return;
  d_->busy = busy;
  if (busy)
    QGuiApplication::setOverrideCursor(Qt::WaitCursor);
  else
    QGuiApplication::restoreOverrideCursor();
}

bool QtPlatform::open_document(const std::string& path_or_url) {
  QUrl url = document_url(path_or_url, QDir::currentPath());
  // The help page is shipped with the program: found where it was installed
  // or built when the current folder doesn't hold it.
  if (!url.isValid()) {
    const std::string shipped = find_data_file(path_or_url, QCoreApplication::applicationDirPath().toStdString(),
                                               QDir::currentPath().toStdString());
    if (!shipped.empty()) url = QUrl::fromLocalFile(QString::fromStdString(shipped));
  }
  if (!url.isValid()) return false;
  // A local page with no browser to show it: the program shows it itself.
  if (url.isLocalFile() && !browser_available()) return show_help_inside(url.toLocalFile());
  return QDesktopServices::openUrl(url) || (url.isLocalFile() && show_help_inside(url.toLocalFile()));
}

bool QtPlatform::start_command_file(const std::string& path) {
  QString p = QString::fromStdString(path);
  if (!QFileInfo(p).isFile()) return false;
  // In a terminal window, so that the operator sees what the command says;
  // without one, in the background.
  if (QProcess::startDetached("x-terminal-emulator", {"-e", "sh", p})) return true;
  return QProcess::startDetached("sh", {p});
}

bool QtPlatform::run_command_file(const std::string& path, CommandReport report) {
  QString p = QString::fromStdString(path);
  if (!QFileInfo(p).isFile()) return false;
  auto* proc = new QProcess;
  proc->setProcessChannelMode(QProcess::MergedChannels);
  auto shared = std::make_shared<CommandReport>(std::move(report));
  QObject::connect(proc, &QProcess::readyRead, proc, [proc, shared] {
    const QByteArray bytes = proc->readAll();
    if (!bytes.isEmpty() && shared->on_output) shared->on_output(bytes.toStdString());
  });
  QObject::connect(proc, &QProcess::finished, proc, [proc, shared](int code, QProcess::ExitStatus status) {
    const QByteArray rest = proc->readAll();
    if (!rest.isEmpty() && shared->on_output) shared->on_output(rest.toStdString());
    if (shared->on_end) shared->on_end(code, status == QProcess::CrashExit);
    proc->deleteLater();
  });
  proc->start(QStringLiteral("sh"), {p});
  // The shell itself starts at once or not at all.
  if (!proc->waitForStarted(5000)) {
    delete proc;
    return false;
  }
  return true;
}

void QtPlatform::end_console() {
  // An avrdude still writing the board is left to finish: killed, it would
  // leave the chip half programmed.
  std::fflush(nullptr);
  _exit(0);
}

void QtPlatform::terminate_now() {
  std::fflush(nullptr);
  std::_Exit(1);
}

std::optional<std::string> QtPlatform::env(const std::string& name) {
  if (!qEnvironmentVariableIsSet(name.c_str())) return std::nullopt;
  return qEnvironmentVariable(name.c_str()).toStdString();
}

}  // namespace brivel
