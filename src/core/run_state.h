// The run state: the variables that live from start to quit and that every
// subsystem shares. One instance per console. Start values are those the
// program has before Form_Load; "empty" values of the older generation count
// as 0 here.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "core/run_events.h"
#include "core/traffic_log.h"

namespace brivel {

class Ecritures;

struct RunState {
  // --- Position and geometry -------------------------------------------------
  int16_t compteur_X = 0;      // head position along X, motor steps
  int32_t compteur_Y = 0;      // card position along Y, steps of the event list
  bool sens_X = false;         // true: next X move towards higher positions
  int16_t nb_pertes = 0;       // lost-step reports since start, shown in Text9
  double pas_Y_mm = 0;         // mm of card per Y step: NbpasY * PasmotY
  int16_t pas_poincon = 0;     // punch width in Y steps (floor)
  double ms_par_pas = 0;       // ms of music per Y step
  double duree_ms = 0;         // duration of the piece, ms
  double reste_fin_ms = 0;     // Text8 beyond its whole minutes and seconds
  double debut_pas = 0;        // Y step of the start bound of the current run

  // --- Run control ------------------------------------------------------------
  bool perforation_lancee = false;   // a run has found its origin since start
  int16_t etat_pause = 0;            // 0 running, 1 suspended
  bool mode_simulation = false;      // no punch cycles in this piece
  bool reprise_contexte = false;     // a context was restored
  bool reprise_sans_avance = false;  // count Y steps, don't make them, until a cycle
  bool recalage_demande = false;     // next origin search returns to its X
  int16_t realignement_demande = 0;  // 16-bit flag: re-register after next cycle
  int16_t mesure_origine = 0;        // 16-bit flag: show measured origin count
  bool fin_saisie = false;           // operator edited the end bound fields
  int16_t enchainement = 0;          // 16-bit flag: chain opens without dialog
  int32_t fichiers_restants = 0;     // files of the chain left, current included
  int16_t rang_fichier = 0;          // index of the current file in Liste_fichiers
  std::optional<int> heure_differee; // deferred start, seconds after midnight
  uint32_t differe_arme_tick = 0;    // the tick (ms) when it was armed
  int64_t differe_delai_ms = 0;      // from then to the start: a time past is tomorrow's

  // --- Punch-cycle control ----------------------------------------------------
  int16_t hors_watchdog = 0;   // 16-bit flag: cycle_Z arms no watchdog
  int16_t watchdog_echu = 0;   // 16-bit flag: WD_timer expired

  // --- Reply flags of the receive dispatcher -----------------------------------
  bool mode_5car = false;
  bool rep_A = false, rep_B = false, rep_C = false, rep_D = false;
  bool rep_autre = false;
  char car_autre = 0;
  std::string rep_5car;        // five characters, blank-padded
  bool rep_5car_prete = false;
  // When the one-character reply to the last frame came, on the fine clock
  // (empty before it comes, and on a platform without that clock).
  std::optional<double> reponse_recue_ms;

  // --- Connection -------------------------------------------------------------
  bool scan_port = false;
  // Our firmware greets the line after every reset (link/frames.h). The
  // greeting's bytes received so far, held back from the reply flags.
  std::string salut_partiel;
  int saluts = 0;                  // greetings received since start
  bool connexion_en_cours = false; // connexion_on waits for the greeting itself
  // A greeting came while the run went on: its next wait is a fault.
  bool reinit_a_signaler = false;
  // A reply that may be any byte (an EEPROM cell): no greeting is looked for.
  bool octet_brut_attendu = false;
  // The last connection: -1 none yet, 0 its board never greeted (another
  // firmware: the fixed 900 ms of the reset are kept), 1 it greeted.
  int carte_salue = -1;
  int port_salue = -1;             // the port number of that connection
  // Frames and replies of the line, for the fault report beside the context.
  TrafficLog trafic;
  // The bytes that came during the last wait that ended without its reply,
  // for the words of its fault.
  std::string octets_inattendus;
  // The run engine (Command11_Click) is on the stack, suspended or not. A
  // device arrival must not reset the board under it.
  bool run_on_stack = false;
  // What the run does, for those who listen (journal, card view).
  RunEvents evenements;
  // This console's writes to the disk (persistence/files), made at the
  // first write.
  std::shared_ptr<Ecritures> ecritures;
  // A write of the run that failed (the context, the hole journal): what
  // and why, until the run suspends on it.
  std::string ecriture_en_defaut;

