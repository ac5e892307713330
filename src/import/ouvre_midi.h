// Opening a piece: the menu entry "Ouvrir Fichier Midi...", the next file of
// a chain, and the file of a restored context.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "console/context.h"
#include "import/lecture_evenements.h"
#include "import/quantisation.h"

namespace brivel {

// The answer of the open dialog as full paths: one path as given, or a
// folder and names separated by '\0', the folder getting a separator when it
// has none at its end. Empty names are left out.
std::vector<std::string> chemins_selection(const std::string& reponse);

// The name of a piece without folder and extension: what follows the last
// separator, less its last four characters. Empty if there is no separator
// (the caller then keeps the name it had).
std::string nom_court(const std::string& chemin);

// The wait of every opening after the conversion, ms: a chained file costs
// it too.
inline constexpr int kAttenteConversionMs = 2000;

// The values of Note(1) to Note(NBTouches) when the scale check (Check5)
// is on; empty when it is off.
std::optional<std::vector<double>> gamme_verifiee(const Model& m);

void Ouvre_midi_Click(Context& c);
// The file of Liste_fichiers at rang_fichier opened without a dialog, as a
// chain opens its next file: the piece read again after a change of the
// transposition, or a recent piece.
void relit_morceau(Context& c);

// From the bytes of a text event file to a piece ready to punch: List3, the
// scale check, the intermediate steps, the bounds, the service line, the
// mode, Command11. Ouvre_midi_Click calls it after the conversion, and
// tests call it with a hand-written file. False, with the piece refused,
// when the file holds no note. Ends the program on a list too long.
bool importe_evenements(Context& c, std::string_view octets, const ReglagesImport& r);

// The same from lines already read. `notes_sans_fin`, the decoder's count
// of notes that never ended, tells why a piece without rows has none.
bool importe_lecture(Context& c, LectureEvenements&& l, const ReglagesImport& r, int64_t notes_sans_fin = 0);

// NOTE rows of List3 whose note no track of the scale holds.
int rangs_hors_gamme(const Model& m);

}  // namespace brivel
