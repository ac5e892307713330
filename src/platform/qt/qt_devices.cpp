#include "platform/qt/qt_devices.h"

#include <libudev.h>

#include <cstring>

#include "platform/qt/port_table.h"

namespace brivel {

QtDevices::QtDevices() {
  udev_ = udev_new();
  if (!udev_) return;
  monitor_ = udev_monitor_new_from_netlink(udev_, "udev");
  if (!monitor_) return;
  udev_monitor_filter_add_match_subsystem_devtype(monitor_, "tty", nullptr);
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

void QtDevices::on_event() {
  udev_device* dev = udev_monitor_receive_device(monitor_);
  if (!dev) return;
  const char* action = udev_device_get_action(dev);
  const char* node = udev_device_get_devnode(dev);
  std::string act = action ? action : "";
  std::string devnode = node ? node : "";
  udev_device_unref(dev);
  if (act == "add") {
    int n = devnode.empty() ? 0 : port_number_of_device(devnode, ports_folder_);
    if (n > 0 && arrival_) arrival_(3, 0, "COM" + std::to_string(n));
  } else if (act == "remove") {
    if (removal_) removal_();
  }
}

}  // namespace brivel
