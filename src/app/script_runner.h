// The console driven by a plain-text script of operator actions, one per
// line, so that whole stories can be played against a real serial device or
// the simulated platform. The commands:
//   set FIELD TEXT           type TEXT into a text field (TEXT may be empty)
//   check FIELD 0|1|2        set a check box (an option button: 0|1)
//   click NAME               click a button, menu entry, clickable label, perfo(5)...
//                            and run its handler to the end
//   start NAME               click, and play the next lines inside the
//                            handler's waits, as an operator's clicks come
//                            while a run, a calibration or a feed goes on; a
//                            quit is refused while it still runs
//   finish                   the next lines wait until the handler started by
//                            "start" has ended
//   select File1 NAME        pick a row of a list by its text and click it
//   answer open PATH...      next open dialog gets PATH (several, of one folder: a
//                            multiple selection; paths have no blanks)
//   answer save PATH         next save dialog gets PATH
//   answer yes|no|ok         next box gets that button
//   answer input TEXT        next input box gets TEXT
//   wait FIELD = TEXT [S]    turn the event loop until FIELD reads TEXT (S seconds, default 10)
//   wait FIELD ~ REGEX [S]   the same with a regular expression (ECMAScript, whole text)
//   expect FIELD = TEXT      FIELD must read TEXT now (or ~ REGEX)
//   pause MS                 wait MS milliseconds (0 or more) with the console live
//   print FIELD              print FIELD=value on the output
//   quit                     the quit sequence
// A field reads as its value for check boxes, option buttons and gauges, as
// its palette colour for lamps (10 green, 12 red, -1 none), as its text or
// caption otherwise. "#" starts a comment line. Typing, checking and picking
// need an element the operator can reach (enabled and shown), as clicking does.
#pragma once

#include <functional>
#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

#include "app/console_app.h"
#include "platform/queued_dialogs.h"

namespace brivel {

enum class ScriptStatus { Ok = 0, Failed = 1, ScriptError = 2 };

struct ScriptResult {
  ScriptStatus status = ScriptStatus::Ok;
  int line = 0;         // the line that failed, 1-based
  std::string message;  // what was expected and what was seen
  bool quit = false;    // the script ended by "quit"
};

// What a field shows to a script.
std::string script_value(const Element& e);

class ScriptRunner {
 public:
  ScriptRunner(ConsoleApp& app, QueuedDialogs& dialogs, std::ostream& out) : app_(app), dialogs_(dialogs), out_(out) {}
  // Runs the script text line by line, stopping at the first failure.
  ScriptResult run(const std::string& script);
  // Called when a line played inside a started handler fails (or is a
  // quit): the handler can't be unwound, so the program ends there. Unset,
  // the player stops and run() returns the failure once the handler ends.
  std::function<void(const ScriptResult&)> end_now;
  // The line being played (1-based) and its text, for a console that ends
  // by itself in the middle of it.
  int line_number() const { return line_number_; }
  const std::string& line_text() const { return line_text_; }

 private:
  // A wait or pause under way: the line is done once `holds`, failed once
  // the time is out.
  struct Pending {
    int line = 0;
    std::function<bool()> holds;
    double until_ms = 0;
    std::function<std::string()> failure;
    bool expired(double now) const { return now >= until_ms; }
  };
  static constexpr int kTickMs = 10;  // how often a started handler lets the script play

  ScriptResult step(const std::string& line);
  // Plays lines until the end, a failure or a quit; inside a started
  // handler (`in_handler`) it also returns at a wait that doesn't hold yet,
  // to be taken up at the next tick.
  ScriptResult play(bool in_handler);
  ScriptResult at_line(int number, ScriptResult r);
  ScriptResult start(Element& e, const std::string& name);
  void tick();

  std::vector<std::string> lines_;
  size_t next_ = 0;
  std::optional<Pending> pending_;
  std::optional<ScriptResult> ended_;
  int started_ = 0;  // handlers started by "start" still on the stack
  int parked_at_ = 0;  // "finish" stopped the player of that started handler
  int playing_ = 0;  // players running inside them
  std::string started_name_;
  ConsoleApp& app_;
  QueuedDialogs& dialogs_;
  std::ostream& out_;
  int line_number_ = 0;
  std::string line_text_;
};

}  // namespace brivel
