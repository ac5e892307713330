#include "gui/geometry_rules.h"

#include <cmath>

namespace brivel::gui {

int twips_to_px(int twips, double dpi) { return static_cast<int>(std::lround(twips * dpi / 1440.0)); }

NoteCell note_cell(int k) {
  // The first row is short by the two columns that hold the row captions.
  int slot = k - 1 + kNoteFirstColumn;
  return {slot / kNoteColumns, slot % kNoteColumns};
}

}  // namespace brivel::gui
