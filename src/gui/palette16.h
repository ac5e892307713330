// Colours of the console by number: the 16 colours of the old console
// palette, and the three system colours the model names (window, menu,
// button face), which follow the desktop's own palette.
#pragma once

#include <QColor>
#include <QPalette>

namespace brivel::gui {

// 0xRRGGBB of palette entry 0..15; -1 for any other number.
long palette16_rgb(int index);

// The colour to paint for a model colour index. An invalid QColor for
// palette::kNone and for numbers that mean nothing: the widget keeps its own.
QColor console_color(int index, const QPalette& system);

}  // namespace brivel::gui
