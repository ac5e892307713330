// brivel-card drawing the card and printing the transposition table.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <sstream>

#include "import/import_files.h"

namespace brivel::test {
namespace {

namespace fs = std::filesystem;

struct Output {
  int status = -1;
  std::string out;
};

Output run(const std::string& args) {
  Output o;
  FILE* f = popen((std::string(BRIVEL_CARD_EXE) + " " + args + " 2>/dev/null").c_str(), "r");
  if (!f) return o;
  char buf[4096];
  size_t n;
  while ((n = fread(buf, 1, sizeof buf, f)) > 0) o.out.append(buf, n);
  const int st = pclose(f);
  o.status = WIFEXITED(st) ? WEXITSTATUS(st) : -1;
  return o;
}

std::string slurp(const fs::path& p) {
  std::ifstream in(p, std::ios::binary);
  return std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

size_t count(const std::string& s, const std::string& what) {
  size_t n = 0;
  for (size_t at = s.find(what); at != std::string::npos; at = s.find(what, at + 1)) ++n;
  return n;
}

TEST(BrivelCardCarton, SvgPdfAndTranspositions) {
  const fs::path dir = fs::temp_directory_path() / ("brivel-carton-" + std::to_string(getpid()));
  fs::create_directories(dir);
  // Key 60 for a quarter note: one note of the default scale. At 500 000 µs
  // a quarter it lasts 500 ms, 36 steps of 13.83 ms: a row of touching holes.
  const fs::path mid = dir / "do.mid";
  {
    std::ofstream f(mid, std::ios::binary);
    f << tiny_midi();
  }
  const Output o = run("--svg " + (dir / "c.svg").string() + " --pdf " + (dir / "c.pdf").string() +
                       " --transpositions " + mid.string());
  ASSERT_EQ(o.status, 0) << o.out;
  const std::string svg = slurp(dir / "c.svg");
  // A 3-step punch over the note's 36 steps: the first hole, one each 3
  // steps while it sounds, the last at its end.
  EXPECT_GE(count(svg, "class=\"trou\""), 12u);
  EXPECT_NE(svg.find("width=\"109.2mm\""), std::string::npos);
  const std::string pdf = slurp(dir / "c.pdf");
  EXPECT_EQ(pdf.rfind("%PDF-1.4", 0), 0u);
  EXPECT_NE(pdf.find("/Count 1 >>"), std::string::npos);
  // The table: a heading, 25 shifts, then the JSON line.
  std::map<int, int> table;
  std::istringstream lines(o.out);
  std::string line;
  std::getline(lines, line);
  EXPECT_EQ(line, "Décalage  Hors gamme");
  for (int shift, outside; lines >> shift >> outside;) table[shift] = outside;
  ASSERT_EQ(table.size(), 25u);
  EXPECT_EQ(table.begin()->first, -12);
  // The default scale holds 48, 50, 53, 55, 57, 60, 62 and 64 to 86 but 85:
  // 60 is in it as it stands, by +2 (62) and -3 (57); by -1 (59), +1 (61)
  // and -11 (49) every NOTE row of it falls outside.
  for (int in : {0, 2, -3}) EXPECT_EQ(table[in], 0) << in;
  EXPECT_GT(table[-1], 0);
  for (int out : {1, -11}) EXPECT_EQ(table[out], table[-1]) << out;
  fs::remove_all(dir);
}

}  // namespace
}  // namespace brivel::test
