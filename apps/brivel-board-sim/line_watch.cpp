#include "line_watch.h"

#include <sys/inotify.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>

namespace brivel::boardsim {

std::string modem_socket_name(const std::string& slave_path) { return "brivel-modem:" + slave_path; }

LineWatch::~LineWatch() { stop(); }

bool LineWatch::start(const std::string& slave_path, std::string* error) {
  stop();
  inotify_ = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
  if (inotify_ < 0 || ::inotify_add_watch(inotify_, slave_path.c_str(), IN_OPEN | IN_CLOSE) < 0) {
    *error = "inotify sur " + slave_path + " : " + std::strerror(errno);
    return false;
  }
  socket_ = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
  sockaddr_un a{};
  a.sun_family = AF_UNIX;
  const std::string name = modem_socket_name(slave_path);
  std::memcpy(a.sun_path + 1, name.data(), std::min(name.size(), sizeof a.sun_path - 2));
  const socklen_t len = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + name.size());
  if (socket_ < 0 || ::bind(socket_, reinterpret_cast<sockaddr*>(&a), len) != 0) {
    *error = "socket des lignes de modem : " + std::string(std::strerror(errno));
    return false;
  }
  openers_ = 0;
  dtr_ = false;
  return true;
}

void LineWatch::stop() {
  if (inotify_ >= 0) ::close(inotify_);
  if (socket_ >= 0) ::close(socket_);
  inotify_ = socket_ = -1;
}

void LineWatch::set_dtr(bool on, std::vector<Event>* out) {
  if (on == dtr_) return;
  dtr_ = on;
  out->push_back(on ? Event::DtrUp : Event::DtrDown);
}

std::vector<LineWatch::Event> LineWatch::poll() {
  std::vector<Event> out;
  if (inotify_ >= 0) {
    alignas(inotify_event) char buf[4096];
    ssize_t n;
    while ((n = ::read(inotify_, buf, sizeof buf)) > 0) {
      for (char* p = buf; p < buf + n;) {
        const auto* e = reinterpret_cast<const inotify_event*>(p);
        if (e->mask & IN_OPEN) {
          out.push_back(Event::Opened);
          // The first opener raises DTR (and RTS), as a tty does on open.
          if (openers_++ == 0) set_dtr(true, &out);
        }
        if (e->mask & IN_CLOSE) {
          out.push_back(Event::Closed);
          // The last close drops them (HUPCL).
          if (openers_ > 0 && --openers_ == 0) set_dtr(false, &out);
        }
        p += sizeof(inotify_event) + e->len;
      }
    }
  }
  if (socket_ >= 0) {
    // "DTR=0 RTS=1": the lines as the program's last ioctl left them.
    char msg[64];
    ssize_t n;
    while ((n = ::recv(socket_, msg, sizeof msg - 1, 0)) > 0) {
      msg[n] = 0;
      const char* d = std::strstr(msg, "DTR=");
      if (d) set_dtr(d[4] == '1', &out);
    }
  }
  return out;
}

}  // namespace brivel::boardsim
