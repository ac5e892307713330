// Writing a context file (.sav): a snapshot of a punch run from which it can
// be taken up again. Needs only the model and the run state, so that the
// fault sequence can call it.
#pragma once

#include "console/context.h"

namespace brivel {

// Writes "Perfo_en_cours.sav" in dossier_appli. False if it could not.
bool sauve_contexte_auto(Context& c);
// The menu entry "Sauver Contexte".
void Sauve_contexte_Click(Context& c);

}  // namespace brivel
