// The console driven by a plain-text script of operator actions, one per
// line, so that whole stories can be played against a real serial device or
// the simulated platform. The commands:
//   set FIELD TEXT           type TEXT into a text field (TEXT may be empty)
//   check FIELD 0|1|2        set a check box (an option button: 0|1)
//   click NAME               click a button, menu entry, clickable label, perfo(5)...
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

#include <iosfwd>
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
  // The line being played (1-based) and its text, for a console that ends
  // by itself in the middle of it.
  int line_number() const { return line_number_; }
  const std::string& line_text() const { return line_text_; }

 private:
  ScriptResult step(const std::string& line);
  ConsoleApp& app_;
  QueuedDialogs& dialogs_;
  std::ostream& out_;
  int line_number_ = 0;
  std::string line_text_;
};

}  // namespace brivel
