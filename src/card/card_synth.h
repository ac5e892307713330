// The card played through a General MIDI synthesiser (FluidSynth) with a
// SoundFont: rendered whole into samples (the WAV export), or played live
// on the desktop's audio output while the card view follows. Neither
// touches the machine.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "card/card_sound.h"

namespace brivel {

namespace detail {
struct FluidHandle;
}

// The SoundFont used when the operator has chosen none: the system's
// General MIDI one, or "" when none is installed.
std::string default_soundfont();

// Why `path` can't give sounds, in French; "" when it can.
std::string soundfont_refusal(const std::string& path);

// The General MIDI programmes a card maker listens with: number and name.
struct Programme {
  int number;
  const char* name;
};
const std::vector<Programme>& programmes();

inline constexpr int kRenderRate = 44100;

struct Rendering {
  std::vector<int16_t> stereo;  // left, right, at kRenderRate
  std::string error;            // French; samples empty then
};
// Every note played on `programme`, and a second of the sound dying away.
Rendering render_notes(const std::vector<SoundingNote>& notes, const std::string& soundfont, int programme);

// Live playback on a thread of its own: the window never waits for it.
class CardPlayer {
 public:
  CardPlayer();
  ~CardPlayer();
  CardPlayer(const CardPlayer&) = delete;
  CardPlayer& operator=(const CardPlayer&) = delete;

  // Plays `notes` (their times from now); "" when playing, or why not: no
  // SoundFont, no audio output.
  std::string play(const std::vector<SoundingNote>& notes, const std::string& soundfont, int programme);
  void stop();
  bool playing() const { return playing_; }
  // Milliseconds since the start, in the notes' own time, as heard: the
  // output's buffer behind what was sent.
  double position_ms() const;

 private:
  std::unique_ptr<detail::FluidHandle> synth_;
  std::thread thread_;
  std::atomic<bool> stop_{false}, playing_{false};
  std::atomic<int64_t> started_ns_{0};
  double latency_ms_ = 0;
};

}  // namespace brivel
