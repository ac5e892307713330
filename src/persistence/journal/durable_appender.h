// Appends lines to a file and waits for each to reach the disk on a thread
// of its own, so that the run's next frame doesn't wait for the disk. One
// line at most is ever on its way: handing over a line first waits for the
// one before, so a crash loses no more than the last line handed over.
#pragma once

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>

namespace brivel {

class DurableAppender {
 public:
  DurableAppender();
  // Writes what was handed over, then stops.
  ~DurableAppender();
  DurableAppender(const DurableAppender&) = delete;
  DurableAppender& operator=(const DurableAppender&) = delete;

  // Hands `line` (UTF-8, no line end) over for `path`, once the line before
  // is on the disk.
  void append(const std::string& path, const std::string& line);
  // Returns once every line handed over is on the disk (or failed).
  void flush();
  // False once a line could not be written.
  bool healthy() const { return healthy_; }

 private:
  void run();

  std::mutex mu_;
  std::condition_variable cv_;
  std::optional<std::pair<std::string, std::string>> pending_;  // path, line
  bool busy_ = false;
  bool stop_ = false;
  std::atomic<bool> healthy_{true};
  std::thread worker_;
};

}  // namespace brivel
