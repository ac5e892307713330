// The MIDI file on disk: what the opening refuses before converting
// anything, and the file read in pieces for the decoder.
#pragma once

#include <cstdint>
#include <fstream>
#include <optional>
#include <string>

#include "import/midi_lecture.h"

namespace brivel {

// The largest MIDI file opened. A piece's notes fill the event list's 32767
// rows within a few hundred kilobytes of MIDI; a file this big is no piece
// for a card, and its text event file would take some ten times its size in
// Temp/ while it is converted.
inline constexpr int64_t kTailleMaxMidi = 64 * 1024 * 1024;

// Why `chemin` can't be opened as a MIDI file, in French, naming it; empty
// when it is a regular file of at most kTailleMaxMidi bytes that can be
// opened for reading. A directory, a device, a pipe or a missing file is
// refused before a byte is read, so nothing can wait on it for ever.
std::optional<std::string> refus_fichier_midi(const std::string& chemin);

// Why `chemin` can't be read as a small text file (a parameter file, a
// script, a fault script) of at most `max_octets`; empty when it can.
// `quoi` names the file's role in the message ("Fichier de paramètres").
std::optional<std::string> refus_fichier_texte(const std::string& chemin, const std::string& quoi, int64_t max_octets);

// Reads a file that refus_fichier_texte has let through. Empty on a read
// error.
std::optional<std::string> lit_fichier_texte(const std::string& chemin);

// The MIDI file read in slices of 64 KB, as the decoder moves through it.
class SourceFichier : public SourceMidi {
 public:
  // Check with refus_fichier_midi first; ouvert() tells whether it opened.
  explicit SourceFichier(const std::string& chemin);
  bool ouvert() const { return static_cast<bool>(in_); }
  // A read failed on the way (a disk error, a file cut short meanwhile).
  bool erreur() const { return erreur_; }
  int64_t taille() const override { return taille_; }
  std::string_view vue(int64_t debut, int64_t n) override;

 private:
  std::ifstream in_;
  int64_t taille_ = 0;
  std::string tampon_;
  int64_t debut_ = 0;  // file offset of tampon_[0]
  bool erreur_ = false;
};

}  // namespace brivel
