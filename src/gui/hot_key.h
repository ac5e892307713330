// The console's one hot key, Alt+E, taken first wherever the focus lies in
// the console window, whatever the other modifier keys.
#pragma once

#include <QObject>

#include <functional>

class QWidget;

namespace brivel::gui {

// True for the key press that opens the EEPROM utility: key code 69 ("E")
// with Alt held.
bool is_eeprom_hot_key(int key, Qt::KeyboardModifiers mods);

class HotKeyFilter : public QObject {
 public:
  // Watches every key press of the application; acts on those aimed at a
  // widget of `window`.
  HotKeyFilter(QWidget* window, std::function<void()> action);

 protected:
  bool eventFilter(QObject* target, QEvent* ev) override;

 private:
  QWidget* window_;
  std::function<void()> action_;
};

}  // namespace brivel::gui
