// A console with a scripted board on port 10 (and any others asked for),
// for tests of the line that need no board model.
#pragma once

#include <initializer_list>

#include "support/scripted_peer.h"
#include "support/sim_desk.h"

namespace brivel::test {

struct LinkRig : SimDesk {
  explicit LinkRig(std::initializer_list<int> ports = {10}) {
    for (int n : ports) p.sim_serial().add_port(n, &peer);
  }
  ScriptedPeer peer{p};
};

inline std::vector<SimFrame> F(std::initializer_list<SimFrame> l) { return l; }

}  // namespace brivel::test
