// File1: the parameter files (*.set) of the program's folder.
#pragma once

#include <string>

#include "console/context.h"

namespace brivel {

// The service line's first words, and what it says instead while the list
// is empty.
inline constexpr const char* kAChoisir = "Sélectionner un fichier de paramètres";
inline constexpr const char* kListeVide =
    "Aucun fichier de paramètres : Fichier > Ouvrir Paramètres... pour en prendre un, ou régler la machine "
    "(F2, F3) puis Fichier > Sauver Paramètres";

// Lists the *.set files of dossier_appli into File1, sorted by name, keeping
// the selection on the same name when it is still there.
void refresh_File1(Context& c);

}  // namespace brivel
