// The console window: a Qt view of the console model. It holds no logic of
// its own: what shows, what is enabled, every text and colour comes from the
// model, and the operator's gestures go back to the model, whose handlers do
// the work. The three pages are the frames the page routines show; the
// About box and the EEPROM utility are windows of their own.
#pragma once

#include <QMainWindow>
#include <functional>
#include <memory>
#include <vector>

#include "console/context.h"
#include "gui/binder.h"
#include "gui/page_areas.h"

namespace brivel::gui {

class FormWindow;
class CardWindow;

class MainWindow : public QMainWindow {
 public:
  // `on_close` runs when the window is closed by any road (title bar,
  // window manager): the console's quit sequence, Form_QueryUnload.
  MainWindow(Context& c, std::function<void()> on_close);
  ~MainWindow() override;

  Binder& binder() { return *binder_; }
  FormWindow* about_box() const { return about_; }
  FormWindow* eeprom_box() const { return eeprom_; }
  FormWindow* upload_window() const { return upload_; }
  CardWindow* card_window() const { return card_; }

  // Lays the window out again for what the model now shows and gives it the
  // size of its page: the model's size in twips as a wish, never smaller
  // than what the frames need to be read.
  void relayout();
  // The size the model asks for, in pixels of this screen.
  QSize wished_size() const;

  // Alt+E: opens the EEPROM utility 400 twips right of and below the
  // window's top left corner, without blocking the console.
  void open_eeprom_box();

 protected:
  void closeEvent(QCloseEvent* ev) override;

 private:
  void schedule_relayout();

  Context& c_;
  std::function<void()> on_close_;
  std::unique_ptr<Binder> binder_;
  std::vector<Area> areas_;
  FormWindow* about_ = nullptr;
  FormWindow* eeprom_ = nullptr;
  FormWindow* upload_ = nullptr;
  CardWindow* card_ = nullptr;
  QObject* hot_key_ = nullptr;
  bool relayout_pending_ = false;
};

}  // namespace brivel::gui
