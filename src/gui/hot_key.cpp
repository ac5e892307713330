#include "gui/hot_key.h"

#include <QKeyEvent>
#include <QWidget>

namespace brivel::gui {

bool is_eeprom_hot_key(int key, Qt::KeyboardModifiers mods) { return key == 69 && (mods & Qt::AltModifier); }

HotKeyFilter::HotKeyFilter(QWidget* window, std::function<void()> action)
    : QObject(window), window_(window), action_(std::move(action)) {}

bool HotKeyFilter::eventFilter(QObject* target, QEvent* ev) {
  if (ev->type() != QEvent::KeyPress) return false;
  auto* key = static_cast<QKeyEvent*>(ev);
  if (!is_eeprom_hot_key(key->key(), key->modifiers())) return false;
  auto* w = qobject_cast<QWidget*>(target);
  if (!w || w->window() != window_) return false;
  action_();
  return true;  // nothing else sees it: the same press reaches the filter once per widget it climbs
}

}  // namespace brivel::gui
