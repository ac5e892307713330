// File1: the parameter files (*.set) of the program's folder.
#pragma once

#include <string>

#include "console/context.h"

namespace brivel {

// Lists the *.set files of dossier_appli into File1, sorted by name, keeping
// the selection on the same name when it is still there.
void refresh_File1(Context& c);

}  // namespace brivel