  // --- Calibration, manual control ---------------------------------------------
  bool arret_calibration = false;
  int16_t calibration_Z_active = 0;
  bool echec_cycle_vu = false;
  int16_t nb_succes_Z = 0;
  std::string NbpasY_sauve;
  bool avance_continue = false;
  bool visu_active = false;
  // A manual command, a calibration, the continuous feed, a detector poll or
  // an EEPROM access is waiting on the machine: another one would share its
  // reply flags, so it is refused.
  bool commande_machine = false;
  // Time-out of a punch cycle's wait in ms while a Z calibration tries long
  // pulses, worked out from the pulse values it sent; 0: the line's own.
  double delai_cycle_Z_ms = 0;

  // --- Module variables -------------------------------------------------------
  int32_t compteur_trous = 0;  // punch cycles since the start of the piece
  std::string nom_fichier_set; // current parameter file, no folder
  std::string nom_midi_court;  // current MIDI file, no folder, no extension
  std::string chemin_midi;     // full path of the current MIDI file
  std::string dossier_appli;   // program folder, with a trailing separator
  std::string chemin_midid;    // dossier_appli + "Temp/midid.dat"
  int32_t reserve_set = 0;     // line 133 of a parameter file, passed through
  int16_t nb_hors_gamme = 0;   // NOTE lines outside the scale
  // Name of each MIDI note number, for affiche_note; empty until
  // charge_noms_notes has run (Check3_Click or a parameter load).
  std::array<std::string, 128> noms_notes;
  int16_t midi_erreur_code = 0;
  std::string midi_erreur_texte;

  // --- The card's place, for a resume after a crash -----------------------------
  // A run's Y move whose frame went out and whose reply has not come: from
  // and to, in steps of the event list. The automatic context carries it, so
  // that a restore after a crash knows the card may or may not have moved.
  struct AvanceY {
    int32_t depuis = 0;
    int32_t vers = 0;
  };
  std::optional<AvanceY> avance_Y_en_cours;
  // Where the card really stands, in steps of the event list, when a
  // restored run begins: set by the restore, taken up by the run at its
  // first step in bounds.
  std::optional<int32_t> y_reprise;

  // --- Where a paused run stands, whatever the hands do meanwhile ---------------
  // The card's feed since start in Y motor steps, as the frames sent it
  // ("MY" forward, "My" back), hand moves and the continuous feed included.
  int64_t y_moteur = 0;
  // Taken when the run's wait after a hole first finds it suspended: the X
  // of the hole it punches again, the card's step and its feed. "Continuer"
  // brings the head back to that X and, if the operator says so, the card
  // back to that feed, so that nothing done in the pause spoils the card.
  struct PlaceArret {
    int16_t x = 0;
    int32_t y = 0;
    int64_t y_moteur = 0;
  };
  std::optional<PlaceArret> place_arret;
  // The operator's own "Nb Pas X" and "Nb Pas Y", which the run's moves
  // replace while it runs: back in the fields in a pause and at its end.
  std::string pas_X_operateur, pas_Y_operateur;
  // The punch cycle under way is one of the piece's holes (set by the run
  // around its cycles); any other cycle is the operator's, by hand.
  bool cycle_de_la_piece = false;
  // Holes the board confirmed with "A" since the run's start: the piece's
  // and those punched by hand. compteur_trous counts every attempt.
  int32_t trous_confirmes = 0;
  int32_t trous_main = 0;
  // The cycle under way punches once more the hole at which the run held (a
  // pause, a fault); those confirmed, counted in trous_confirmes too.
  bool cycle_repete = false;
  int32_t trous_repetes = 0;
};

}  // namespace brivel
