#include "pty_link.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <system_error>

namespace brivel::boardsim {

namespace fs = std::filesystem;

namespace {

std::string sys_error(const char* what) { return std::string(what) + " : " + std::strerror(errno); }

}  // namespace

PtyLink::~PtyLink() { close(); }

void PtyLink::close() {
  if (!link_.empty()) {
    std::error_code ec;
    // Only our own link goes: someone may have pointed the name elsewhere.
    if (fs::read_symlink(link_, ec) == fs::path(slave_path_)) fs::remove(link_, ec);
  }
  if (slave_ >= 0) ::close(slave_);
  if (master_ >= 0) ::close(master_);
  slave_ = master_ = -1;
  link_.clear();
}

bool PtyLink::open(const std::string& link, std::string* error) {
  master_ = ::posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
  if (master_ < 0) return *error = sys_error("posix_openpt"), false;
  if (::grantpt(master_) != 0) return *error = sys_error("grantpt"), false;
  if (::unlockpt(master_) != 0) return *error = sys_error("unlockpt"), false;
  const char* name = ::ptsname(master_);
  if (!name) return *error = sys_error("ptsname"), false;
  slave_path_ = name;
  slave_ = ::open(name, O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
  if (slave_ < 0) return *error = sys_error(("ouverture de " + slave_path_).c_str()), false;

  // Raw, 8 bits, no echo and no line-end translation: the program's frames
  // reach us byte for byte, as they would reach the board.
  termios t{};
  if (::tcgetattr(slave_, &t) != 0) return *error = sys_error("tcgetattr"), false;
  ::cfmakeraw(&t);
  ::cfsetispeed(&t, B57600);
  ::cfsetospeed(&t, B57600);
  if (::tcsetattr(slave_, TCSANOW, &t) != 0) return *error = sys_error("tcsetattr"), false;

  if (link.empty()) return true;
  std::error_code ec;
  const fs::path p(link);
  // Only the link's own folder is made (the ports/ folder of the program's
  // folder), never the folders above it: a mistyped path must not leave a
  // tree of folders behind.
  if (p.has_parent_path() && !fs::is_directory(p.parent_path(), ec)) {
    if (!fs::is_directory(p.parent_path().parent_path().empty() ? "." : p.parent_path().parent_path(), ec))
      return *error = "Le dossier " + p.parent_path().parent_path().string() + " n'existe pas : lien " + link +
                      " impossible",
             false;
    if (!fs::create_directory(p.parent_path(), ec) || ec)
      return *error = "Impossible de créer le dossier " + p.parent_path().string() + " : " + ec.message(), false;
  }
  const auto st = fs::symlink_status(p, ec);
  if (fs::is_symlink(st)) {
    fs::remove(p, ec);  // a link left by an earlier run
  } else if (fs::exists(st)) {
    return *error = link + " existe et n'est pas un lien : il n'est pas remplacé.", false;
  }
  fs::create_symlink(slave_path_, p, ec);
  if (ec) return *error = "Impossible de créer le lien " + link + " : " + ec.message(), false;
  link_ = link;
  return true;
}

void PtyLink::clear_exclusive() const {
  if (slave_ >= 0) ::ioctl(slave_, TIOCNXCL);
}

}  // namespace brivel::boardsim
