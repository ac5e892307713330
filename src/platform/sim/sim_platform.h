// A deterministic platform for tests and rehearsals, on a virtual clock.
//
// A turn runs whatever is due at the present virtual time (scheduled calls,
// timers, receive events). When nothing is due it moves the clock on to the
// next due event, but not past the turn's wake limit, and by 1 ms when there
// is neither. A wait of 2000 ms therefore costs a few turns of real time, and
// every run of a test is the same.
//
// Dialogs and boxes are answered from queues that the test fills; every
// question asked is kept in a transcript. Like a Ninja test fake it records
// what happened: line() is the transcript of bytes written to the serial
// port, with their virtual times.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/platform.h"
#include "platform/sim/faulty_storage.h"
#include "platform/queued_dialogs.h"
#include "platform/receive_buffer.h"

namespace brivel {

// Thrown by the simulated end_console() and terminate_now(): the program
// ends there, so the stack unwinds to the test.
struct SimProcessEnded : std::runtime_error {
  explicit SimProcessEnded(bool quit_sequence)
      : std::runtime_error("process ended"), by_quit(quit_sequence) {}
  bool by_quit;
};

class SimPlatform;

// What stands at the far end of a simulated serial port.
class SerialPeer {
 public:
  virtual ~SerialPeer() = default;
  // Bytes written by the program at virtual time `now_ms`. The peer answers
  // through SimPlatform::deliver().
  virtual void on_bytes(std::string_view bytes, int64_t now_ms) = 0;
  // The modem lines changed (the reset pulse).
  virtual void on_modem_lines(bool /*dtr*/, bool /*rts*/, int64_t /*now_ms*/) {}
};

struct LineEntry {
  int64_t at_ms;
  std::string bytes;
};

class SimSerialPort : public SerialPort {
 public:
  explicit SimSerialPort(SimPlatform& p) : p_(p) {}

  bool set_port_number(int n) override;
  int port_number() const override { return number_; }
  bool open() override;
  void close() override;
  bool is_open() const override { return open_; }
  void set_settings(std::string_view settings) override { settings_ = settings; }
  void set_dtr(bool on) override;
  void set_rts(bool on) override;
  void set_rthreshold(int n) override { buffer_.set_threshold(n); }
  void set_input_len(int n) override { buffer_.set_input_len(n); }
  bool write(std::string_view bytes) override;
  std::string input() override { return buffer_.take(); }
  int in_buffer_count() const override { return buffer_.count(); }
  void set_on_comm(std::function<void(int)> handler) override { on_comm_ = std::move(handler); }
  std::string device_path(int n) const override {
    return ports_.count(n) ? "/dev/sim/com" + std::to_string(n) : std::string();
  }

  // --- test side ---
  // Makes port n exist, with `peer` (may be null: nothing answers) behind it.
  void add_port(int n, SerialPeer* peer = nullptr);
  void remove_port(int n);  // an open port that goes away fails its writes
  void set_busy_port(int n, bool in_use);  // opening fails while in use
  const std::string& settings() const { return settings_; }
  bool dtr() const { return dtr_; }
  bool rts() const { return rts_; }
  int threshold() const { return buffer_.threshold(); }
  int input_len() const { return buffer_.input_len(); }
  int opens() const { return opens_; }
  // Every DTR/RTS change with its time: (time, dtr, rts).
  struct ModemChange { int64_t at_ms; bool dtr, rts; };
  const std::vector<ModemChange>& modem_log() const { return modem_log_; }

 private:
  friend class SimPlatform;
  void arrive(std::string_view bytes);  // bytes from the peer
  bool dispatch();                      // fires a due receive event

  SimPlatform& p_;
  std::map<int, SerialPeer*> ports_;
  std::set<int> busy_;
  int number_ = 1;
  bool open_ = false;
  std::string settings_;
  bool dtr_ = false, rts_ = false;
  ReceiveBuffer buffer_;
  std::function<void(int)> on_comm_;
  int opens_ = 0;
  std::vector<ModemChange> modem_log_;
};

class SimDevices : public DeviceNotifier {
 public:
  void set_on_arrival(std::function<void(int, int, const std::string&)> f) override { arrival_ = std::move(f); }
  void set_on_removal(std::function<void()> f) override { removal_ = std::move(f); }
  std::function<void(int, int, const std::string&)> arrival_;
  std::function<void()> removal_;
};

class SimPlatform : public Platform {
 public:
  SimPlatform();
  ~SimPlatform() override;

