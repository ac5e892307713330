// Intermediate steps of held notes: "PASY" rows, so that the run engine can
// cover a long slot with repeated punches one punch width apart.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace brivel {

// The row count above which the lists stop the program (signed 16-bit count).
inline constexpr int kMaxLignes = 32767;

struct ResultatPasY {
  std::vector<std::string> lignes;  // the List5 rows, in the order found
  int32_t compteur_Y = 0;           // last value the counting loop reached
  bool trop = false;                // passed kMaxLignes: the scan stopped there
};

// Scans a sorted List3 once. Whenever at least one note is open (NOTE rows
// minus NTOF rows, whatever the key) and the next row lies more than
// `largeur` steps on, adds rows at a + largeur, a + 2 largeur and so on:
// the last lies below b and at most one punch width before it.
// `compteur_Y` is the counter's value before the scan; a largeur below 1
// finds nothing.
ResultatPasY lignes_pasy(const std::vector<std::string>& list3, int largeur, int32_t compteur_Y);

}  // namespace brivel
