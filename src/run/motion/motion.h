// The three things that make the machine move: one X move, one Y move and
// one punch cycle, with the working sequence around them, the watchdog of a
// punch cycle and the one fault sequence. Each takes its arguments from the
// console's fields and reports a fault through etat_pause, the service line
// and mise_en_defaut, never to its caller.
#pragma once

#include <functional>
#include <string>

#include "console/context.h"

namespace brivel {

void debut_travail(Context& c);  // "AGxxxxx", 250 ms
void fin_travail(Context& c);    // "ZGxxxxx", 25 ms
void deplace_X(Context& c);      // nb_PasX steps in direction sens_X
void deplace_Y(Context& c);      // nb_PasY Y steps of NbpasY motor steps
// The same, with `pendant_l_attente` run once the reply is in, inside the
// 25 ms that follow the move: a durable write there costs the run no time.
void deplace_Y(Context& c, const std::function<void()>& pendant_l_attente);
void cycle_Z(Context& c);        // one punch cycle where the head stands
// The same, with `pendant_le_cycle` run once the frame is out, while the
// punch works: what it begins there overlaps the cycle.
void cycle_Z(Context& c, const std::function<void()>& pendant_le_cycle);
// Feeds the card back by that many Y motor steps ("My", 99999 a frame at
// most), to undo a feed made by hand in a pause. False, with the fault
// sequence done, when the board refused or fell silent.
bool recule_Y(Context& c, int64_t pas_moteur);
void arme_watchdog(Context& c);   // WD_timer, 1000 ms, fires once
void WD_timer_Timer(Context& c);  // the watchdog's expiry
// The one fault sequence: suspends (etat_pause 1), saves the automatic
// context, writes the line's recent traffic beside it, "Continuer", and
// opens the motor and note pages to the operator.
void mise_en_defaut(Context& c);

// A machine fault: its caption in Label_defaut, the same with
// " - Contexte sauvegardé" on the service line, then mise_en_defaut.
void defaut(Context& c, const std::string& caption);
// A write of the run that the disk refused (ecriture_en_defaut): the run
// suspends on it as on a machine fault, "Écriture impossible" and what and
// why on the service line. False when no write had failed.
bool defaut_ecriture(Context& c);

// The recorder's file, written beside the context at each fault.
inline constexpr const char* kTraficFaute = "Perfo_en_cours.trafic.txt";

// Registers WD_timer's handler.
void install_motion(Context& c);

}  // namespace brivel
