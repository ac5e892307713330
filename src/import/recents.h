// The pieces opened last, most recent first, offered in the menu Fichier so
// that a piece is opened again in one click. Kept in
// <dossier_appli>/Morceaux_recents.txt, one path a line (UTF-8).
#pragma once

#include <string>
#include <vector>

#include "console/context.h"

namespace brivel {

inline constexpr const char* kMorceauxRecents = "Morceaux_recents.txt";

// `chemin` first, then the others without it, kRecents at most.
std::vector<std::string> avec_recent(std::vector<std::string> liste, const std::string& chemin);

// Reads the file into the menu entries recent(1..kRecents).
void charge_recents(Context& c);
// After a piece was opened: it goes first in the list, on disk and in the menu.
void retient_morceau(Context& c, const std::string& chemin);
// Opens the i-th piece of the list as "Ouvrir Fichier Midi" would, without the dialog.
void recent_Click(Context& c, int i);
// Registers the entries' handlers; they are usable when the opening is.
void install_recents(Context& c);

}  // namespace brivel
