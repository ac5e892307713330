// Listening to the card before it is punched, in the window "Carton": the
// card played as the organ will play it (or the MIDI file as it was), from
// the top of what the view shows or from the run's start bound, with a
// reading bar that crosses the card; its exports as MIDI and WAV. It reads
// the console and never writes into it, nor sends anything to the machine.
#pragma once

#include <QWidget>
#include <memory>
#include <vector>

#include "card/card_sound.h"
#include "card/card_synth.h"
#include "card/live_run.h"
#include "console/context.h"

class QCheckBox;
class QComboBox;
class QLabel;
class QPushButton;
class QSpinBox;
class QTimer;

namespace brivel::gui {

class CardCanvas;

class CardListening : public QWidget {
 public:
  CardListening(Context& c, LiveRun& live, CardCanvas& canvas, QWidget* parent);
  ~CardListening() override;

  // "Écouter" and "Arrêter" (and the space bar).
  void toggle();
  bool playing() const { return player_.playing(); }
  // Where the reading bar stands, ms of the piece; empty when not playing.
  std::optional<double> position_ms() const;
  // What the panel says (an error, the SoundFont in use).
  QString said() const;

  // The notes that "Écouter" plays now: the card's, or the piece's.
  std::vector<SoundingNote> notes() const;
  // The exports; false when the file could not be made, the panel says why.
  bool export_midi(const QString& path);
  bool export_wav(const QString& path);

  // The SoundFont and the programme chosen (kept in the settings).
  QString soundfont() const { return soundfont_; }
  void set_soundfont(const QString& path);

 private:
  void follow();
  void ask_export(bool wav);
  double from_ms() const;
  bool bounds_only() const;

  Context& c_;
  LiveRun& live_;
  CardCanvas& canvas_;
  CardPlayer player_;
  double started_from_ms_ = 0, speed_ = 100;
  QString soundfont_;
  QPushButton* play_ = nullptr;
  QSpinBox* speed_box_ = nullptr;
  QComboBox* programme_ = nullptr;
  QCheckBox* original_ = nullptr;
  QLabel* said_ = nullptr;
  QTimer* follow_ = nullptr;
};

}  // namespace brivel::gui
