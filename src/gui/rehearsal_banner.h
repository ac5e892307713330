// Says plainly, on the status bar and on the two connection lamps, that the
// console is connected to the rehearsal machine and not to a real one.
#pragma once

#include "console/context.h"

class QMainWindow;

namespace brivel::gui {

class Binder;

void watch_rehearsal(Context& c, Binder& b, QMainWindow* window);

}  // namespace brivel::gui
