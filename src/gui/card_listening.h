// Listening to the card before it is punched, in the window "Carton": the
// card played as the organ will play it (or the MIDI file as it was), from
// the top of what the view shows or from the run's start bound, with a
// reading bar that crosses the card; its exports as MIDI and WAV. It reads
// the console and never writes into it, nor sends anything to the machine.
#pragma once

#include <QWidget>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>
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
  // The MIDI export; false when the file could not be made, the panel says
  // why.
  bool export_midi(const QString& path);
  // The WAV rendered and written on a thread of its own, the window free
  // meanwhile; the panel says when it is done. One at a time.
  void export_wav_in_background(const QString& path);
  // Waits for that export and says how it ended (the end also comes by
  // itself, at a later turn of the event loop).
  void finish_export();

  // The SoundFont and the programme chosen (kept in the settings).
  QString soundfont() const { return soundfont_; }
  void set_soundfont(const QString& path);

 private:
  void follow();
  void ask_export(bool wav);
  // What a WAV export needs, read from the panel on the window's thread.
  struct WavJob {
    std::vector<SoundingNote> notes;
    std::string soundfont, path;
    int programme = 19;
  };
  WavJob wav_job(const QString& path) const;
  // Renders and writes; what the panel then says.
  static QString run(Storage& disk, const WavJob& job);
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
  QPushButton* wav_ = nullptr;
  std::thread rendering_;
  std::optional<QString> rendered_;  // the end of the export in the background, set by its thread
  std::mutex rendered_mu_;
};

}  // namespace brivel::gui
