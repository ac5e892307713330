// The serial line as the routines use it: writing a frame, the receive
// dispatcher that turns replies into the reply flags, the wait for a reply,
// and the counted exchange.
//
// Every wait gives the event loop turns until one of its flags is set, with
// the flags cleared after the frame was written (no reply is dispatched
// between the write and the clearing, since replies reach the flags only
// inside a turn). A wait also ends when the port has closed under it or when
// the board stays silent for too long, so that nothing waits forever.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "console/context.h"

namespace brivel {

// How long a silent board is given beyond the time its move should take,
// in milliseconds. The one time-out of the line.
inline constexpr int kDelaiReponseMs = 5000;

// Time-out of a wait for a move of `pas` motor steps of `us_par_pas`
// microseconds each: kDelaiReponseMs plus twice the move's own time.
double delai_mouvement_ms(double pas, double us_par_pas);

// Where the operator sets the port: the motor page, which the menu and F2
// reach whenever no run walks its list.
inline constexpr const char* kOuTrouverLePort =
    "Indiquer le numéro du port COM ou cliquer sur \"Numéro du port COM\" (page \"Moteurs et poinçon\", F2) pour "
    "le rechercher";

enum class Attente {
  Reponse,     // an awaited flag was set
  Delai,       // the board said nothing in time
  PortPerdu,   // the port is closed or a write failed
  Inattendue,  // time is up, and what came was no awaited reply
  CarteReinitialisee,  // the board restarted under the run (its greeting came)
};

// Awaited reply flags, to be or-ed.
enum : unsigned { kRepA = 1, kRepB = 2, kRepC = 4, kRepD = 8, kRepAutre = 16 };

// Writes `bytes` whole, in one write, and records them. On a failure the
// connection is closed (lamps red) and false is returned; no message here,
// the caller tells the operator what failed.
bool envoie(Context& c, std::string_view bytes);

// The number frame of `code` and `value`. A value that the five digits
// can't carry is refused: its text goes on the service line and nothing is
// written. False when refused or when the write failed.
bool envoie_nombre(Context& c, std::string_view code, double value);

// The receive handler (OnComm of the port).
void OnComm(Context& c, int comm_event);

// Sets the awaited flags to false.
void efface_drapeaux(RunState& s, unsigned flags);
// True when one of the awaited flags is set.
bool un_drapeau(const RunState& s, unsigned flags);

// Turns the event loop until `fini` holds, the port closes, or `delai_ms`
// pass on the tick. A greeting of the board during the run (or just before
// the wait, while the run went on) ends it too: the board has forgotten its
// parameters and where the head stands.
Attente attend(Context& c, const std::function<bool()>& fini, double delai_ms);

// The wait pattern: write `frame`, clear `flags`, turn until one is set.
// Nothing is written to a board that restarted since the last wait.
Attente ecrit_et_attend(Context& c, std::string_view frame, unsigned flags, double delai_ms = kDelaiReponseMs);

// The counted exchange, steps 1 to 4: counted mode, bare line feed, wait for
// the five characters, which are copied into `r`.
Attente debut_echange_compte(Context& c, std::string& r);
// Steps 5 and 6: back to single-character mode, then the closing bare line
// feed of the dialogue after "D" when `ligne_fermante`. Also to be called
// after a failed start, without the closing line feed.
void fin_echange_compte(Context& c, bool ligne_fermante);

// The fault caption of a wait that got no reply ("Pas de réponse de la
// machine", "Liaison série perdue", "Réponse inattendue de la machine : "
// and the bytes of the last such wait, shown as in the traffic file);
// empty for Attente::Reponse.
std::string texte_defaut_liaison(const RunState& s, Attente a);

// Guard of the commands that need the machine: true if the port is open,
// otherwise a French refusal on the service line.
bool port_pret(Context& c);

// The recorder's contents as text lines, oldest first: tick in ms, the
// direction, and the bytes with line feeds shown as <LF>.
std::vector<std::string> lignes_trafic(const TrafficLog& log);

}  // namespace brivel
