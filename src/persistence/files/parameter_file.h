// The parameter file (.set): one value per line, no keys, a line's meaning
// is its number. Windows-1252 on disk, CR LF line ends. These are the pure
// kernels: the fields to the 162 lines, and bytes back to the assignments in
// file order; who applies them to the console decides what each one sets
// off.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace brivel {

class Model;
struct RunState;

enum class FormeParam {
  Texte,         // T: the line is the field's text, verbatim
  Nombre,        // N: numeric-prefix rule, half to even, 16-bit
  Nombre32,      // N, 32-bit (reserve_set)
  NombreStrict,  // N*: the whole line converted, 16-bit; failure ends the reading
  Ignore,        // read and dropped
};

struct LigneParam {
  int ligne;          // 1 to 162
  std::string champ;  // element name ("Note(3)"), or "reserve_set"
  FormeParam forme;
};

// The 162 lines in order. Line 163 is the empty line that ends a file.
const std::vector<LigneParam>& table_fichier_parametres();

struct AffectationParam {
  int ligne = 0;
  std::string champ;
  FormeParam forme = FormeParam::Texte;
  std::string texte;   // Texte: the value (UTF-8)
  int32_t nombre = 0;  // the number forms
};

struct LectureParametres {
  std::vector<AffectationParam> affectations;  // dropped lines left out
  // All 162 lines were read. A file that ends early, or a line 160 that is
  // no number, stops the reading quietly there.
  bool complet = false;
};

// Text17 (line 157) that comes out empty is given "6".
LectureParametres lit_fichier_parametres(std::string_view octets);


// The 162 lines of the fields as they stand (UTF-8, no line ends): text
// fields verbatim, numbers in the number form (" 1", "-1"). Line 18 repeats
// NBTouches, line 151 repeats Check1; all 63 note entries are written,
// whatever NBTouches says. texte_fichier() adds the closing empty line.
std::vector<std::string> lignes_parametres(const Model& m, const RunState& s);

}  // namespace brivel
