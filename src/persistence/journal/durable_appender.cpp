#include "persistence/journal/durable_appender.h"

#include "core/cp1252.h"

namespace brivel {

DurableAppender::DurableAppender(Storage& disque) : disque_(disque), worker_([this] { run(); }) {}

DurableAppender::~DurableAppender() {
  {
    std::unique_lock lock(mu_);
    cv_.wait(lock, [this] { return !due_; });
    stop_ = true;
  }
  cv_.notify_all();
  worker_.join();
}

void DurableAppender::append(const std::string& path, const std::string& line) {
  std::unique_lock lock(mu_);
  cv_.wait(lock, [this] { return !due_; });
  lines_.emplace_back(path, line);
  due_ = true;
  cv_.notify_all();
}

void DurableAppender::flush() {
  std::unique_lock lock(mu_);
  cv_.wait(lock, [this] { return !due_; });
}

int DurableAppender::take_error() {
  std::unique_lock lock(mu_);
  cv_.wait(lock, [this] { return !due_; });
  return std::exchange(error_, 0);
}

std::size_t DurableAppender::waiting() {
  std::unique_lock lock(mu_);
  cv_.wait(lock, [this] { return !due_; });
  return lines_.size();
}

void DurableAppender::run() {
  std::unique_lock lock(mu_);
  for (;;) {
    cv_.wait(lock, [this] { return due_ || stop_; });
    if (!due_) return;
    // Only this thread takes lines out while due_ holds.
    while (!lines_.empty()) {
      const auto [path, line] = lines_.front();
      lock.unlock();
      const int err = disque_.append(path, utf8_to_cp1252(line) + "\r\n");
      lock.lock();
      if (err) {
        error_ = err;
        break;
      }
      lines_.pop_front();
    }
    due_ = false;
    cv_.notify_all();
  }
}

}  // namespace brivel
