// The board model answers the table of exchanges that the firmware answers too.
#include <gtest/gtest.h>

#include "board/board_model.h"
#include "conformance/exchanges.h"

namespace brivel::test {
namespace {

TEST(Conformance, TheModelAnswersTheTable) {
  const auto table = read_exchanges(exchanges_path());
  ASSERT_GT(table.size(), 30u);
  BoardModel board;
  // The machine at power-on as the firmware's sees it: punch up and its
  // crank at rest, the head on an even step of the strip.
  for (int i : {1, 2, 3}) board.set_sensor(i, true);
  int64_t now = 0;
  std::string pending;
  for (const Exchange& e : table) {
    if (e.send) {
      for (const BoardOutput& o : board.receive(e.bytes, now)) pending += o.bytes;
      now += 1000;
    } else {
      EXPECT_TRUE(reply_matches(e.bytes, pending)) << "line " << e.line << ": " << pending;
      pending.clear();
    }
  }
}

}  // namespace
}  // namespace brivel::test
