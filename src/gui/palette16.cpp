#include "gui/palette16.h"

#include "console/elements.h"

namespace brivel::gui {

long palette16_rgb(int index) {
  // Dark colours 0..7, then their bright forms 8..15.
  static constexpr long kTable[16] = {0x000000, 0x000080, 0x008000, 0x008080, 0x800000, 0x800080,
                                      0x808000, 0xC0C0C0, 0x808080, 0x0000FF, 0x00FF00, 0x00FFFF,
                                      0xFF0000, 0xFF00FF, 0xFFFF00, 0xFFFFFF};
  if (index < 0 || index > 15) return -1;
  return kTable[index];
}

QColor console_color(int index, const QPalette& system) {
  switch (index) {
    case palette::kWindow: return system.color(QPalette::Base);
    case palette::kMenu: return system.color(QPalette::Window);
    case palette::kButtonFace: return system.color(QPalette::Button);
    default: break;
  }
  long rgb = palette16_rgb(index);
  if (rgb < 0) return QColor();
  return QColor(static_cast<QRgb>(rgb));
}

}  // namespace brivel::gui
