// The X origin: the board drives the head to its switch and out to the
// card's edge, and the program takes compteur_X from Text_origineX. As a
// re-registration ("Recalage") the search then brings the head back to the X
// position it left, so that a run can repeat its hole.
#pragma once

#include "console/context.h"

namespace brivel {

// One search. With perforation_lancee false it first asks the board
// ("ONxxxxx") until it is ready, without limit. With recalage_demande true it
// is a re-registration and clears the flag. Faults go through
// mise_en_defaut; the routine always runs to its end.
void recherche_origine(Context& c);

// "Perforation en cours" on the service line, with " - Mode simulation" in
// a simulation.
// In a pause of a run: the run is paused, and how to go on.
void texte_en_cours(Context& c);
inline constexpr const char* kTextePause = "Perforation en pause - Cliquer Continuer pour reprendre";

// The two buttons of the operator (note page and motor page): a search in a
// working sequence of its own.
void Origine_N_Click(Context& c);
void OrigineX_M_Click(Context& c);

void install_origin(Context& c);

}  // namespace brivel
