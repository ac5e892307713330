#include "support/sim_console.h"

namespace brivel::test {

SimConsole::SimConsole(BoardOptions options, std::vector<int> ports) : board(std::move(options)) {
  for (int n : ports) p.sim_serial().add_port(n, &peer);
}

}  // namespace brivel::test
