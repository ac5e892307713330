#include "import/lecture_evenements.h"

#include <gtest/gtest.h>

#include "import/import_files.h"
#include "import/refus_import.h"

namespace brivel::test {
namespace {

ReglagesImport defaults() { return *prepare_import(ChampsImport{}).reglages; }

TEST(EventFile, NoteLinesBecomeRows) {
  std::string file = "TEMP 0000000 000000 0500000\r\n" + note_line(1000, 60, 500) +
                     "NOOF 0001500 000000 00001 00060\r\n" + note_line(0, 62, 0) +
                     "NOTE 0999999 000000 00001 00099 00000 00100 D6\r\n" +
                     "HEAD ##10000  /x/piece.mid 01500\r\nENDF 9999999\r\n";
  auto l = lit_evenements(file, defaults(), nullptr);
  EXPECT_EQ(l.lignes, (std::vector<std::string>{"0000074 00060 NOTE 0000107", "0000107 00060 NTOF ",
                                                "0000002 00062 NOTE 0000002", "0000002 00062 NTOF "}));
  EXPECT_TRUE(l.head);
  EXPECT_FALSE(l.trop);
  EXPECT_EQ(l.nb_hors_gamme, 0);
  EXPECT_FALSE(lit_evenements(note_line(0, 60, 0), defaults(), nullptr).head);
}

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
