// Small rules of the window's geometry, free of widgets so they can be
// checked by table.
#pragma once

namespace brivel::gui {

// Screen pixels for a length in twips (1440 to the inch) at `dpi` logical
// dots per inch, to the nearest pixel.
int twips_to_px(int twips, double dpi);

// Where entry k (1..63) of the note table stands on the page "Définition des
// notes": five rows of 13 columns, entries 1..11 in the first row from its
// third column, then 13 entries in each further row. Row and column from 0.
// Each row is three lines on screen: note, position, button.
struct NoteCell {
  int row = 0;
  int column = 0;
  bool operator==(const NoteCell&) const = default;
};
inline constexpr int kNoteColumns = 13;
inline constexpr int kNoteFirstColumn = 2;
NoteCell note_cell(int k);

}  // namespace brivel::gui
