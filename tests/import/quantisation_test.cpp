#include "import/quantisation.h"

#include <gtest/gtest.h>

#include "import/ponts.h"
#include "import/refus_import.h"

namespace brivel {
namespace {

using Rows = std::vector<std::string>;

// The console's defaults: 60 mm/s, 10 x 0.083 mm, a punch of 3 mm.
ReglagesImport defaults() { return *prepare_import(ChampsImport{}).reglages; }

// 1 mm/s per ms and 1 mm per step: a step is a millisecond, the sums are exact.
ReglagesImport exact(double seuil = 6, double pont = 2) {
  ReglagesImport r;
  r.vitesse = 1000;
  r.pas_Y_mm = 1;
  r.largeur = 3;
  r.demi = 2;
  r.ponts = pont != 0;
  r.pont = pont;
  r.seuil = seuil;
  return r;
}

Rows rows_of(const LigneNote& n, const ReglagesImport& r) {
  Rows out;
  lignes_note(n, r, out);
  return out;
}

TEST(Quantisation, DefaultsDerivedValues) {
  ReglagesImport r = defaults();
  EXPECT_NEAR(r.pas_Y_mm, 0.83, 1e-12);
  EXPECT_EQ(r.largeur, 3);
  EXPECT_EQ(r.demi, 2);
  EXPECT_FALSE(r.ponts);
  EXPECT_NEAR(r.doigt, 1.2 / 0.83, 1e-12);
}

TEST(Quantisation, HalfPunchHalvesToEven) {
  struct Case {
    const char* poincon;
    int largeur, demi;
  } cases[] = {{"3", 3, 2}, {"5", 5, 2}, {"7", 7, 4}, {"1", 1, 0}, {"2.9", 2, 1}};
  for (const auto& c : cases) {
    ChampsImport f;
    f.NbpasY = "1";
    f.PasmotY = "1";
    f.Poincon = c.poincon;
    auto r = prepare_import(f).reglages;
    ASSERT_TRUE(r) << c.poincon;
    EXPECT_EQ(r->largeur, c.largeur) << c.poincon;
    EXPECT_EQ(r->demi, c.demi) << c.poincon;
  }
}

TEST(Quantisation, ReadsTheColumnsOfANoteLine) {
  auto n = lit_ligne_note("NOTE 0001000 000960 00001 00060 00500 00100 C3");
  ASSERT_TRUE(n);
  EXPECT_EQ(n->debut_ms, 1000);
  EXPECT_EQ(n->cle, "00060");
  EXPECT_EQ(n->duree_ms, 500);
  EXPECT_FALSE(lit_ligne_note("NOTE 0999999 000960 00001 00060 00500 00100 C3"));
  EXPECT_FALSE(lit_ligne_note("NOOF 0001500 000960 00001 00060"));
  EXPECT_FALSE(lit_ligne_note("NOTE 0001000 000960 00001 00060 0050"));
  EXPECT_FALSE(lit_ligne_note(""));
}

TEST(Quantisation, PlainNotes) {
  struct Case {
    const char* what;
    LigneNote n;
    bool mecanique;
    Rows rows;
  } cases[] = {
      // 1000 x 0.06 / 0.83 = 72.289 + 2; 36 steps long; last 74.289 + 36 - 3.
      {"worked example", {1000, "00060", 500}, false, {"0000074 00060 NOTE 0000107", "0000107 00060 NTOF "}},
      {"0 ms: one punch", {1000, "00060", 0}, false, {"0000074 00060 NOTE 0000074", "0000074 00060 NTOF "}},
      // 50 ms is 3.61 steps, floor 3: as long as the punch, a single punch.
      {"as long as the punch", {1000, "00060", 50}, false, {"0000074 00060 NOTE 0000074", "0000074 00060 NTOF "}},
      // 60 ms is 4 steps: the last punch one step behind the start.
      {"one step longer", {1000, "00060", 60}, false, {"0000074 00060 NOTE 0000075", "0000075 00060 NTOF "}},
      // The finger adds 1.2 / 0.83 = 1.446 to the last position only.
      {"finger", {1000, "00060", 500}, true, {"0000074 00060 NOTE 0000109", "0000109 00060 NTOF "}},
      {"start of the piece", {0, "00048", 0}, false, {"0000002 00048 NOTE 0000002", "0000002 00048 NTOF "}},
  };
  for (const auto& c : cases) {
    ReglagesImport r = defaults();
    r.mecanique = c.mecanique;
    EXPECT_EQ(rows_of(c.n, r), c.rows) << c.what;
  }
}

TEST(Quantisation, RowsRoundHalvesAwayFromZero) {
  ReglagesImport r = exact(6, 0);
  r.pas_Y_mm = 2;  // 5 ms is 2.5 steps
  r.largeur = 1;
  r.demi = 0;
  EXPECT_EQ(rows_of({5, "00060", 0}, r), (Rows{"0000003 00060 NOTE 0000003", "0000003 00060 NTOF "}));
}

TEST(Bridges, WorkedExample) {
  // Punch 3, PontY 2: pitch 5, grid from 70.
  ReglagesImport r = defaults();
  r.ponts = true;
  r.pont = 2;
  Rows expected;
  for (const char* s : {"0000074", "0000075", "0000080", "0000085", "0000090", "0000095", "0000100"}) {
    expected.push_back(std::string(s) + " 00060 NOTE " + s);
    expected.push_back(std::string(s) + " 00060 NTOF ");
  }
  expected.push_back("0000105 00060 NOTE 0000107");
  expected.push_back("0000107 00060 NTOF ");
  Rows got = rows_of({1000, "00060", 500}, r);
  EXPECT_EQ(got.size(), 16u);
  EXPECT_EQ(got, expected);
}

TEST(Bridges, WhoGetsThem) {
  struct Case {
    const char* what;
    LigneNote n;
    ReglagesImport r;
    Rows rows;
  } cases[] = {
      // Start 102, length 18 = 3 x 6: bridged; last 117, holes 102, 105, 110.
      {"length = width x Text17",
       {100, "00060", 18},
       exact(),
       {"0000102 00060 NOTE 0000102", "0000102 00060 NTOF ", "0000105 00060 NOTE 0000105", "0000105 00060 NTOF ",
        "0000110 00060 NOTE 0000110", "0000110 00060 NTOF ", "0000115 00060 NOTE 0000117", "0000117 00060 NTOF "}},
      {"one step less", {100, "00060", 17}, exact(), {"0000102 00060 NOTE 0000116", "0000116 00060 NTOF "}},
      {"PontY 0", {100, "00060", 500}, exact(6, 0), {"0000102 00060 NOTE 0000599", "0000599 00060 NTOF "}},
      // On the grid at 100: the second hole a full pitch on.
      {"start on the grid",
       {98, "00060", 20},
       exact(),
       {"0000100 00060 NOTE 0000100", "0000100 00060 NTOF ", "0000105 00060 NOTE 0000105", "0000105 00060 NTOF ",
        "0000110 00060 NOTE 0000110", "0000110 00060 NTOF ", "0000115 00060 NOTE 0000117", "0000117 00060 NTOF "}},
      // Grid 100 lies above 103 - 5: no single hole, the tail is the note.
      {"all tail", {100, "00060", 4}, exact(1), {"0000102 00060 NOTE 0000103", "0000103 00060 NTOF "}},
  };
  for (const auto& c : cases) EXPECT_EQ(rows_of(c.n, c.r), c.rows) << c.what;
}

TEST(Bridges, JustBelowAGridLineTwoHolesOnOneStep) {
  Rows out;
  lignes_pontees(104.6, 120, 3, 2, "00060", out);
  EXPECT_EQ(out, (Rows{"0000105 00060 NOTE 0000105", "0000105 00060 NTOF ", "0000105 00060 NOTE 0000105",
                       "0000105 00060 NTOF ", "0000110 00060 NOTE 0000110", "0000110 00060 NTOF ",
                       "0000115 00060 NOTE 0000115", "0000115 00060 NTOF ", "0000120 00060 NOTE 0000120",
                       "0000120 00060 NTOF "}));
}

}  // namespace
}  // namespace brivel

namespace brivel {
namespace {

TEST(Quantisation, StepPictureRoundsOnThe15DigitForm) {
  struct Case {
    double x;
    const char* row;
  } cases[] = {
      {0, "0000000 ##### PASY"},         {0.5, "0000001 ##### PASY"},
      {2.5, "0000003 ##### PASY"},       {2.4999999, "0000002 ##### PASY"},
      {2.4999999999999996, "0000003 ##### PASY"},  // "2.50000000000000" in 15 digits
      {107.289, "0000107 ##### PASY"},   {9999998.7, "9999999 ##### PASY"},
      {12345678.4, "12345678 ##### PASY"},
  };
  for (const auto& c : cases) EXPECT_EQ(ligne_pasy(c.x), c.row) << c.x;
}

}  // namespace
}  // namespace brivel
