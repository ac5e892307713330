// A console with the board model, connected, with a piece loaded from a
// hand-written text event file: what the punch-run tests start from.
#pragma once

#include <string>
#include <vector>

#include "board/board_model.h"
#include "import/import_files.h"
#include "support/sim_console.h"

namespace brivel::test {

// A whole text event file around NOTE lines, ending at `end_ms`.
std::string fichier_evenements(const std::vector<std::string>& notes, int end_ms);

BoardOptions fault_script(const char* text);

struct PunchRig : SimConsole {
  explicit PunchRig(BoardOptions options = {});
  // Imports the text event file as an opening would. False if refused.
  bool load(const std::string& events);
  // Opens a chain of three MIDI files a.mid, b.mid, c.mid in <home>/pieces,
  // each one held note of 500 ms, as the operator would. Returns the folder.
  std::string open_chain_of_three();
  // Starts the run and lets it go until Command11_Click returns.
  void punch();
  // Every hole the board recorded, as (X, Y) in motor steps.
  std::vector<std::pair<int, int>> holes() const;
  // The operator clicks "Continuer" `ms` after the run suspends, and again
  // as long as the board says no; the clicks are counted.
  void continue_after(int ms);
  int continues = 0;
  // The service line, each text it showed.
  std::vector<std::string> service;

 private:
  void schedule_continue();
  int continue_ms_ = -1;
};

}  // namespace brivel::test
