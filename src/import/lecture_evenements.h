// Reading the text event file back: every NOTE line becomes its rows, all
// tracks and channels together; the sorted List3 then merges them into one
// time line.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "import/quantisation.h"

namespace brivel {

struct LectureEvenements {
  std::vector<std::string> lignes;  // rows for List3, in the order made (unsorted)
  int16_t nb_hors_gamme = 0;        // NOTE lines whose key no track holds
  bool head = false;                // a HEAD line was read: the conversion ran to its end
  bool trop = false;                // the rows passed 32767: reading stopped after that line
};

// The text event file read as it comes, in pieces of any size: memory holds
// one line and the rows, never the whole text. Lines end at CR LF, LF or a
// lone CR; a last line without its end is read by fin().
class LecteurEvenements {
 public:
  // `gamme` as for lit_evenements; it must outlive the reader.
  LecteurEvenements(const ReglagesImport& r, const std::vector<double>* gamme, int deja = 0)
      : r_(r), gamme_(gamme), deja_(deja) {}
  // Reads the complete lines of `morceau`. False once the rows have passed
  // 32767: nothing more is read then.
  bool ajoute(std::string_view morceau);
  void fin();
  bool trop() const { return l_.trop; }
  LectureEvenements& resultat() { return l_; }

 private:
  void ligne(std::string_view octets);
  const ReglagesImport& r_;
  const std::vector<double>* gamme_;
  int deja_;
  LectureEvenements l_;
  std::string reste_;           // the line begun at the end of the last piece
  bool cr_en_suspens_ = false;  // the last piece ended on a CR: a LF may follow
};

// `octets` is the whole text event file (Windows-1252, CR LF). `gamme` holds
// the values of Note(1) to Note(NBTouches) when the scale check (Check5) is
// on, and is null when it is off. `deja` is the row count already in the
// list, which the 32767 limit counts too.
LectureEvenements lit_evenements(std::string_view octets, const ReglagesImport& r, const std::vector<double>* gamme,
                                 int deja = 0);

}  // namespace brivel
