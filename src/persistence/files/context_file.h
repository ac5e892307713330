// Writing a context file (.sav): a snapshot of a punch run from which it can
// be taken up again. Needs only the model and the run state, so that the
// fault sequence can call it.
//
// The file, one value a line: the parameter file's name, the Y position
// shown in compteurXY(1), the hole count, then for each note in use its
// state ("15", "13", "12" or "ndef") and its end step, then the MIDI path,
// rang_fichier and fichiers_restants with a leading blank, and the entries
// of Liste_fichiers.
#pragma once

#include <string>
#include <vector>

#include "console/context.h"

namespace brivel {

// The lines of a context, without line ends.
std::vector<std::string> lignes_contexte(const Model& m, const RunState& s);

// The name of the automatic context file in dossier_appli.
inline constexpr const char* kContexteAuto = "Perfo_en_cours.sav";

// Writes "Perfo_en_cours.sav" in dossier_appli (atomically) and refreshes
// File1. False if it could not be written; the caller tells the operator.
bool sauve_contexte_auto(Context& c);
// The menu entry "Sauver Contexte".
void Sauve_contexte_Click(Context& c);

}  // namespace brivel
