// The pseudo-terminal that stands in for the board's serial port.
//
// We keep the master (our end) and also hold the slave open ourselves: the
// program on the other side may close, reopen or be killed, and the pty must
// survive that with its settings, without the hang-up and EIO that a master
// sees when the last slave closes. A serial library on the program's side
// sets the exclusive-use flag on the slave; clear_exclusive() takes it off
// again so that a restarted program can reopen the port.
//
// A pty has no modem lines: the reset pulse the program sends on DTR/RTS is
// not seen here (brivel-machine-sim sees it through a preload library).
#pragma once

#include <string>

namespace brivel::boardsim {

class PtyLink {
 public:
  PtyLink() = default;
  ~PtyLink();
  PtyLink(const PtyLink&) = delete;
  PtyLink& operator=(const PtyLink&) = delete;

  // Opens the pty in raw mode and, if `link` isn't empty, makes `link` a
  // symlink to its slave (parent folders made, a stale link replaced, any
  // other file left alone). False with a French message in `error`.
  bool open(const std::string& link, std::string* error);

  // The link removed and both ends closed: the port vanishes, as a board
  // unplugged. open() may be called again.
  void close();

  int master_fd() const { return master_; }
  const std::string& slave_path() const { return slave_path_; }
  void clear_exclusive() const;

 private:
  int master_ = -1;
  int slave_ = -1;
  std::string slave_path_;
  std::string link_;
};

}  // namespace brivel::boardsim
