// Port numbers on Linux. The console keeps the port as a single number, as
// the older generation did with its COM ports. Number n opens
// <ports folder>/comN when that link exists, so any device or pseudo-terminal
// can be given a number; otherwise a fixed table of USB serial devices:
//   1..16  -> /dev/ttyACM0..15   (boards with a native USB port)
//   17..32 -> /dev/ttyUSB0..15   (boards with a USB-serial bridge)
// The built-in /dev/ttyS* ports are left out: they open with nothing behind
// them and would win every scan.
#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

namespace brivel {

// The device path of port n, or "" when the number is refused.
std::string port_device_path(int n, const std::string& ports_folder);

// The port number of a device node (as udev reports it), or 0 if it has none.
int port_number_of_device(const std::string& devnode, const std::string& ports_folder);

// The process that holds a whole-file lock (flock) on the file `ino` of the
// file system `dev_major`:`dev_minor`, read from the text of /proc/locks; 0
// when none does. A console holds its port's device so.
pid_t flock_holder(const std::string& proc_locks, unsigned dev_major, unsigned dev_minor, unsigned long ino);

}  // namespace brivel
