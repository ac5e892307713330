// What the scale refuses, and how the operator is told. The system has no
// message of its own for a bad count of tracks, a zero X step or a note that
// doesn't exist: these are ours, all here.
#pragma once

#include <string>

#include "console/context.h"

namespace brivel {

// NBTouches is not a whole number from 0 to 63.
std::string refus_nb_touches(const std::string& texte);
// Text11 is empty or 0: the positions can't be divided out.
std::string refus_pas_moteur_x();
// Note(k) holds no MIDI note number from 0 to 127: no name to show.
std::string refus_numero_note(int k, const std::string& texte);
// perfo_Click was asked for a track outside 1 to 63.
std::string refus_piste(int k);

// On the note page, where the service line is hidden, a box; elsewhere the
// service line Label_defautP, so that a run is never held by a box.
void signale_refus(Context& c, const std::string& texte);

}  // namespace brivel
