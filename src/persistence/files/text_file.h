// Text files as the older generation of machines writes them: Windows-1252,
// each line ended by CR LF, and the whole text written in one go followed by
// one further line end, so that a file ends with an empty line.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace brivel {

// The bytes of a file of `lines` (UTF-8 inside): each line and CR LF, then
// one more CR LF.
std::string texte_fichier(const std::vector<std::string>& lines);

// Writes `bytes` to `path` through a temporary file beside it, flushed to
// the disk, and a rename, so that a reader never finds half a file, an old
// file survives a failed write, and a power cut leaves one or the other
// whole. False on any failure; the old file is then left as it was.
bool ecrit_fichier_atomique(const std::string& path, const std::string& bytes);

// Syncs the folder of `path`: its rename or its creation is then on the
// disk too, not only its bytes. False when the folder can't be synced.
bool sync_dossier_de(const std::string& path);

// Begins, on a thread of its own, the write of `bytes` to `path` that the
// program expects to make next: the temporary file is written and flushed
// to the disk while the program goes on. The next ecrit_fichier_atomique of
// the same path with the same bytes then only renames it into place; with
// other bytes the prepared file is dropped and the write made in full. What
// the file holds changes only at that rename, so a crash before it leaves
// the file as it was.
void prepare_fichier_atomique(const std::string& path, const std::string& bytes);
// How the prepared writes have ended since the program started.
struct BilanPreparees {
  int renommees = 0;  // the write that came was the one prepared
  int perdues = 0;    // another came, or another write was prepared first
};
BilanPreparees bilan_preparees();

// The bytes of a regular file of at most `max_bytes`; empty when it is
// missing, no regular file, unreadable or bigger.
std::optional<std::string> lit_fichier_octets(const std::string& path, std::size_t max_bytes = 1 << 20);

}  // namespace brivel
