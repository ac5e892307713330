// Our own generator of Standard MIDI Files, for benchmarks, seeds and the
// sample piece: tracks of notes with chords, long held notes, running status
// and tempo changes.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace brivel::gen {

struct Note {
  uint32_t start_tick, length_ticks;
  uint8_t key, velocity, channel;
};

struct Tempo {
  uint32_t tick, us_per_quarter;
};

struct Piece {
  int format = 1;
  int division = 480;
  std::vector<Tempo> tempi;               // in the first track (format 1) or with the notes
  std::vector<std::vector<Note>> tracks;  // note tracks
};

// The file's bytes. Note-offs are note-ons of velocity 0 under running
// status; tempi go to a track of their own in format 1, into the first
// track otherwise. In format 0 all note tracks are merged into one.
std::string write_smf(const Piece& p);

// A piece of about `target_bytes`: `tracks` note tracks with chords of three
// keys from the default scale, a long held note every bar, and `tempi`
// tempo changes spread evenly over it (the decoder takes at most 998).
// Format 0 puts all of it in one track; format 1 adds a tempo track.
Piece make_piece(std::size_t target_bytes, int tracks, int tempi, int format = 1);

}  // namespace brivel::gen
