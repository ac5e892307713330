// A console on the motor page, connected to the board model on port 10:
// where the machine tools are used.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "console/pages.h"
#include "support/sim_console.h"

namespace brivel::test {

struct ToolsRig : SimConsole {
  explicit ToolsRig(BoardOptions options = {}) : SimConsole(std::move(options)) {
    fenetre_moteurs_Click(c);
    EXPECT_TRUE(connect(10));
    from = mark();
  }
  // The frames since the connection's parameter burst.
  std::vector<std::string> sent() const { return frame_bytes(from); }
  // Clicks `name` by the operator's hand `after_ms` from now, inside whatever
  // handler is waiting then.
  void click_later(int64_t after_ms, Element& e) {
    p.at(p.now() + after_ms, [&e] { e.operator_click(); });
  }
  std::size_t from = 0;
};

inline long count(const std::vector<std::string>& v, const std::string& s) { return std::count(v.begin(), v.end(), s); }

}  // namespace brivel::test
