// Device arrival and removal from udev, for serial ports and USB devices. An
// arrival of a device that has a port number is told as type 3, identity 0,
// "COM<n>"; any removal is told as it comes. Without udev nothing is told.
#pragma once

#include <QFileSystemWatcher>
#include <QSocketNotifier>
#include <functional>
#include <map>
#include <memory>
#include <string>

#include "platform/platform.h"

struct udev;
struct udev_monitor;

namespace brivel {

// What one udev event tells the console: an arrival of
// a numbered port ("COM<n>"), a removal, or nothing.
struct DeviceChange {
  enum Kind { None, Arrival, Removal } kind = None;
  std::string name;  // "COM<n>" for an arrival
};
DeviceChange device_change(const std::string& action, const std::string& devnode, const std::string& ports_folder);

class QtDevices : public DeviceNotifier {
 public:
  QtDevices();
  ~QtDevices() override;
  // Also watches the folder: a link comN that appears, or comes to point at
  // another device (a simulator started again), is an arrival of port n.
  void set_ports_folder(const std::string& folder);
  // A removal told by someone else: the serial layer that lost its port.
  void report_removal() {
    if (removal_) removal_();
  }
  void set_on_arrival(std::function<void(int, int, const std::string&)> f) override { arrival_ = std::move(f); }
  void set_on_removal(std::function<void()> f) override { removal_ = std::move(f); }

 private:
  void on_event();
  void on_folder_changed();
  void watch_folder();
  std::unique_ptr<QFileSystemWatcher> watcher_;
  std::map<std::string, std::string> links_;  // link name -> its target, inode and change time when last seen
  udev* udev_ = nullptr;
  udev_monitor* monitor_ = nullptr;
  std::unique_ptr<QSocketNotifier> notifier_;
  std::string ports_folder_;
  std::function<void(int, int, const std::string&)> arrival_;
  std::function<void()> removal_;
};

}  // namespace brivel
