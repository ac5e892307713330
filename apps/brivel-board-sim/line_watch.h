// What a board's USB-serial bridge tells its reset pin, seen from the
// pseudo-terminal's side: the operating system raises DTR when a program
// opens the port and drops it at the last close; a program moves the modem
// lines itself (the reset pulse of a connection, avrdude's own). A
// pseudo-terminal has no modem lines, so the program's ioctls reach us from
// the preload library brivel-modem-lines.so by a datagram on an abstract
// socket named after the pseudo-terminal; the openings are seen by inotify
// on its slave device.
#pragma once

#include <string>
#include <vector>

namespace brivel::boardsim {

// The abstract socket's name (without its leading NUL) for a slave device.
std::string modem_socket_name(const std::string& slave_path);

class LineWatch {
 public:
  enum class Event { Opened, Closed, DtrUp, DtrDown };

  LineWatch() = default;
  ~LineWatch();
  LineWatch(const LineWatch&) = delete;
  LineWatch& operator=(const LineWatch&) = delete;

  // Watches `slave_path` (the simulator's own hold on it is already made,
  // so it is not counted). False with a French reason.
  bool start(const std::string& slave_path, std::string* error);
  void stop();

  // What happened since the last call, in order. DtrUp is the edge that
  // resets a board: an opening with DTR low before it, or a program raising
  // it.
  std::vector<Event> poll();
  // A program has the port open: what the board writes reaches it. While
  // none has, a USB-serial bridge's bytes go nowhere.
  bool program_open() const { return openers_ > 0; }
  // The descriptors to wait on for poll() (-1 when stopped).
  int inotify_fd() const { return inotify_; }
  int socket_fd() const { return socket_; }

 private:
  void set_dtr(bool on, std::vector<Event>* out);
  int inotify_ = -1, socket_ = -1;
  int openers_ = 0;
  bool dtr_ = false;
};

}  // namespace brivel::boardsim
