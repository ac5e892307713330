// What the card plays: the organ reads a hole from the moment its leading
// edge reaches the reading bar until its trailing edge leaves it, so a run
// of overlapping punches on one track sounds as one note. These are the
// pure kernels behind listening to a card: its notes, the original piece's
// notes for a comparison, and the card as a Standard MIDI File or a WAV.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "card/card_layout.h"

namespace brivel {

struct SoundingNote {
  int track = 0;  // Note(k) of the organ, from 1; 0 for the original piece
  int note = 0;   // MIDI note number
  double on_ms = 0, off_ms = 0;
  bool operator==(const SoundingNote&) const = default;
};

// The notes of the card's holes between the steps `from` and `to` (the
// holes whose punch starts there), in the order they sound; times from the
// card's start at the piece's pace (ms_per_step).
std::vector<SoundingNote> card_notes(const CardLayout& l, double from_step, double to_step);

// The notes of the piece as the MIDI file holds them, before the card was
// made: the NOTE lines of the text event file (start, duration in ms, key).
std::vector<SoundingNote> piece_notes_ms(std::string_view event_text);

// A Standard MIDI File of the notes, format 1, 480 ticks a quarter at
// 120 beats a minute (a tick is 1.0417 ms): a tempo track, then one track
// per organ track that sounds, named by `names` (index track - 1), or with
// `one_track` a single track of all the notes. Every track plays programme
// `programme` (0 to 127) on channel 1.
std::string card_midi(const std::vector<SoundingNote>& notes, const std::vector<std::string>& names, int programme,
                      bool one_track = false);

// A RIFF WAV file of 16-bit stereo samples, left and right interleaved.
std::string wav_file(const std::vector<int16_t>& stereo, int rate);

// The notes `speed_percent` faster (200: twice as fast), from `from_ms` on:
// what playing from a point of the card at a speed hears.
std::vector<SoundingNote> at_speed(const std::vector<SoundingNote>& notes, double from_ms, double speed_percent);

}  // namespace brivel
