// What the operator can ask the window to do by itself at start, for a
// rehearsal or a run from a script: connect to a port, open a piece, punch
// it. Each step is what the operator would do by hand, in the same order:
// type the port number, choose the piece in the open dialog, click
// "Perforer".
#pragma once

#include <string>
#include <vector>

#include "app/console_app.h"

namespace brivel {
class QtPlatform;
}

namespace brivel::start {

struct Options {
  std::string set;     // a parameter file (.set) loaded first; empty: none
  int port = 0;        // 0: leave the port alone
  std::string piece;   // empty: open nothing
  bool punch = false;  // click "Perforer", then end the program with the run
};

// Reads --set FICHIER.set, --port N, --ouvrir FICHIER and --perforer out of
// `args` (they are removed). Empty text, or the reason why an option is refused.
std::string take_options(std::vector<std::string>& args, Options& o);

// Runs the steps on the console. With `punch`, returns the exit status of the
// program (0 when the run ended with "Perforation terminée") after printing
// the holes punched and the time taken; otherwise returns -1 and the window
// stays for the operator.
int run(ConsoleApp& app, Dialogs& real_dialogs, QtPlatform& platform, const Options& o);

}  // namespace brivel::start
