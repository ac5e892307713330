// The rows a piece would have in List3, read straight from its MIDI file
// without touching the console: the later files of a chain are read this way
// to count their work before the run reaches them. The opening itself goes
// through Temp/ as the system does; both make the same rows.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "import/quantisation.h"

namespace brivel {

// The sorted rows, intermediate steps included, of the piece in `chemin`
// under the settings `r` (prepare_import), the scale `gamme` (null when the
// scale check is off) and the Y counter the intermediate steps start from.
// Empty when the file can't be read, holds no note, or passes the list's
// limit: such a file stops a chain anyway.
std::optional<std::vector<std::string>> lignes_morceau(const std::string& chemin, const ReglagesImport& r,
                                                       const std::vector<double>* gamme, int32_t compteur_Y);

}  // namespace brivel
