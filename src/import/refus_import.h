// What the opening of a piece refuses, and the one stop of a list that has
// grown too long. Every message of the import is here.
//
// The divisions of the import have no result for a speed, a motor step or a
// Y precision of 0, a punch narrower than one Y step would let the
// intermediate steps loop for ever, and a bridge pitch below 1 would let the
// splitting loop for ever: all are refused before anything is converted,
// with the field to fix named, and no run can start (Command11 disabled).
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "console/context.h"
#include "import/quantisation.h"

namespace brivel {

// The texts of the fields that the opening reads.
struct ChampsImport {
  std::string vitesse = "60", NbpasY = "10", PasmotY = "0.083", Poincon = "3", PontY = "0", Text16 = "1.2",
              Text17 = "6", NBTouches = "29";
  bool Check4 = false;  // mechanical reading
  bool Check5 = false;  // scale check
  std::string transposition = "0";
};
ChampsImport champs_import(const Model& m);

// The settings of one opening, or the message that refuses it.
struct PreparationImport {
  std::optional<ReglagesImport> reglages;
  std::string refus;
};
PreparationImport prepare_import(const ChampsImport& f);

// Punch width from Poincon and pas_Y_mm, for Command7 as for the opening;
// empty when it isn't from 1 to 32767 steps.
std::optional<int> largeur_poincon(double poincon, double pas_Y_mm);

// Messages.
std::string refus_largeur_poincon();  // Command7 without a usable width
std::string message_fichier_illisible(const std::string& chemin);
std::string message_temp_impossible(const std::string& chemin);
// `notes_sans_fin`: notes that began and never ended, which the converter
// drops; the message then says so.
std::string message_aucune_note(int64_t notes_sans_fin = 0);
// Box after a conversion that stopped early. `apres_les_pistes`: behind
// every track the file holds (the piece opens whole); otherwise inside one,
// and the piece is refused.
std::string message_conversion_interrompue(int16_t code, const std::string& texte, bool apres_les_pistes);
// What went wrong with the file, in the operator's words, for a stop of the
// decoder: its code, or its own text where that is worded so already.
std::string raison_arret_midi(int16_t code, const std::string& texte);
// The service line after such a stop.
std::string service_conversion_interrompue(int16_t code, const std::string& texte, bool apres_les_pistes);
std::string message_limite_calcul_ponts();
std::string message_pas_moteur_ponts();

// The opening can't go on: the service line says why, and nothing of the
// refused piece nor of the one before stays shown (title, bounds, event
// list, counters, progress): neither a run nor a deferred run can start.
void refuse_piece(Context& c, const std::string& message);
// The counters of the last run back to nothing, for a new piece.
void efface_compteurs_course(Model& m);

// The list has passed 32767 rows: the three-line box, then the program ends
// at once, without the quit sequence.
void arret_trop_evenements(Context& c);

}  // namespace brivel
