// The whole console on the simulated platform with the board model behind
// its ports: what scenario tests start from.
#pragma once

#include <memory>
#include <vector>

#include "board/board_model.h"
#include "platform/sim/board_peer.h"
#include "support/sim_desk.h"

namespace brivel::test {

class SimConsole : public SimDesk {
 public:
  // The board answers on each of `ports` (the console's default port is 10).
  explicit SimConsole(BoardOptions options = {}, std::vector<int> ports = {10});

  BoardModel board;
  BoardPeer peer{p, board};
};

}  // namespace brivel::test
