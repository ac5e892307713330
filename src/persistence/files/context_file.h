// The context file (.sav): a snapshot of a punch run from which it can be
// taken up again. Writing one needs only the model and the run state, so
// that the fault sequence can call it; reading one back is a pure kernel
// here, and the restore that applies it sits above the run engine.
//
// The file, one value a line: the parameter file's name, the Y position
// shown in compteurXY(1), the hole count, then for each note in use its
// state ("15", "13", "12" or "ndef") and its end step, then the MIDI path,
// rang_fichier and fichiers_restants with a leading blank, the entries of
// Liste_fichiers, and the empty line. Behind that empty line this program
// may add lines of its own, which an older reader never reaches:
//   "avance_Y_en_cours <from> <to>"  a Y move of the run had gone out and
//                                    not been answered when the file was
//                                    written (steps of the event list).
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "console/context.h"

namespace brivel {

// The lines of a context, without line ends, with the mark of a Y move under
// way (avance_Y_en_cours) behind them when there is one.
std::vector<std::string> lignes_contexte(const Model& m, const RunState& s);

// The name of the automatic context file in dossier_appli, and the folder
// below it that keeps the earlier ones.
inline constexpr const char* kContexteAuto = "Perfo_en_cours.sav";
inline constexpr const char* kDossierHistorique = "Contextes";
inline constexpr int kContextesGardes = 20;
inline constexpr const char* kMarqueAvanceY = "avance_Y_en_cours";

// Writes "Perfo_en_cours.sav" in dossier_appli (atomically) and refreshes
// File1. False if it could not be written; the caller tells the operator.
// An earlier context of another piece, or of a run further on than this
// one, is first copied into the history folder.
bool sauve_contexte_auto(Context& c);
// The same without refreshing File1: what a run writes after each Y move.
// A failure is kept in ecriture_en_defaut for the run to suspend on.
bool ecrit_contexte_auto(Context& c);
// Begins writing, on a thread of its own, the context that the run writes
// before its next Y move (`avance`), as it will stand once the punch cycle
// about to go out is answered: that write then takes only a rename. Nothing
// changes on the disk until then; a context that turns out otherwise is
// written in full.
void prepare_contexte_avant_avance(Context& c, RunState::AvanceY avance);
// The menu entry "Sauver Contexte".
void Sauve_contexte_Click(Context& c);

// --- Reading --------------------------------------------------------------------

struct NoteContexte {
  std::string etat;   // line 2 + 2k as written: "15", "13", "12", "ndef"...
  std::string bulle;  // line 3 + 2k: the tool tip
};

struct LectureContexte {
  // Empty when the file was read whole; otherwise what is wrong, in French,
  // with the line it concerns ("ligne 3 : ..."), and nothing else counts.
  std::string erreur;
  std::string nom_fichier_set;
  std::string y;  // line 2 verbatim
  double y_pas = 0;
  int32_t compteur_trous = 0;
  std::vector<NoteContexte> notes;  // N of them
  std::string chemin_midi;
  int16_t rang_fichier = 0;
  int32_t fichiers_restants = 0;
  std::vector<std::string> fichiers;  // rang_fichier + fichiers_restants entries
  std::optional<RunState::AvanceY> avance;
};

// Reads the lines of a context for `n` notes in use (NBTouches of the
// parameter file that its line 1 names). A file that stops early, a line 2,
// 3, rang_fichier or fichiers_restants that is no number, or a file whose
// line count fits another count of notes than `n` (saved with another
// NBTouches) is refused with the reason.
LectureContexte lit_contexte(std::string_view octets, int n);

// The name of line 1, without reading further: which parameter file gives N.
std::string premiere_ligne(std::string_view octets);

}  // namespace brivel
