#include "platform/sim/sim_platform.h"

#include <algorithm>
#include <limits>

namespace brivel {

// --- SimSerialPort -----------------------------------------------------------

bool SimSerialPort::set_port_number(int n) {
  if (open_ || n <= 0) return false;
  number_ = n;
  return true;
}

bool SimSerialPort::open() {
  if (open_ || !ports_.count(number_) || busy_.count(number_)) return false;
  open_ = true;
  ++opens_;
  buffer_.clear();
  return true;
}

void SimSerialPort::close() {
  open_ = false;
  buffer_.clear();
}

void SimSerialPort::set_dtr(bool on) {
  dtr_ = on;
  modem_log_.push_back({p_.now(), dtr_, rts_});
  if (open_ && ports_.count(number_) && ports_[number_]) ports_[number_]->on_modem_lines(dtr_, rts_, p_.now());
}

void SimSerialPort::set_rts(bool on) {
  rts_ = on;
  modem_log_.push_back({p_.now(), dtr_, rts_});
  if (open_ && ports_.count(number_) && ports_[number_]) ports_[number_]->on_modem_lines(dtr_, rts_, p_.now());
}

bool SimSerialPort::write(std::string_view bytes) {
  if (!open_ || !ports_.count(number_)) return false;
  p_.line_.push_back({p_.now(), std::string(bytes)});
  if (SerialPeer* peer = ports_[number_]) peer->on_bytes(bytes, p_.now());
  return true;
}

void SimSerialPort::add_port(int n, SerialPeer* peer) { ports_[n] = peer; }

void SimSerialPort::remove_port(int n) { ports_.erase(n); }

void SimSerialPort::set_busy_port(int n, bool in_use) {
  if (in_use)
    busy_.insert(n);
  else
    busy_.erase(n);
}

void SimSerialPort::arrive(std::string_view bytes) {
  if (open_) buffer_.append(bytes);
}

bool SimSerialPort::dispatch() {
  if (!open_ || !buffer_.event_due()) return false;
  if (on_comm_) on_comm_(kEvReceive);
  return true;
}

// --- SimPlatform ---------------------------------------------------------------

SimPlatform::SimPlatform() : serial_(*this) {}
SimPlatform::~SimPlatform() = default;

int32_t SimPlatform::tick_ms() {
  return static_cast<int32_t>(static_cast<uint32_t>(static_cast<uint64_t>(now_ + tick_offset_)));
}

int64_t SimPlatform::next_due() const {
  int64_t next = std::numeric_limits<int64_t>::max();
  for (const auto& s : queue_) next = std::min(next, s.at);
  for (const auto& [id, t] : timers_)
    if (!t.running) next = std::min(next, t.next);
  return next;
}

bool SimPlatform::run_due() {
  bool ran = false;
  // Scheduled calls and deliveries, in time order; a handler may schedule
  // more or turn the loop itself, so nothing is held across a call.
  for (;;) {
    auto it = std::min_element(queue_.begin(), queue_.end(), [](const Scheduled& a, const Scheduled& b) {
      return a.at != b.at ? a.at < b.at : a.seq < b.seq;
    });
    if (it == queue_.end() || it->at > now_) break;
    auto fn = std::move(it->fn);
    queue_.erase(it);
    fn();
    ran = true;
  }
  // Timers due now fire once each; a timer whose handler is still on the
  // stack does not fire again inside it.
  std::vector<int> due;
  for (auto& [id, t] : timers_)
    if (t.next <= now_ && !t.running) due.push_back(id);
  for (int id : due) {
    auto it = timers_.find(id);
    if (it == timers_.end()) continue;
    it->second.next = now_ + std::max(1, it->second.interval);
    it->second.running = true;
    auto fn = it->second.fn;  // copy: the handler may remove its own timer
    fn();
    it = timers_.find(id);
    if (it != timers_.end()) it->second.running = false;
    ran = true;
  }
  // One receive event per turn, so that each waiting loop sees each reply.
  if (serial_.dispatch()) ran = true;
  return ran;
}

void SimPlatform::turn(int wake_within_ms) {
  ++turns_;
  if (run_due()) return;
  int64_t next = next_due();
  int64_t limit = wake_within_ms > 0 ? now_ + wake_within_ms : now_ + 1;
  if (wake_within_ms < 0 && next != std::numeric_limits<int64_t>::max()) limit = next;
  now_ = std::max(now_ + 1, std::min(next, limit));
  run_due();
}

int SimPlatform::add_timer(int interval_ms, std::function<void()> on_tick) {
  int id = next_timer_id_++;
  timers_[id] = Timer{interval_ms, now_ + std::max(1, interval_ms), std::move(on_tick)};
  return id;
}

void SimPlatform::remove_timer(int id) { timers_.erase(id); }

int SimPlatform::time_of_day_s() { return static_cast<int>((day_origin_s_ + now_ / 1000) % 86400); }

void SimPlatform::set_busy(bool busy) {
  busy_ = busy;
  busy_log_.push_back(busy);
}

bool SimPlatform::open_document(const std::string& path) {
  documents_.push_back(path);
  return true;
}

bool SimPlatform::start_command_file(const std::string& path) {
  command_files_.push_back(path);
  return true;
}

bool SimPlatform::run_command_file(const std::string& path, CommandReport report) {
  if (!commands_start_) return false;
  commands_run_.push_back({path, std::move(report)});
  return true;
}

void SimPlatform::end_console() { throw SimProcessEnded(true); }

void SimPlatform::terminate_now() { throw SimProcessEnded(false); }

std::optional<std::string> SimPlatform::env(const std::string& name) {
  auto it = env_.find(name);
  return it == env_.end() ? std::nullopt : it->second;
}

void SimPlatform::set_env(const std::string& name, std::optional<std::string> value) { env_[name] = std::move(value); }

void SimPlatform::at(int64_t at_ms, std::function<void()> fn) { queue_.push_back({at_ms, seq_++, std::move(fn)}); }

void SimPlatform::deliver(int64_t at_ms, std::string bytes) {
  at(at_ms, [this, b = std::move(bytes)] { serial_.arrive(b); });
}

void SimPlatform::run_for(int64_t ms) {
  const int64_t end = now_ + ms;
  while (now_ < end) turn(static_cast<int>(end - now_));
}

bool SimPlatform::run_until(const std::function<bool()>& pred, int64_t limit_ms) {
  const int64_t end = now_ + limit_ms;
  while (!pred()) {
    if (now_ >= end) return false;
    turn(static_cast<int>(end - now_));
  }
  return true;
}

std::string SimPlatform::line_text() const {
  std::string all;
  for (const auto& e : line_) all += e.bytes;
  return all;
}

}  // namespace brivel
