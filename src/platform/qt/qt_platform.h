// The real platform on Qt: the event loop's turn, timers, the serial port on
// QSerialPort, device arrival and removal from udev, dialogs and boxes.
#pragma once

#include <memory>
#include <string>

#include "platform/platform.h"

namespace brivel {

class QtPlatform : public Platform {
 public:
  QtPlatform();
  ~QtPlatform() override;

  // The folder whose links comN give port numbers to any device or
  // pseudo-terminal: <dossier_appli>/ports. Set once dossier_appli is known.
  void set_ports_folder(const std::string& folder);
  // Dialogs answered by someone else (the scripted console); null restores
  // the real dialogs.
  void set_dialogs(Dialogs* dialogs);

  void turn(int wake_within_ms = -1) override;
  int32_t tick_ms() override;
  std::optional<double> fine_ms() override;
  void sleep_fraction_ms(double ms) override;
  void show_changes() override;
  SerialPort& serial() override;
  DeviceNotifier& devices() override;
  Dialogs& dialogs() override;
  int add_timer(int interval_ms, std::function<void()> on_tick) override;
  void remove_timer(int id) override;
  int time_of_day_s() override;
  void set_busy(bool busy) override;
  bool open_document(const std::string& path_or_url) override;
  bool start_command_file(const std::string& path) override;
  bool run_command_file(const std::string& path, CommandReport report) override;
  void end_console() override;
  void terminate_now() override;
  std::optional<std::string> env(const std::string& name) override;

 private:
  struct Impl;
  std::unique_ptr<Impl> d_;
};

}  // namespace brivel
