// What kind of news a text of the service line (or of the fault caption)
// carries, so that the window shows faults in red and ordinary states in the
// usual colour.
#pragma once

#include <string_view>

namespace brivel {

// True for a fault, a refusal or anything the operator must put right: the
// machine's faults, a lost or missing link, a file that could not be read or
// written, a command refused. False for states and progress ("Perforation en
// cours", "Prêt à perforer ...", "Contexte sauvegardé - ...").
bool texte_de_defaut(std::string_view text);

}  // namespace brivel
