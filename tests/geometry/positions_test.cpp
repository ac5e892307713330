#include "geometry/positions.h"

#include <gtest/gtest.h>

namespace brivel {
namespace {

TEST(Positions, TrackCountNoteNumberAndZeroStep) {
  struct Case {
    const char* text;
    std::optional<int> tracks;
  } counts[] = {{"29", 29},           {" 63 ", 63},           {"0", 0},
                {"64", std::nullopt}, {"-1", std::nullopt},   {"abc", std::nullopt},
                {"", std::nullopt},   {"12.5", std::nullopt}, {"29 notes", std::nullopt}};
  for (const auto& c : counts) EXPECT_EQ(nb_touches(c.text), c.tracks) << c.text;

  struct Note {
    const char* text;
    std::optional<int> n;
  } notes[] = {{"60", 60},           {"0", 0},     {"127", 127}, {"128", std::nullopt},
               {"-1", std::nullopt}, {"60.5", 60}, {"61.5", 62}, {"abc", 0}};
  for (const auto& c : notes) EXPECT_EQ(numero_note(c.text), c.n) << c.text;

  EXPECT_FALSE(calcule_positions(6.3, 4.2, 0, 29, false).has_value()) << "a zero motor step has no result";
  EXPECT_TRUE(calcule_positions(6.3, 4.2, 0, 0, false).has_value()) << "nothing to divide: an empty table is a result";
}

}  // namespace
}  // namespace brivel
