// The three areas of the console window. Each holds the top-level frames
// that its page shows; which frames are in view is the model's business (the
// page routines set their visibility), the window only hides an area none of
// whose frames is in view, so that it takes no room.
#pragma once

#include <QWidget>

#include <vector>

#include "gui/binder.h"

namespace brivel::gui {

struct Area {
  QWidget* widget = nullptr;
  std::vector<Element*> frames;  // top-level frames and buttons it holds
};

// Page "Perforation": Frame3 with Frame6 inside.
Area build_perforation_area(Binder& b);
// Page "Moteurs et poinçon": Frame4, Frame5, Frame7, Frame8, axe, Detecteur,
// Calibration_axes and Calc_ponts.
Area build_moteurs_area(Binder& b);
// Page "Définition des notes": Frame2 (the note table), Calcul_X, Frame9 and
// the buttons Perfoman and Origine_N.
Area build_notes_area(Binder& b);

}  // namespace brivel::gui
