#include <gtest/gtest.h>

#include "console/elements.h"
#include "gui/geometry_rules.h"
#include "gui/hot_key.h"
#include "gui/palette16.h"

namespace brivel::gui {
namespace {

TEST(NoteTable, FiveRowsOfThirteenFirstRowFromTheThirdColumn) {
  struct Case {
    int k;
    NoteCell cell;
  } cases[] = {
      {1, {0, 2}},  {11, {0, 12}},                 // 11 entries fill the first row
      {12, {1, 0}}, {24, {1, 12}},                 // 13 in each further row
      {25, {2, 0}}, {51, {4, 0}},  {63, {4, 12}},  // the last entry ends the fifth row
  };
  for (const auto& c : cases) EXPECT_EQ(note_cell(c.k), c.cell) << "k=" << c.k;
}

TEST(Twips, ToPixelsAtTheScreensDpi) {
  struct Case {
    int twips;
    double dpi;
    int px;
  } cases[] = {
      {1440, 96, 96},  {400, 96, 27},  // 26.67 rounds up
      {6810, 96, 454}, {8505, 96, 567}, {6660, 96, 444}, {400, 120, 33}, {0, 96, 0}, {15, 96, 1},
  };
  for (const auto& c : cases) EXPECT_EQ(twips_to_px(c.twips, c.dpi), c.px) << c.twips << " at " << c.dpi;
}

TEST(Palette, SixteenConsoleColours) {
  struct Case {
    int index;
    long rgb;
  } cases[] = {
      {0, 0x000000}, {4, 0x800000}, {7, 0xC0C0C0}, {8, 0x808080}, {16, -1}, {-1, -1},
      {10, 0x00FF00},  // lamp on: bright green
      {12, 0xFF0000},  // a note that is on: light red
      {13, 0xFF00FF},  // a note that is closing: light magenta
      {15, 0xFFFFFF},  // idle: white
  };
  for (const auto& c : cases) EXPECT_EQ(palette16_rgb(c.index), c.rgb) << c.index;
}

TEST(Palette, NoColourAndSystemColours) {
  QPalette sys;
  sys.setColor(QPalette::Button, QColor(1, 2, 3));
  sys.setColor(QPalette::Window, QColor(4, 5, 6));
  EXPECT_FALSE(console_color(palette::kNone, sys).isValid());
  EXPECT_EQ(console_color(palette::kButtonFace, sys), QColor(1, 2, 3));
  EXPECT_EQ(console_color(palette::kMenu, sys), QColor(4, 5, 6));
  EXPECT_EQ(console_color(12, sys), QColor(255, 0, 0));
}

TEST(HotKey, AltEWhateverTheOtherModifiers) {
  struct Case {
    int key;
    Qt::KeyboardModifiers mods;
    bool opens;
  } cases[] = {
      {Qt::Key_E, Qt::AltModifier, true},      {Qt::Key_E, Qt::AltModifier | Qt::ShiftModifier, true},
      {Qt::Key_E, Qt::NoModifier, false},      {Qt::Key_E, Qt::AltModifier | Qt::ControlModifier, true},
      {Qt::Key_E, Qt::ControlModifier, false}, {Qt::Key_R, Qt::AltModifier, false},
  };
  for (const auto& c : cases) EXPECT_EQ(is_eeprom_hot_key(c.key, c.mods), c.opens) << c.key << " " << c.mods;
}

}  // namespace
}  // namespace brivel::gui
