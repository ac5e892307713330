#include "import/lecture_evenements.h"

#include <gtest/gtest.h>

#include "import/import_files.h"
#include "import/refus_import.h"

namespace brivel::test {
namespace {

ReglagesImport defaults() { return *prepare_import(ChampsImport{}).reglages; }

TEST(EventFile, ScaleCheckCountsEveryOccurrence) {
  std::string file = note_line(0, 60, 0) + note_line(100, 61, 0) + note_line(200, 61, 0) + note_line(300, 62, 0) +
                     "NOTE 0999999 000000 00001 00099 00000 00100 D6\r\n";
  struct Case {
    std::vector<double> gamme;
    int hors;
  } cases[] = {{{60, 61, 62}, 0}, {{60, 62}, 2}, {{61, 62, 60, 60}, 0}, {{60, 61}, 1}, {{}, 4}};
  for (const auto& c : cases) EXPECT_EQ(lit_evenements(file, defaults(), &c.gamme).nb_hors_gamme, c.hors);
}

TEST(EventFile, StopsOnTheLineThatPasses32767Rows) {
  std::string file;
  for (int i = 0; i < 16384; ++i) file += note_line(i * 100, 60, 0);
  // 16384 notes of two rows: 32768 rows, all of the last line in.
  auto l = lit_evenements(file, defaults(), nullptr);
  EXPECT_TRUE(l.trop);
  EXPECT_EQ(l.lignes.size(), 32768u);
  // One row already there and 16383 notes: exactly 32767 rows pass.
  std::string less = file.substr(0, file.size() - note_line(0, 60, 0).size());
  EXPECT_FALSE(lit_evenements(less, defaults(), nullptr, 1).trop);
  EXPECT_TRUE(lit_evenements(less, defaults(), nullptr, 2).trop);
}

}  // namespace
}  // namespace brivel::test
