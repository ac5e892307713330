#include "import/quantisation.h"

#include <gtest/gtest.h>

namespace brivel {
namespace {

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
