#include "persistence/journal/durable_appender.h"

#include "persistence/journal/hole_journal.h"

namespace brivel {

DurableAppender::DurableAppender() : worker_([this] { run(); }) {}

DurableAppender::~DurableAppender() {
  {
    std::unique_lock lock(mu_);
    cv_.wait(lock, [this] { return !pending_ && !busy_; });
    stop_ = true;
  }
  cv_.notify_all();
  worker_.join();
}

void DurableAppender::append(const std::string& path, const std::string& line) {
  std::unique_lock lock(mu_);
  cv_.wait(lock, [this] { return !pending_ && !busy_; });
  pending_.emplace(path, line);
  cv_.notify_all();
}

void DurableAppender::flush() {
  std::unique_lock lock(mu_);
  cv_.wait(lock, [this] { return !pending_ && !busy_; });
}

void DurableAppender::run() {
  std::unique_lock lock(mu_);
  for (;;) {
    cv_.wait(lock, [this] { return pending_ || stop_; });
    if (!pending_) return;
    auto [path, line] = std::move(*pending_);
    pending_.reset();
    busy_ = true;
    lock.unlock();
    const bool ok = append_durably(path, line);
    lock.lock();
    if (!ok) healthy_ = false;
    busy_ = false;
    cv_.notify_all();
  }
}

}  // namespace brivel
