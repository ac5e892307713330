#include "platform/qt/qt_devices.h"

#include <libudev.h>
#include <sys/stat.h>

#include <QFileInfo>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "platform/qt/port_table.h"

namespace brivel {

DeviceChange device_change(const std::string& action, const std::string& devnode, const std::string& ports_folder) {
  if (action == "remove") return {DeviceChange::Removal, ""};
  if (action != "add" || devnode.empty()) return {};
  // Only a device that has a port number is worth telling: the console
  // would open whatever number it is given.
  int n = port_number_of_device(devnode, ports_folder);
  if (n <= 0) return {};
  return {DeviceChange::Arrival, "COM" + std::to_string(n)};
}

// Without a udev daemon (a container, a chroot) the monitor stays silent and
// the program works on, without arrivals and removals.
QtDevices::QtDevices() {
  udev_ = udev_new();
  if (!udev_) return;
  monitor_ = udev_monitor_new_from_netlink(udev_, "udev");
  if (!monitor_) return;
  // No filter: the removal of any device, whatever its kind (a stick, a
  // disk, the board's own cable), closes the connection; arrivals are sorted
  // by device_change, which keeps only numbered ports.
  if (udev_monitor_enable_receiving(monitor_) < 0) return;
  int fd = udev_monitor_get_fd(monitor_);
  if (fd < 0) return;
  notifier_ = std::make_unique<QSocketNotifier>(fd, QSocketNotifier::Read);
  QObject::connect(notifier_.get(), &QSocketNotifier::activated, [this] { on_event(); });
}

QtDevices::~QtDevices() {
  notifier_.reset();
  if (monitor_) udev_monitor_unref(monitor_);
  if (udev_) udev_unref(udev_);
}

namespace {

// The links comN of the folder, each with where it leads and the link's own
// inode and change time: a simulator started again makes a new link, which
// may lead to the same pseudo-terminal number as the one before and, the old
// link's inode being free again, have its number too. Links that lead
// nowhere are left out.
std::map<std::string, std::string> live_links(const std::string& folder) {
  std::map<std::string, std::string> out;
  std::error_code ec;
  for (const auto& entry : std::filesystem::directory_iterator(folder, ec)) {
    const std::string name = entry.path().filename().string();
    if (name.rfind("com", 0) != 0 || !entry.is_symlink(ec)) continue;
    auto target = std::filesystem::canonical(entry.path(), ec);
    struct stat st {};
    if (!ec && ::lstat(entry.path().c_str(), &st) == 0)
      out[name] = target.string() + "#" + std::to_string(st.st_ino) + "#" + std::to_string(st.st_ctim.tv_sec) + "." +
                  std::to_string(st.st_ctim.tv_nsec);
  }
  return out;
}

}  // namespace

void QtDevices::set_ports_folder(const std::string& folder) {
  ports_folder_ = folder;
  links_ = live_links(folder);
  watcher_ = std::make_unique<QFileSystemWatcher>();
  watch_folder();
  QObject::connect(watcher_.get(), &QFileSystemWatcher::directoryChanged, [this] { on_folder_changed(); });
}

// The folder itself is watched while it exists; while it doesn't (the
// simulator makes it later) its parent is watched instead. The parent is the
// console's own folder, written at every step of a run: watching it for good
// would scan the ports a few times a second.
void QtDevices::watch_folder() {
  const QFileInfo dir(QString::fromStdString(ports_folder_));
  const QString parent = dir.absolutePath(), self = dir.absoluteFilePath();
  const QStringList watched = watcher_->directories();
  if (dir.isDir()) {
    if (!watched.contains(self)) watcher_->addPath(self);
    if (watched.contains(parent)) watcher_->removePath(parent);
  } else if (!watched.contains(parent)) {
    watcher_->addPath(parent);
  }
}

void QtDevices::on_folder_changed() {
  watch_folder();
  auto now = live_links(ports_folder_);
  for (const auto& [name, target] : now) {
    auto was = links_.find(name);
    if (was != links_.end() && was->second == target) continue;
    const int n = std::atoi(name.c_str() + 3);
    if (n > 0 && std::to_string(n) == name.substr(3) && arrival_) arrival_(3, 0, "COM" + std::to_string(n));
  }
  links_ = std::move(now);
}

void QtDevices::on_event() {
  udev_device* dev = udev_monitor_receive_device(monitor_);
  if (!dev) return;
  const char* action = udev_device_get_action(dev);
  const char* node = udev_device_get_devnode(dev);
  std::string act = action ? action : "";
  std::string devnode = node ? node : "";
  udev_device_unref(dev);
  DeviceChange change = device_change(act, devnode, ports_folder_);
  if (change.kind == DeviceChange::Arrival && arrival_) arrival_(3, 0, change.name);
  if (change.kind == DeviceChange::Removal && removal_) removal_();
}

}  // namespace brivel
