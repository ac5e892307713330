// Text files as the older generation of machines writes them: Windows-1252,
// each line ended by CR LF, and the whole text written in one go followed by
// one further line end, so that a file ends with an empty line.
#pragma once

#include <sys/stat.h>

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "console/context.h"
#include "platform/storage.h"

namespace brivel {

// The bytes of a file of `lines` (UTF-8 inside): each line and CR LF, then
// one more CR LF.
std::string texte_fichier(const std::vector<std::string>& lines);

// How a write ended: true when done; else the system's error number.
struct Ecriture {
  int erreur = 0;
  explicit operator bool() const { return erreur == 0; }
  // Why it failed, in French ("disque plein"); empty when done.
  std::string raison() const { return texte_erreur_disque(erreur); }
};

// Writes `bytes` to `path` through a temporary file beside it, flushed to
// the disk, a rename and a sync of the folder, so that a reader never finds
// half a file, an old file survives a failed write, and a power cut leaves
// one or the other whole. On a failure the old file is left as it was.
Ecriture ecrit_fichier_atomique(Storage& disque, const std::string& path, const std::string& bytes);

// The bytes of a regular file of at most `max_bytes`; empty when it is
// missing, no regular file, unreadable or bigger.
std::optional<std::string> lit_fichier_octets(Storage& disque, const std::string& path,
                                              std::size_t max_bytes = 1 << 20);

// How the prepared writes of a console have ended.
struct BilanPreparees {
  int renommees = 0;  // the write that came was the one prepared
  int perdues = 0;    // another came, or another write was prepared first
};

// A console's writes, with the one it expects to make next prepared ahead.
class Ecritures {
 public:
  explicit Ecritures(Storage& disque);
  ~Ecritures();
  Ecritures(const Ecritures&) = delete;
  Ecritures& operator=(const Ecritures&) = delete;

  Storage& disque() { return disque_; }

  // Begins, on a thread of its own, the write of `bytes` to `path` that the
  // console expects to make next: the temporary file is written and flushed
  // while the console goes on. The next ecrit() of the same path with the
  // same bytes then only renames it into place; with other bytes the
  // prepared file is dropped and the write made in full. What the file
  // holds changes only at that rename, so a crash before it leaves the file
  // as it was.
  void prepare(const std::string& path, const std::string& bytes);
  // ecrit_fichier_atomique, taking the prepared write when it fits.
  Ecriture ecrit(const std::string& path, const std::string& bytes);
  BilanPreparees bilan() const { return bilan_; }

  // What was written last to a file whose own copy the console keeps (the
  // automatic context), with the file's identity just after the write.
  struct Dernier {
    std::string chemin;
    std::vector<std::string> lignes;
    struct stat st {};
  };
  Dernier dernier;

 private:
  struct Preparee;
  // The write prepared for `path`, renamed into place when it held `bytes`
  // (nothing when it was not prepared for `path`); with other bytes, or
  // none, it is dropped.
  std::optional<Ecriture> termine(const std::string& path, const std::string* bytes);

  Storage& disque_;
  std::unique_ptr<Preparee> preparee_;
  BilanPreparees bilan_;
};

// The console's own writes, through its platform's disk.
Ecritures& ecritures(Context& c);

}  // namespace brivel
