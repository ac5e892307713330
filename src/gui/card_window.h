// The window "Carton" (menu "Fenêtre", F4): the card of the piece as it will
// be punched, followed live during a run, with the notes outside the scale,
// the best transpositions and the export to SVG and PDF. Beside the progress
// bar of the main window it puts the run's remaining time. It watches the
// console and writes into it only the transposition chosen by one of its
// buttons, which reads the piece again.
#pragma once

#include <QWidget>
#include <memory>

#include "card/live_run.h"
#include "persistence/journal/hole_journal.h"

class QCheckBox;
class QHBoxLayout;
class QLabel;
class QMainWindow;
class QMenuBar;
class QTimer;

namespace brivel::gui {

class Binder;
class CardCanvas;
class CardListening;

class CardWindow : public QWidget {
 public:
  CardWindow(Context& c, QWidget* parent);
  ~CardWindow() override;

  LiveRun& live() { return *live_; }
  CardCanvas* canvas() const { return canvas_; }
  CardListening* listening() const { return listening_; }
  // The remaining time, or the end of the last run, in words.
  QString run_text() const;
  // Writes the card (the bounds only if asked) to `path`, SVG or PDF by its
  // extension. False if the file could not be written.
  bool export_to(const QString& path, bool bounds_only) const;

  // Sends the head over the track of the last hole that the journal holds
  // for the piece, through the note page's button. False when there is none
  // or the machine is busy.
  bool head_to_last_hole();

  // The label beside the progress bar, kept up to date by this window.
  void set_status_label(QLabel* l);

 protected:
  void showEvent(QShowEvent* ev) override;

 private:
  void changed();
  void fill_margin();
  void ask_export(bool pdf);
  // Reads the piece again with `shift` more semitones.
  void transpose(int shift);

  Context& c_;
  std::unique_ptr<LiveRun> live_;
  int piece_events_ = 0;  // a new piece: the card shown from its start
  CardCanvas* canvas_ = nullptr;
  CardListening* listening_ = nullptr;
  QLabel* margin_ = nullptr;
  QHBoxLayout* shifts_ = nullptr;  // one button per proposed transposition
  QLabel* state_ = nullptr;
  QLabel* status_ = nullptr;
  QCheckBox* bounds_only_ = nullptr;
  QTimer* tick_ = nullptr;
};

// Makes the card window, its entry "Carton" with F4 in the menu "Fenêtre"
// and the remaining time beside gauge1.
CardWindow* install_card_window(Context& c, Binder& b, QMenuBar* bar, QWidget* parent);

}  // namespace brivel::gui
