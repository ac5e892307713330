// From a note in milliseconds to rows of the event list in Y steps.
//
// Row formats, columns from 1 (steps with 7 digits, zero-padded, the key the
// 5-digit key field of the NOTE line copied as it stands):
//   note start  "0001234 00060 NOTE 0001250"
//   note end    "0001250 00060 NTOF "        (ends with the blank)
//   intermediate step "0001241 ##### PASY"
// A step is rounded (halves away from zero) only when its row is written.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace brivel {

// What every note of one opening needs, read from the console once.
struct ReglagesImport {
  double vitesse = 60;      // card speed, mm/s
  double pas_Y_mm = 0.83;   // mm of card per Y step (NbpasY * PasmotY)
  int largeur = 3;          // punch width in Y steps, floor(Poincon / pas_Y_mm), at least 1
  int demi = 2;             // half punch: largeur / 2, half to even
  bool mecanique = false;   // Check4: the last position moves by the finger
  double doigt = 0;         // finger correction in steps, Text16 / pas_Y_mm, not rounded
  bool ponts = false;       // PontY, converted as a whole, is not 0
  double pont = 0;          // PontY by the numeric-prefix rule, Y steps
  double seuil = 6;         // Text17: shorter than seuil punch widths, no bridges
  int transposition = 0;    // semitones added to each note as it is read
};

// The fields of a NOTE line of the text event file that the import uses.
struct LigneNote {
  double debut_ms = 0;   // columns 5 to 12
  std::string cle;       // columns 27 to 31, five digits
  double duree_ms = 0;   // columns 33 to 37
};

// A NOTE line to be turned into rows. Empty for any other line, for a NOTE
// line whose start is 999999, and for a line too short to hold the
// duration (37 columns).
std::optional<LigneNote> lit_ligne_note(std::string_view ligne);

// The three positions of one note, in fractional steps.
struct PositionsNote {
  double debut = 0;     // start in steps, half punch included
  double longueur = 0;  // whole steps (floor)
  double derniere = 0;  // where the last punch falls, finger included
};
PositionsNote positions_note(const LigneNote& n, const ReglagesImport& r);

// Appends the rows of one note: the two rows of a plain note, or the rows of
// a bridged note.
void lignes_note(const LigneNote& n, const ReglagesImport& r, std::vector<std::string>& out);

// Row texts.
std::string ligne_debut(double pas, std::string_view cle, double fin);
std::string ligne_fin(double pas, std::string_view cle);
std::string ligne_pasy(double pas);

}  // namespace brivel
