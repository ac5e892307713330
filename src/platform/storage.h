// The disk, as the console reads and writes it: whole files written beside
// their place and renamed into it, lines appended to a journal, folders
// synced so that a rename or a creation survives a power cut. Every call
// answers 0 or the system's error number, so that a caller can say why in
// words (texte_erreur_disque) and a test can stage a full disk.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace brivel {

class Storage {
 public:
  virtual ~Storage() = default;

  // Creates or truncates `path`, writes every byte and flushes them to the
  // disk. On a failure no file is left at `path`.
  virtual int write_whole(const std::string& path, std::string_view bytes) = 0;
  // Appends `bytes` in one write and flushes them. A file made by the call
  // has its folder flushed too: it is on the disk only once its folder
  // lists it.
  virtual int append(const std::string& path, std::string_view bytes) = 0;
  virtual int rename(const std::string& from, const std::string& to) = 0;
  virtual int remove(const std::string& path) = 0;
  // Flushes the folder that holds `path`, its renames and creations.
  virtual int sync_folder_of(const std::string& path) = 0;
  virtual int make_folders(const std::string& folder) = 0;
  // The bytes of a regular file of at most `max_bytes`; nothing when it is
  // missing, no regular file, unreadable or bigger.
  virtual std::optional<std::string> read(const std::string& path, std::size_t max_bytes) = 0;
};

// The disk as the operating system gives it. It holds no state: one serves
// every console of the process.
Storage& system_storage();

// Why a system call on a file failed (an errno value), in French, for the
// common cases a user can fix ("disque plein"); the system's words otherwise.
std::string texte_erreur_disque(int err);

}  // namespace brivel
