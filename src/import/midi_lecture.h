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

// Where the bytes of a MIDI file come from: the file itself, read in
// pieces so that memory does not grow with its size, or bytes already in
// memory (tests, the fuzz target).
class SourceMidi {
 public:
  virtual ~SourceMidi() = default;
  virtual int64_t taille() const = 0;
  // Bytes from `debut` on: at least `n` of them, or all up to the end of
  // the file when fewer remain. The view stays valid until the next call.
  virtual std::string_view vue(int64_t debut, int64_t n) = 0;
};

class SourceMemoire : public SourceMidi {
 public:
  explicit SourceMemoire(std::string_view octets) : d_(octets) {}
  int64_t taille() const override { return static_cast<int64_t>(d_.size()); }
  std::string_view vue(int64_t debut, int64_t) override {
    return d_.substr(static_cast<std::size_t>(std::clamp<int64_t>(debut, 0, taille())));
  }

 private:
  std::string_view d_;
};

class LectureMidi {
 public:
  static constexpr int64_t kTranche = 1100;  // bytes per refill
  static constexpr int64_t kAvance = 100;    // look-ahead kept behind the usable end
  static constexpr int64_t kBlancsFin = 9;   // blanks behind the last byte

  using Jauge = std::function<void(int64_t valeur, int64_t max)>;

  // The first refill happens here: the first 1100 bytes, usable up to 1000,
  // or the whole file, all usable, when it is no longer.
  LectureMidi(SourceMidi& fichier, const Jauge& jauge) : src_(fichier), len_(fichier.taille()), jauge_(jauge) {
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
    if (pos_ < vue_debut_ || pos_ >= vue_debut_ + static_cast<int64_t>(vue_.size())) {
      vue_ = src_.vue(pos_, 1);
      vue_debut_ = pos_;
      if (vue_.empty()) throw ArretMidi{kMidiFinInattendue, true};  // the file shrank under us
    }
    return static_cast<uint8_t>(vue_[static_cast<std::size_t>(pos_++ - vue_debut_)]);
  }

  // A block fetch: no window check. Past the file's end come the nine
  // blanks, and past those nothing: the block is then shorter.
  std::string_view bloc(int64_t n) {
    const int64_t debut = std::clamp<int64_t>(pos_, 0, len_ + kBlancsFin);
    const int64_t fin = std::clamp<int64_t>(pos_ + std::max<int64_t>(n, 0), debut, len_ + kBlancsFin);
    pos_ += n;
    tampon_.clear();
    if (debut < len_) {
      const int64_t dans = std::min(fin, len_) - debut;
      std::string_view v = src_.vue(debut, dans);
      tampon_.assign(v.substr(0, static_cast<std::size_t>(std::min<int64_t>(dans, static_cast<int64_t>(v.size())))));
    }
    tampon_.append(static_cast<std::size_t>(fin - debut) - tampon_.size(), ' ');
    vue_ = {};  // the source may have reused the memory of the view
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

  SourceMidi& src_;
  int64_t len_;
  std::string_view vue_;  // bytes of the file from vue_debut_ on, as the source gave them
  int64_t vue_debut_ = 0;
  const Jauge& jauge_;
  int64_t pos_ = 0;
  int64_t charge_ = 0;  // bytes of the file read into the window so far
  int64_t utile_ = 0;   // usable end of the window
  std::string tampon_;
};

}  // namespace brivel
