#include "platform/qt/port_table.h"

#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
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

std::vector<pid_t> processes_of_image(const std::string& proc_root, const std::string& self_exe, uid_t uid,
                                      pid_t self) {
  std::vector<pid_t> out;
  struct stat me {};
  if (stat(self_exe.c_str(), &me) != 0) return out;
  std::error_code ec;
  for (const auto& entry : fs::directory_iterator(proc_root, ec)) {
    std::string name = entry.path().filename().string();
    if (name.empty() || name.find_first_not_of("0123456789") != std::string::npos) continue;
    pid_t pid = static_cast<pid_t>(std::atol(name.c_str()));
    if (pid == self) continue;
    struct stat exe {}, dir {};
    if (stat((entry.path() / "exe").c_str(), &exe) != 0) continue;
    if (stat(entry.path().c_str(), &dir) != 0) continue;
    if (exe.st_dev == me.st_dev && exe.st_ino == me.st_ino && dir.st_uid == uid) out.push_back(pid);
  }
  return out;
}

}  // namespace brivel
