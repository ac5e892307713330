#include <gtest/gtest.h>

#include "board/board_model.h"

namespace brivel {
namespace {

using K = FaultRule::Kind;

TEST(FaultScript, ReadsEveryVerb) {
  std::string error;
  auto o = parse_fault_script(
      "# a night of bad luck\r\n"
      "B MY 3\n"
      "c CZ 2   # a failed cycle\n"
      "\n"
      "D MX 5 12\n"
      "SILENCE cZ 4\n"
      "A OR 1\n"
      "refuse ON 2\n",
      &error);
  ASSERT_TRUE(o) << error;
  EXPECT_EQ(o->refuse_on, 2);
  ASSERT_EQ(o->faults.size(), 5u);
  struct Want {
    const char* code;
    int nth;
    K kind;
    int lost;
  } want[] = {{"MY", 3, K::ReplyB, 0},
              {"CZ", 2, K::ReplyC, 0},
              {"MX", 5, K::LoseSteps, 12},
              {"cZ", 4, K::Silence, 0},
              {"OR", 1, K::LoseSteps, -1}};
  for (size_t i = 0; i < 5; ++i) {
    EXPECT_EQ(o->faults[i].code, want[i].code) << i;
    EXPECT_EQ(o->faults[i].nth, want[i].nth) << i;
    EXPECT_EQ(o->faults[i].kind, want[i].kind) << i;
    EXPECT_EQ(o->faults[i].lost_steps, want[i].lost) << i;
  }
  EXPECT_TRUE(parse_fault_script("", &error).value().faults.empty());
}

TEST(FaultScript, ErrorsNameTheLineAndTheReason) {
  const std::string unknown = "code que la carte ne connaît pas ou ne répond pas (MX, MY, CZ, OR, ON, VD, rd, wr)";
  struct Case {
    const char* text;
    std::string error;
  } cases[] = {
      {"X MY 1", "Script de défauts, ligne 1 : action inconnue, attendu A, B, C, D, silence ou refuse (« X MY 1 »)"},
      {"B MY 1\nB MYY 1", "Script de défauts, ligne 2 : " + unknown + " (« B MYY 1 »)"},
      {"B M1 1", "Script de défauts, ligne 1 : " + unknown + " (« B M1 1 »)"},
      {"silence ZZ 4", "Script de défauts, ligne 1 : " + unknown + " (« silence ZZ 4 »)"},
      {"B PX 1", "Script de défauts, ligne 1 : " + unknown + " (« B PX 1 »)"},  // a parameter frame gets no reply
      {"B", "Script de défauts, ligne 1 : code de deux lettres attendu (« B »)"},
      {"\n\nB MY 0", "Script de défauts, ligne 3 : rang attendu, un nombre à partir de 1 (« B MY 0 »)"},
      {"B MY -2", "Script de défauts, ligne 1 : rang attendu, un nombre à partir de 1 (« B MY -2 »)"},
      {"B MY", "Script de défauts, ligne 1 : rang attendu, un nombre à partir de 1 (« B MY »)"},
      {"D MX 1", "Script de défauts, ligne 1 : nombre de pas attendu après le rang, de 0 à 99999 (« D MX 1 »)"},
      {"D MX 1 100000",
       "Script de défauts, ligne 1 : nombre de pas attendu après le rang, de 0 à 99999 (« D MX 1 100000 »)"},
      {"B MY 1 2 # x", "Script de défauts, ligne 1 : mot en trop (« B MY 1 2 »)"},
      {"refuse MX 2", "Script de défauts, ligne 1 : refuse ne vaut que pour ON (« refuse MX 2 »)"},
  };
  for (const auto& c : cases) {
    std::string error;
    EXPECT_FALSE(parse_fault_script(c.text, &error)) << c.text;
    EXPECT_EQ(error, c.error);
  }
}

}  // namespace
}  // namespace brivel