  // --- Platform ---
  void turn(int wake_within_ms = -1) override;
  int32_t tick_ms() override;
  SerialPort& serial() override { return serial_; }
  DeviceNotifier& devices() override { return devices_; }
  Dialogs& dialogs() override { return dialogs_; }
  FaultyStorage& storage() override { return storage_; }
  int add_timer(int interval_ms, std::function<void()> on_tick) override;
  void remove_timer(int id) override;
  int time_of_day_s() override;
  void set_busy(bool busy) override;
  bool open_document(const std::string& path) override;
  bool start_command_file(const std::string& path) override;
  bool run_command_file(const std::string& path, CommandReport report) override;
  void end_console() override;
  void terminate_now() override;
  std::optional<std::string> env(const std::string& name) override;

  // --- test side ---
  int64_t now() const { return now_; }
  // The tick is the virtual time plus this offset, wrapped to 32 bits.
  void set_tick_offset(int64_t offset) { tick_offset_ = offset; }
  void set_time_of_day(int seconds_after_midnight_at_zero) { day_origin_s_ = seconds_after_midnight_at_zero; }
  // Runs `fn` inside the first turn at or after virtual time `at_ms`.
  void at(int64_t at_ms, std::function<void()> fn);
  // Bytes from the peer, put into the receive buffer at virtual time `at_ms`.
  void deliver(int64_t at_ms, std::string bytes);
  // Lets virtual time pass with the event loop running.
  void run_for(int64_t ms);
  // Turns until `pred` holds or `limit_ms` of virtual time pass. True if it held.
  bool run_until(const std::function<bool()>& pred, int64_t limit_ms = 600000);

  SimSerialPort& sim_serial() { return serial_; }
  SimDevices& sim_devices() { return devices_; }
  QueuedDialogs& sim_dialogs() { return dialogs_; }
  void set_env(const std::string& name, std::optional<std::string> value);

  const std::vector<LineEntry>& line() const { return line_; }
  // All bytes written, concatenated.
  std::string line_text() const;
  std::vector<bool> busy_log() const { return busy_log_; }
  bool busy() const { return busy_; }
  const std::vector<std::string>& documents() const { return documents_; }
  const std::vector<std::string>& command_files() const { return command_files_; }
  // Scripts given to run_command_file, with what they report: the test makes
  // them speak and end (from inside a turn, through at()).
  struct SimCommand {
    std::string path;
    CommandReport report;
  };
  std::vector<SimCommand>& commands_run() { return commands_run_; }
  // run_command_file fails from now on when false.
  void set_commands_start(bool ok) { commands_start_ = ok; }
  uint64_t turns() const { return turns_; }

 private:
  friend class SimSerialPort;
  struct Scheduled {
    int64_t at;
    uint64_t seq;
    std::function<void()> fn;
  };
  struct Timer {
    int interval;
    int64_t next;
    std::function<void()> fn;
    bool running = false;
  };
  bool run_due();
  int64_t next_due() const;

  int64_t now_ = 0;
  int64_t tick_offset_ = 0;
  int day_origin_s_ = 12 * 3600;
  uint64_t seq_ = 0;
  uint64_t turns_ = 0;
  std::vector<Scheduled> queue_;
  std::map<int, Timer> timers_;
  int next_timer_id_ = 1;
  SimSerialPort serial_;
  SimDevices devices_;
  QueuedDialogs dialogs_;
  FaultyStorage storage_{system_storage()};
  std::map<std::string, std::optional<std::string>> env_;
  std::vector<LineEntry> line_;
  bool busy_ = false;
  std::vector<bool> busy_log_;
  std::vector<std::string> documents_, command_files_;
  std::vector<SimCommand> commands_run_;
  bool commands_start_ = true;
};

}  // namespace brivel
