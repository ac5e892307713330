// What every handler works with: the console's fields, the run state and the
// platform's services. One of each per program.
#pragma once

#include "console/model.h"
#include "core/run_state.h"
#include "platform/platform.h"

namespace brivel {

struct Context {
  Model& m;
  RunState& s;
  Platform& p;
};

}  // namespace brivel
