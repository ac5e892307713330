// The progress texts: durations, times of the piece and lengths of card.
#include "run/engine/progress.h"
#include "run/engine/remaining_time.h"

#include <gtest/gtest.h>

namespace brivel::test {
namespace {

TEST(ProgressTexts, DurationsTimesAndLengths) {
  for (auto [ms, text] : {std::pair{0.0, "0 s"}, {1, "1 s"}, {59000, "59 s"}, {59001, "1 mn 00 s"},
                          {754000, "12 mn 34 s"}, {3599001, "1 h 00 mn"}, {3900000, "1 h 05 mn"}})
    EXPECT_EQ(texte_duree(ms), text) << ms;
  for (auto [ms, text] : {std::pair{0.0, "0 mn 00 s"}, {187000.0, "3 mn 07 s"}, {599999.0, "9 mn 59 s"},
                          {600000.0, "10 mn 00 s"}, {760000.0, "12 mn 40 s"}})
    EXPECT_EQ(texte_temps(ms), text) << ms;
  for (auto [m, text] : {std::pair{0.83, "0.830 m"}, {10.0, "10.000 m"}, {12.45, "12.450 m"}})
    EXPECT_EQ(texte_longueur(m), text);
}

}  // namespace
}  // namespace brivel::test
