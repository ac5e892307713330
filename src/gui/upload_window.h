// The firmware upload's report window: avrdude's report as it comes, its
// outcome in plain words above it, and "Fermer" once avrdude has ended. It
// stays open beside the console until the operator closes it.
#pragma once

#include "gui/side_windows.h"

namespace brivel::gui {

FormWindow* build_upload_window(Binder& b, QWidget* parent);

}  // namespace brivel::gui
