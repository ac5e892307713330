// The parameter file and the context restore as the operator reaches them:
// the list File1, the menu entries "Sauver Paramètres" and "Restituer
// Contexte". The restore opens the piece and prepares "Perforer", so this
// sits above the run engine; writing files is in persistence/files below.
#pragma once

#include "console/context.h"

namespace brivel {

// Loads the entry picked in File1, or nom_fichier_set when reprise_contexte
// is true, line by line into the fields (each change runs its handler), then
// opens the port and pushes the parameters. False when there was no name or
// the file could not be read (said on the service line); a file that stops
// short still counts as loaded.
bool charge_parametres(Context& c);
void File1_Click(Context& c);
// The parameter file loaded last, picked again as the operator would (its
// port opens, the board gets its parameters): what the console does at its
// start. False when there is none, or it is no longer in the list.
bool reprend_dernier_parametres(Context& c);
inline constexpr const char* kDernierFichierParametres = "Dernier_fichier_parametres.txt";
// The menu entry "Sauver Paramètres".
void Sauve_param_Click(Context& c);
// Fichier > Ouvrir Paramètres...: a parameter file from any folder is copied
// into the program's folder (asking before it replaces another of the same
// name), shown in File1 and loaded.
void Ouvre_param_Click(Context& c);
// The menu entry "Restituer Contexte".
void Restitue_contexte_Click(Context& c);

// Registers File1, Sauve_param and Restitue_contexte.
void install_persistence(Context& c);

}  // namespace brivel
