// Bridges: a long note punched as separate holes with strips of uncut card
// between them, all notes on one common grid of steps; and the calculator
// that proposes a pair NbpasY / PontY for a wanted bridge length.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace brivel {

// Appends the rows of a bridged note. `debut` and `derniere` are the
// fractional start and last position (finger included), `largeur` the punch
// width and `pont` the PontY value, in Y steps. The pitch,
// floor(pont) + largeur, must be at least 1: the caller refuses a pitch of 0
// or less before the import, and this does nothing with one.
void lignes_pontees(double debut, double derniere, int largeur, double pont, std::string_view cle,
                    std::vector<std::string>& out);

// One solution of the calculator.
struct SolutionPont {
  double pont_mm = 0;  // uncut card between two holes
  double pas_mm = 0;   // card per Y step, a * PasmotY
  int a = 0;           // candidate NbpasY
  int k = 0;           // candidate PontY
};

// Every (a, k) from 1 to floor(poincon / pasmot) each whose bridge lies
// strictly between mini and maxi, in the order of the search. a and k stop
// at kMaxCalcul, the largest value that the two-digit columns of
// Liste_pont_int hold; `limite` (if given) is set when the search was cut
// there. A pasmot of 0 or less gives nothing.
inline constexpr int kMaxCalcul = 99;
std::vector<SolutionPont> solutions_ponts(double poincon, double pasmot, double mini, double maxi,
                                          bool* limite = nullptr);

// Row of Liste_pont: 8 blanks, bridge "0.00", 14 blanks, step "0.000".
std::string ligne_liste_pont(const SolutionPont& s);
// Row of Liste_pont_int: 6 blanks, bridge, 6 blanks, step, 6 blanks, a "00",
// 6 blanks, k "00".
std::string ligne_liste_pont_int(const SolutionPont& s);

// NbpasY and PontY of a row of Liste_pont_int, read as its third and fourth
// numbers, so that a bridge of 10 mm or more or a value of 100 or more,
// which push the columns on, still read right. Empty for a row without them.
struct ChoixPont {
  int NbpasY = 0;
  int PontY = 0;
};
std::optional<ChoixPont> lit_ligne_pont_int(std::string_view ligne);

}  // namespace brivel
