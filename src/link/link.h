// The machine link: frames, the receive dispatcher, the connection and the
// parameter push. The only road to the machine.
#pragma once

#include "console/context.h"

namespace brivel {

// Registers the receive handler, the device notifier's handlers and the
// change and click handlers of the connection and parameter fields.
void install_link(Context& c);

}  // namespace brivel
