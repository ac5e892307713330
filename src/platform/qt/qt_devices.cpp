#include "platform/qt/qt_devices.h"

#include <libudev.h>

#include <cstring>

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
  // Serial ports for arrivals; any USB device too, since the removal of any
  // device (a stick, the board's own cable) closes the connection.
  udev_monitor_filter_add_match_subsystem_devtype(monitor_, "tty", nullptr);
  udev_monitor_filter_add_match_subsystem_devtype(monitor_, "usb", "usb_device");
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
  DeviceChange change = device_change(act, devnode, ports_folder_);
  if (change.kind == DeviceChange::Arrival && arrival_) arrival_(3, 0, change.name);
  if (change.kind == DeviceChange::Removal && removal_) removal_();
}

}  // namespace brivel
