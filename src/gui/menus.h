// The menu bar, made from the menu entries of the model: captions,
// shortcuts, separators, sub-menus, and entries of the top row that act at
// once ("Aide", "A propos"). Enabled and visible states follow the model.
#pragma once

#include <QMenuBar>

#include "gui/binder.h"

namespace brivel::gui {

// Fills `bar`. Every action's object name is its entry's name.
void build_menus(Binder& b, QMenuBar* bar);

}  // namespace brivel::gui
