// Appends lines to a file and waits for each to reach the disk on a thread
// of its own, so that the run's next frame doesn't wait for the disk. One
// line at most is ever on its way: handing over a line first waits for the
// one before, so a crash loses no more than the last line handed over. A
// line that could not be written is kept, with those handed over after it,
// and written first when the next line comes: once the disk takes them
// again the file holds every line in order.
#pragma once

#include <condition_variable>
#include <deque>
#include <mutex>
#include <string>
#include <thread>
#include <utility>

#include "platform/storage.h"

namespace brivel {

class DurableAppender {
 public:
  explicit DurableAppender(Storage& disque);
  // Writes what was handed over, then stops.
  ~DurableAppender();
  DurableAppender(const DurableAppender&) = delete;
  DurableAppender& operator=(const DurableAppender&) = delete;

  // Hands `line` (UTF-8, no line end) over for `path`, once the lines before
  // are on the disk or have failed.
  void append(const std::string& path, const std::string& line);
  // Returns once every line handed over is on the disk or has failed.
  void flush();
  // The error of the last write that failed since the last call (0: none).
  int take_error();
  // Lines handed over and not yet on the disk.
  std::size_t waiting();

 private:
  void run();

  Storage& disque_;
  std::mutex mu_;
  std::condition_variable cv_;
  std::deque<std::pair<std::string, std::string>> lines_;  // path, line
  bool due_ = false;   // lines_ are to be written now
  bool stop_ = false;
  int error_ = 0;
  std::thread worker_;
};

}  // namespace brivel
