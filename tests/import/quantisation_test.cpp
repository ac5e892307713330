#include "import/quantisation.h"

#include <gtest/gtest.h>

#include <cstdio>

#include "import/ponts.h"
#include "import/refus_import.h"

namespace brivel {
namespace {

using Rows = std::vector<std::string>;

// The console's defaults: 60 mm/s, 10 x 0.083 mm, a punch of 3 mm.
ReglagesImport defaults(bool mecanique = false, double pont = 0) {
  ReglagesImport r = *prepare_import(ChampsImport{}).reglages;
  r.mecanique = mecanique;
  r.ponts = pont != 0;
  r.pont = pont;
  return r;
}

// 1 mm/s per ms and 1 mm per step: a step is a millisecond, the sums are exact.
ReglagesImport exact(double seuil = 6, double pont = 2, double pas_Y_mm = 1, int largeur = 3, int demi = 2) {
  ReglagesImport r;
  r.vitesse = 1000;
  r.pas_Y_mm = pas_Y_mm;
  r.largeur = largeur;
  r.demi = demi;
  r.ponts = pont != 0;
  r.pont = pont;
  r.seuil = seuil;
  return r;
}

// The two rows of one punched span of key 60: "first 00060 NOTE last" and
// "last 00060 NTOF ", for each span in turn.
Rows spans(std::initializer_list<std::pair<int, int>> list, const char* key = "00060") {
  Rows out;
  char buf[64];
  for (auto [first, last] : list) {
    std::snprintf(buf, sizeof buf, "%07d %s NOTE %07d", first, key, last);
    out.push_back(buf);
    std::snprintf(buf, sizeof buf, "%07d %s NTOF ", last, key);
    out.push_back(buf);
  }
  return out;
}

// The punch in steps, and its half rounded to even.
TEST(Quantisation, PunchWidthAndHalf) {
  struct Case {
    const char* poincon;
    int largeur, demi;
  } cases[] = {{"3", 3, 2}, {"5", 5, 2}, {"7", 7, 4}, {"1", 1, 0}, {"2.9", 2, 1}};
  for (const auto& c : cases) {
    ChampsImport f;
    f.NbpasY = "1";
    f.PasmotY = "1";
    f.Poincon = c.poincon;
    auto got = prepare_import(f).reglages;
    ASSERT_TRUE(got) << c.poincon;
    EXPECT_EQ(std::pair(got->largeur, got->demi), std::pair(c.largeur, c.demi)) << c.poincon;
  }
}

TEST(Quantisation, ReadsTheColumnsOfANoteLine) {
  auto n = lit_ligne_note("NOTE 0001000 000960 00001 00060 00500 00100 C3");
  ASSERT_TRUE(n);
  EXPECT_EQ(std::tie(n->debut_ms, n->cle, n->duree_ms), std::make_tuple(1000, "00060", 500));
  for (const char* refused : {"NOTE 0999999 000960 00001 00060 00500 00100 C3", "NOOF 0001500 000960 00001 00060",
                              "NOTE 0001000 000960 00001 00060 0050", ""})
    EXPECT_FALSE(lit_ligne_note(refused)) << refused;
}

TEST(Quantisation, RowsOfANote) {
  struct Case {
    const char* what;
    LigneNote n;
    ReglagesImport r;
    Rows rows;
  } cases[] = {
      // 1000 x 0.06 / 0.83 = 72.289 + 2; 36 steps long; last 74.289 + 36 - 3.
      {"worked example", {1000, "00060", 500}, defaults(), {"0000074 00060 NOTE 0000107", "0000107 00060 NTOF "}},
      {"0 ms: one punch", {1000, "00060", 0}, defaults(), spans({{74, 74}})},
      {"50 ms is 3.61 steps, floor 3: as long as the punch, one punch",
       {1000, "00060", 50},
       defaults(),
       spans({{74, 74}})},
      {"60 ms, 4 steps: the last punch one step on", {1000, "00060", 60}, defaults(), spans({{74, 75}})},
      {"the finger adds 1.446 to the last only", {1000, "00060", 500}, defaults(true), spans({{74, 109}})},
      {"start of the piece", {0, "00048", 0}, defaults(), {"0000002 00048 NOTE 0000002", "0000002 00048 NTOF "}},
      {"rows round halves away from zero: 5 ms is 2.5 steps", {5, "00060", 0}, exact(6, 0, 2, 1, 0), spans({{3, 3}})},
      // Bridges. Punch 3, PontY 2: pitch 5, grid from 70.
      {"bridged worked example",
       {1000, "00060", 500},
       defaults(false, 2),
       spans({{74, 74}, {75, 75}, {80, 80}, {85, 85}, {90, 90}, {95, 95}, {100, 100}, {105, 107}})},
      // Start 102, length 18 = 3 x 6: bridged; last 117, holes 102, 105, 110.
      {"length = width x Text17", {100, "00060", 18}, exact(), spans({{102, 102}, {105, 105}, {110, 110}, {115, 117}})},
      {"one step less", {100, "00060", 17}, exact(), spans({{102, 116}})},
      {"PontY 0", {100, "00060", 500}, exact(6, 0), spans({{102, 599}})},
      {"start on the grid: the second hole a pitch on",
       {98, "00060", 20},
       exact(),
       spans({{100, 100}, {105, 105}, {110, 110}, {115, 117}})},
      {"grid 100 above 103 - 5: all tail", {100, "00060", 4}, exact(1), spans({{102, 103}})},
  };
  for (const auto& c : cases) {
    Rows got;
    lignes_note(c.n, c.r, got);
    EXPECT_EQ(got, c.rows) << c.what;
  }
}

TEST(Bridges, JustBelowAGridLineTwoHolesOnOneStep) {
  Rows out;
  lignes_pontees(104.6, 120, 3, 2, "00060", out);
  EXPECT_EQ(out, spans({{105, 105}, {105, 105}, {110, 110}, {115, 115}, {120, 120}}));
}

// 2.4999999999999996 is "2.50000000000000" in 15 digits; beyond seven digits the row grows.
TEST(Quantisation, StepPictureRoundsOnThe15DigitForm) {
  struct Case {
    double x;
    const char* row;
  } cases[] = {{0, "0000000 ##### PASY"},
               {0.5, "0000001 ##### PASY"},
               {2.5, "0000003 ##### PASY"},
               {2.4999999, "0000002 ##### PASY"},
               {2.4999999999999996, "0000003 ##### PASY"},
               {107.289, "0000107 ##### PASY"},
               {9999998.7, "9999999 ##### PASY"},
               {12345678.4, "12345678 ##### PASY"}};
  for (const auto& c : cases) EXPECT_EQ(ligne_pasy(c.x), c.row) << c.x;
}

}  // namespace
}  // namespace brivel
