// The MIDI file seen through the converter's read window. The converter
// reads the file in slices of 1100 bytes and keeps 100 bytes of look-ahead
// behind the window's usable end, so that a field fetched as a block (the
// header, the tempo bytes, a meta text) can run a little past the window.
// Behind the last byte of the file stand nine blanks. Reading a byte at the
// usable end with nothing left in the file is the "unexpected EOF".
//
// Positions here count bytes from the start of the file; the window only
// decides when a refill happens, when the EOF stop comes, and what the
// progress gauge shows.
#pragma once

#include <algorithm>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "import/midi_erreurs.h"

namespace brivel {

class LectureMidi {
 public:
  static constexpr int64_t kTranche = 1100;  // bytes per refill
  static constexpr int64_t kAvance = 100;    // look-ahead kept behind the usable end
  static constexpr int64_t kBlancsFin = 9;   // blanks behind the last byte

  using Jauge = std::function<void(int64_t valeur, int64_t max)>;

  // The first refill happens here: the first 1100 bytes, usable up to 1000,
  // or the whole file, all usable, when it is no longer.
  LectureMidi(std::string_view fichier, const Jauge& jauge)
      : d_(fichier), len_(static_cast<int64_t>(fichier.size())), jauge_(jauge) {
    charge_ = std::min(len_, kTranche);
    utile_ = charge_ == len_ ? len_ : charge_ - kAvance;
    signale();
  }

  int64_t position() const { return pos_; }
  void place(int64_t p) { pos_ = p; }
  void saute(int64_t n) { pos_ += n; }

  // One byte, with the window check that may refill or stop.
  uint8_t octet() {
    // Unsigned, so that a position before the file is caught too.
    if (static_cast<uint64_t>(pos_) >= static_cast<uint64_t>(utile_)) recharge();
    return static_cast<uint8_t>(d_[static_cast<std::size_t>(pos_++)]);
  }

  // A block fetch: no window check. Past the file's end come the nine
  // blanks, and past those nothing: the block is then shorter.
  std::string_view bloc(int64_t n) {
    const int64_t debut = std::clamp<int64_t>(pos_, 0, len_ + kBlancsFin);
    const int64_t fin = std::clamp<int64_t>(pos_ + std::max<int64_t>(n, 0), debut, len_ + kBlancsFin);
    pos_ += n;
    if (fin <= len_) return d_.substr(static_cast<std::size_t>(debut), static_cast<std::size_t>(fin - debut));
    tampon_.assign(d_.substr(static_cast<std::size_t>(std::min(debut, len_))));
    tampon_.append(static_cast<std::size_t>(fin - std::max(debut, len_)), ' ');
    return tampon_;
  }

  // The window check alone, as made before a byte is read.
  void verifie() {
    if (static_cast<uint64_t>(pos_) >= static_cast<uint64_t>(utile_)) recharge();
  }

 private:
  // Refills until the position lies within the window again (a skip may
  // have jumped several windows ahead). The last slice, however long, is
  // usable to its end.
  void recharge() {
    while (pos_ >= utile_) {
      if (charge_ >= len_) throw ArretMidi{kMidiFinInattendue, true};
      charge_ += std::min(kTranche, len_ - charge_);
      utile_ = charge_ == len_ ? len_ : charge_ - kAvance;
      signale();
    }
    if (pos_ < 0) throw ArretMidi{kMidiFinInattendue, true};  // never: positions only move on
  }

  // The gauge shows the file's next read position, 1-based, out of the
  // file's length plus 101.
  void signale() {
    if (jauge_) jauge_(charge_ + 1, len_ + 101);
  }

  std::string_view d_;
  int64_t len_;
  const Jauge& jauge_;
  int64_t pos_ = 0;
  int64_t charge_ = 0;  // bytes of the file read into the window so far
  int64_t utile_ = 0;   // usable end of the window
  std::string tampon_;
};

}  // namespace brivel
