// The platform seam: everything that touches the operating system. The
// domain logic sees only these interfaces; platform/qt/ implements them for
// the real program and platform/sim/ for tests and rehearsals.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "core/event_loop.h"
#include "platform/storage.h"

namespace brivel {

// The serial line to the controller board, with the receive-event behaviour
// of the older serial controls: the receive event (comm event 2) comes at a
// turn of the event loop while at least `rthreshold` characters wait in the
// input buffer; one input() takes at most `input_len` of them.
class SerialPort {
 public:
  static constexpr int kEvReceive = 2;

  virtual ~SerialPort() = default;

  // Selects the port by its number. Fails while the port is open, or for a
  // number the platform refuses (0 and below, no such port in its table).
  virtual bool set_port_number(int n) = 0;
  virtual int port_number() const = 0;

  // Opens the selected port. Fails if it doesn't exist, is in use, or is open.
  virtual bool open() = 0;
  virtual void close() = 0;
  virtual bool is_open() const = 0;

  virtual void set_settings(std::string_view settings) = 0;  // "57600,n,8,1"
  virtual void set_dtr(bool on) = 0;
  virtual void set_rts(bool on) = 0;
  virtual void set_rthreshold(int n) = 0;
  virtual void set_input_len(int n) = 0;

  // Writes the bytes to the line at once. False when the port is closed or
  // the device has gone.
  virtual bool write(std::string_view bytes) = 0;
  // Takes up to input_len characters out of the input buffer.
  virtual std::string input() = 0;
  virtual int in_buffer_count() const = 0;

  // The receive handler (OnComm). It runs only inside a turn of the event loop.
  virtual void set_on_comm(std::function<void(int comm_event)> handler) = 0;

  // Why the last opening failed or the open port was lost, in French, with
  // the port's number and device ("Port 7 (/dev/ttyACM0) : accès refusé —
  // ..."); empty after a good opening, or where nothing is known.
  virtual std::string last_error() const { return {}; }

  // The device path of port n, for outside programs that open the port
  // themselves (the firmware uploader); "" when the number names no device.
  virtual std::string device_path(int /*n*/) const { return {}; }
};

// Arrival and removal of devices. An arrival of a serial port is reported
// with type 3, identity 0 and a name "COM<n>", n being the port number by
// which SerialPort::set_port_number reaches it.
class DeviceNotifier {
 public:
  virtual ~DeviceNotifier() = default;
  virtual void set_on_arrival(std::function<void(int type, int id, const std::string& name)>) = 0;
  virtual void set_on_removal(std::function<void()>) = 0;
};

struct FileDialogRequest {
  std::string filter;        // "Fichiers (*.mid)|*.mid|Tous (*.*)|*.*|"
  int filter_index = 1;      // 1-based
  std::string start_name;    // folder and/or file name proposed
  bool multi_select = false;
  bool overwrite_prompt = false;
};

enum class BoxButtons { Ok, YesNoDefaultNo, YesNoDefaultYes };
enum class BoxAnswer { Ok, Yes, No };

class Dialogs {
 public:
  virtual ~Dialogs() = default;
  // The chosen path, or "" on a cancel. With several files chosen in a
  // multiple selection: the folder, a '\0', and the names separated by '\0'.
  virtual std::string open_file(const FileDialogRequest& req) = 0;
  virtual std::string save_file(const FileDialogRequest& req) = 0;
  // A modal box; the caller's handler waits inside it.
  virtual BoxAnswer message_box(const std::string& text, BoxButtons buttons) = 0;
  // Empty result on a cancel.
  virtual std::optional<std::string> input_box(const std::string& prompt, const std::string& default_answer) = 0;
};

class Platform : public EventLoop {
 public:
  virtual SerialPort& serial() = 0;
  virtual DeviceNotifier& devices() = 0;
  virtual Dialogs& dialogs() = 0;

  // A repeating timer; the callback runs inside a turn. Ids are never reused.
  virtual int add_timer(int interval_ms, std::function<void()> on_tick) = 0;
  virtual void remove_timer(int id) = 0;

  // Time of day, seconds after midnight, for the deferred start.
  virtual int time_of_day_s() = 0;

  // The mouse pointer's hourglass.
  virtual void set_busy(bool busy) = 0;

  // Opens a document or address with the system's viewer. False if nothing
  // could be started.
  virtual bool open_document(const std::string& path_or_url) = 0;
  // Starts a command file in a terminal window and returns at once.
  virtual bool start_command_file(const std::string& path) = 0;

  // Runs the shell script `path` in the background and returns at once; its
  // standard output and errors, mixed in the order they come, go to
  // `on_output` piece by piece, then its end to `on_end`. Both run inside
  // turns. False when it could not be started (nothing is called then).
  struct CommandReport {
    std::function<void(const std::string& text)> on_output;
    std::function<void(int exit_code, bool crashed)> on_end;
  };
  virtual bool run_command_file(const std::string& /*path*/, CommandReport /*report*/) { return false; }

  // Ends this console's own process, and a run on its stack with it;
  // another console of the same user, driving another punch, lives on. Does
  // not return in the real program.
  virtual void end_console() = 0;
  // Ends this process at once, without any quit sequence.
  virtual void terminate_now() = 0;

  virtual std::optional<std::string> env(const std::string& name) = 0;

  // The disk the console reads and writes its files on.
  virtual Storage& storage() { return system_storage(); }
};

}  // namespace brivel
