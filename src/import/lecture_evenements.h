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

// `octets` is the whole text event file (Windows-1252, CR LF). `gamme` holds
// the values of Note(1) to Note(NBTouches) when the scale check (Check5) is
// on, and is null when it is off. `deja` is the row count already in the
// list, which the 32767 limit counts too.
LectureEvenements lit_evenements(std::string_view octets, const ReglagesImport& r, const std::vector<double>* gamme,
                                 int deja = 0);

}  // namespace brivel
