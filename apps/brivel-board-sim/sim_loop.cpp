#include "sim_loop.h"

#include <poll.h>
#include <sys/prctl.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>

#include "board/board_log.h"

namespace brivel::boardsim {

namespace {

// How often the exclusive-use flag is taken off the slave: a pty doesn't
// tell us when the other side closes, so we do it on a beat.
constexpr int64_t kExclusiveBeatMs = 100;

int64_t steady_ns() {
  return std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::steady_clock::now().time_since_epoch())
      .count();
}

}  // namespace

constexpr int64_t kNsPerMs = 1000000;

int64_t SimLoop::now_ns() const { return steady_ns() - start_ns_; }

void SimLoop::write_log(const BoardLogEntry& e) {
  if (!log_) return;
  const std::string line = format_log_entry(e);
  std::fwrite(line.data(), 1, line.size(), log_);
  std::fflush(log_);  // a test may read it while we run
}

void SimLoop::take_new_log_entries(int64_t now_ns, int64_t now_ms) {
  const auto& log = board_.log();
  for (; logged_ < log.size(); ++logged_)
    due_.emplace(now_ns + (log[logged_].at_ms - now_ms) * kNsPerMs, Event{false, {}, log[logged_]});
}

void SimLoop::write_reply(const std::string& bytes, int64_t now) {
  size_t done = 0;
  while (done < bytes.size()) {
    const ssize_t n = ::write(pty_.master_fd(), bytes.data() + done, bytes.size() - done);
    if (n > 0) {
      done += static_cast<size_t>(n);
    } else if (n < 0 && errno == EINTR) {
      continue;
    } else {
      // The slave's input queue is full: nobody has read our replies for a
      // long while. Dropping is what a board talking to no one amounts to.
      write_log({now, '#', "reply lost"});
      return;
    }
  }
}

void SimLoop::flush_due(int64_t now_ns) {
  while (!due_.empty() && due_.begin()->first <= now_ns) {
    Event e = std::move(due_.begin()->second);
    due_.erase(due_.begin());
    if (e.write) {
      write_reply(e.bytes, now_ns / kNsPerMs);
    } else {
      write_log(e.entry);
    }
  }
}

void SimLoop::read_pty() {
  char buf[4096];
  for (;;) {
    const ssize_t n = ::read(pty_.master_fd(), buf, sizeof buf);
    if (n <= 0) return;  // EAGAIN: all taken; EIO can't come while we hold the slave
    const int64_t ns = now_ns(), now = ns / kNsPerMs;
    auto replies = board_.receive(std::string_view(buf, static_cast<size_t>(n)), now);
    // The board's log entries go first, so that a reply's log line is in
    // the file before its bytes reach the program.
    take_new_log_entries(ns, now);
    for (auto& r : replies) due_.emplace(ns + (r.at_ms - now) * kNsPerMs, Event{true, std::move(r.bytes), {}});
  }
}

void SimLoop::restart() {
  const int64_t ns = now_ns(), now = ns / kNsPerMs;
  BoardOutput greeting = board_.reset(now);
  take_new_log_entries(ns, now);
  due_.emplace(ns + (greeting.at_ms - now) * kNsPerMs, Event{true, std::move(greeting.bytes), {}});
}

bool SimLoop::read_signals() {
  char buf[16];
  const ssize_t n = ::read(signal_fd_, buf, sizeof buf);
  for (ssize_t i = 0; i < n; ++i) {
    if (buf[i] == 'T') return false;
    if (buf[i] == 'U') restart();
  }
  return true;
}

void SimLoop::run(int64_t duration_ms) {
  start_ns_ = steady_ns();
  // Replies on time to the microsecond, not to the kernel's default slack.
  prctl(PR_SET_TIMERSLACK, 1UL, 0UL, 0UL, 0UL);
  int64_t next_beat = 0;
  const int64_t end = duration_ms * kNsPerMs;
  for (;;) {
    const int64_t now = now_ns();
    flush_due(now);
    if (duration_ms > 0 && now >= end) break;
    if (now >= next_beat) {
      pty_.clear_exclusive();
      next_beat = now + kExclusiveBeatMs * kNsPerMs;
    }
    int64_t wake = next_beat;
    if (!due_.empty()) wake = std::min(wake, due_.begin()->first);
    if (duration_ms > 0) wake = std::min(wake, end);
    pollfd fds[4] = {{pty_.master_fd(), POLLIN, 0},
                     {signal_fd_, POLLIN, 0},
                     {watch_ ? watch_->inotify_fd() : -1, POLLIN, 0},
                     {watch_ ? watch_->socket_fd() : -1, POLLIN, 0}};
    const int64_t left = std::clamp<int64_t>(wake - now, 0, kExclusiveBeatMs * kNsPerMs);
    const timespec timeout{static_cast<time_t>(left / 1000000000), static_cast<long>(left % 1000000000)};
    const int r = ::ppoll(fds, 4, &timeout, nullptr);
    if (r < 0) continue;  // EINTR: the signal's byte is in the pipe
    if (fds[1].revents & POLLIN) {
      if (!read_signals()) break;
    }
    if ((fds[2].revents | fds[3].revents) & POLLIN) {
      for (const LineWatch::Event e : watch_->poll())
        if (e == LineWatch::Event::DtrUp) restart();
    }
    if (fds[0].revents & POLLIN) read_pty();
  }
  flush_due(now_ns());
}

}  // namespace brivel::boardsim
