#include "geometry/positions.h"

#include <gtest/gtest.h>

namespace brivel {
namespace {

TEST(Positions, FromTheThreeLengths) {
  struct Case {
    const char* what;
    double talon, pas, pas_moteur;
    int n;
    bool inverse;
    std::vector<double> expected;
  } cases[] = {
      // 6.3 / 0.21 = 30, then 20 steps per track of 4.2 mm.
      {"defaults", 6.3, 4.2, 0.21, 3, false, {30, 50, 70}},
      {"reversed table", 6.3, 4.2, 0.21, 3, true, {70, 50, 30}},
      {"no tracks", 6.3, 4.2, 0.21, 0, false, {}},
      // 0.5, 1.5, 2.5, 3.5 go to the even neighbour.
      {"halves to even", 0.5, 1, 1, 4, false, {0, 2, 2, 4}},
      {"one track", 10, 4.2, 0.5, 1, true, {20}},
  };
  for (const auto& c : cases) {
    auto got = calcule_positions(c.talon, c.pas, c.pas_moteur, c.n, c.inverse);
    ASSERT_TRUE(got.has_value()) << c.what;
    EXPECT_EQ(*got, c.expected) << c.what;
  }
}

TEST(Positions, ZeroMotorStepHasNoResult) {
  EXPECT_FALSE(calcule_positions(6.3, 4.2, 0, 29, false).has_value());
  // Nothing to divide: an empty table is still a result.
  EXPECT_TRUE(calcule_positions(6.3, 4.2, 0, 0, false).has_value());
}

TEST(Positions, TrackCountAndNoteNumber) {
  struct Case {
    const char* text;
    std::optional<int> tracks;
  } counts[] = {{"29", 29}, {" 63 ", 63}, {"0", 0}, {"64", std::nullopt}, {"-1", std::nullopt},
                {"abc", std::nullopt}, {"", std::nullopt}, {"12.5", std::nullopt}, {"29 notes", std::nullopt}};
  for (const auto& c : counts) EXPECT_EQ(nb_touches(c.text), c.tracks) << c.text;

  struct Note {
    const char* text;
    std::optional<int> n;
  } notes[] = {{"60", 60}, {"0", 0}, {"127", 127}, {"128", std::nullopt}, {"-1", std::nullopt},
               {"60.5", 60}, {"61.5", 62}, {"abc", 0}};
  for (const auto& c : notes) EXPECT_EQ(numero_note(c.text), c.n) << c.text;
}

}  // namespace
}  // namespace brivel
