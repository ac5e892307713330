// The simulator's loop: bytes from the pty go to the board model at the real
// time they arrive (milliseconds since start, steady clock); replies go back
// and log lines are written when their time has come, counted to the
// microsecond from the bytes' arrival: a reply 1 ms after its frame leaves
// 1 ms after the frame came, not at the next whole millisecond.
#pragma once

#include <cstdint>
#include <cstdio>
#include <map>
#include <string>

#include "board/board_model.h"
#include "line_watch.h"
#include "pty_link.h"

namespace brivel::boardsim {

class SimLoop {
 public:
  // `log` may be null. `signal_fd` is the read end of the pipe the signal
  // handler writes to: 'T' ends the loop, 'U' restarts the firmware. `watch`
  // (may be null) tells the openings of the port and the program's DTR: the
  // firmware restarts at each rising edge, as a board's does.
  SimLoop(BoardModel& board, const PtyLink& pty, std::FILE* log, int signal_fd, LineWatch* watch = nullptr)
      : board_(board), pty_(pty), log_(log), signal_fd_(signal_fd), watch_(watch) {}

  // Runs until a 'T' comes, or for `duration_ms` if it's above 0.
  void run(int64_t duration_ms);

 private:
  struct Event {
    bool write = false;     // bytes to the pty; else a log line
    std::string bytes;
    BoardLogEntry entry;
  };
  int64_t now_ns() const;
  // Queues the board's new log lines; `now_ns` is the real time of the
  // board's present millisecond `now_ms`.
  void take_new_log_entries(int64_t now_ns, int64_t now_ms);
  void flush_due(int64_t now_ns);
  void write_log(const BoardLogEntry& e);
  void write_reply(const std::string& bytes, int64_t now);
  void read_pty();
  bool read_signals();  // false when asked to stop
  // The firmware restarts: the board's reset, then its greeting.
  void restart();

  BoardModel& board_;
  const PtyLink& pty_;
  std::FILE* log_;
  int signal_fd_;
  LineWatch* watch_;
  int64_t start_ns_ = 0;
  size_t logged_ = 0;                     // entries of board_.log() already queued
  std::multimap<int64_t, Event> due_;     // by real time (ns); same time: in order of queueing
};

}  // namespace brivel::boardsim
