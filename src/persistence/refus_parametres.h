// A parameter file checked whole before anything of it reaches the console
// or the board.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace brivel {

class Model;

// Why the file can't be loaded, in the operator's words, naming the line,
// the field's caption (`m` gives them) and the value: fewer lines than the
// format holds; a line that holds no number where a number belongs; a
// value the machine can't use (a step duration the board doesn't drive, a
// zero that a calculation divides by, a note count beyond the console's).
// Nothing when it can be loaded. The values are read as lit_fichier_parametres
// reads them (the numeric prefix: "6,5" is 6).
std::optional<std::string> refus_fichier_parametres(const Model& m, std::string_view octets);

}  // namespace brivel
