// One row of List3 as the run reads it, by fixed columns.
#pragma once

#include <string>
#include <string_view>

namespace brivel {

struct LigneRun {
  double pas = 0;        // columns 1 to 7: the position in Y steps
  double note = 0;       // columns 9 to 13: the MIDI note ("#####" in a PASY row reads 0)
  std::string mot;       // columns 15 to 18: "NOTE", "NTOF" or "PASY"
  std::string fin;       // columns 19 to 26 of a NOTE row: its end step, with the leading blank
};

// Columns beyond the end of a short row read as empty.
LigneRun lit_ligne_run(std::string_view ligne);

}  // namespace brivel
