#include "platform/qt/port_table.h"

#include <sys/stat.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <system_error>

namespace brivel {

namespace fs = std::filesystem;

std::string port_device_path(int n, const std::string& ports_folder) {
  if (n <= 0) return "";
  if (!ports_folder.empty()) {
    fs::path link = fs::path(ports_folder) / ("com" + std::to_string(n));
    std::error_code ec;
    if (fs::exists(fs::symlink_status(link, ec))) return link.string();
  }
  if (n <= 16) return "/dev/ttyACM" + std::to_string(n - 1);
  if (n <= 32) return "/dev/ttyUSB" + std::to_string(n - 17);
  return "";
}

int port_number_of_device(const std::string& devnode, const std::string& ports_folder) {
  std::error_code ec;
  if (!ports_folder.empty() && fs::is_directory(ports_folder, ec)) {
    fs::path target = fs::weakly_canonical(devnode, ec);
    for (const auto& entry : fs::directory_iterator(ports_folder, ec)) {
      std::string name = entry.path().filename().string();
      if (name.rfind("com", 0) != 0) continue;
      int n = std::atoi(name.c_str() + 3);
      if (n > 0 && fs::weakly_canonical(entry.path(), ec) == target) return n;
    }
  }
  auto number_after = [&](const std::string& prefix) {
    if (devnode.rfind(prefix, 0) != 0 || devnode.size() == prefix.size()) return -1;
    for (std::size_t i = prefix.size(); i < devnode.size(); ++i)
      if (devnode[i] < '0' || devnode[i] > '9') return -1;
    return std::atoi(devnode.c_str() + prefix.size());
  };
  int acm = number_after("/dev/ttyACM");
  if (acm >= 0 && acm < 16) return acm + 1;
  int usb = number_after("/dev/ttyUSB");
  if (usb >= 0 && usb < 16) return usb + 17;
  return 0;
}

pid_t flock_holder(const std::string& proc_locks, unsigned dev_major, unsigned dev_minor, unsigned long ino) {
  // "1: FLOCK  ADVISORY  WRITE 4242 00:19:6 0 EOF"; a waiter's line has "->".
  std::istringstream lines(proc_locks);
  for (std::string line; std::getline(lines, line);) {
    std::istringstream w(line);
    std::string n, kind, mode, access, where;
    long pid = 0;
    if (!(w >> n >> kind >> mode >> access >> pid >> where) || kind != "FLOCK") continue;
    unsigned maj = 0, min = 0;
    unsigned long node = 0;
    if (std::sscanf(where.c_str(), "%x:%x:%lu", &maj, &min, &node) == 3 && maj == dev_major && min == dev_minor &&
        node == ino)
      return static_cast<pid_t>(pid);
  }
  return 0;
}

}  // namespace brivel
