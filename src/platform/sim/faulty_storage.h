// A disk that misbehaves on cue, over the real one: tests and rehearsals
// make it full, make its writes fail, refuse renames or turn the folder
// read-only, then set it right again.
#pragma once

#include <cerrno>
#include <initializer_list>
#include <mutex>
#include <string>

#include "platform/storage.h"

namespace brivel {

class FaultyStorage final : public Storage {
 public:
  enum class Fault {
    None,
    DiskFull,       // writes and appends: ENOSPC, nothing written
    WriteFails,     // writes and appends: EIO, nothing written
    RenameRefused,  // renames: EBUSY
    ReadOnly,       // everything that changes the folder: EROFS
  };

  explicit FaultyStorage(Storage& disk) : disk_(disk) {}

  // The fault from now on, for every path holding `only_path` (all when
  // empty).
  void set_fault(Fault f, std::string only_path = {}) {
    const std::lock_guard lock(mu_);
    fault_ = f;
    only_ = std::move(only_path);
  }
  // Calls refused since the start.
  int refused() {
    const std::lock_guard lock(mu_);
    return refused_;
  }

  int write_whole(const std::string& path, std::string_view bytes) override {
    if (const int err = refuse(path, {{Fault::DiskFull, ENOSPC}, {Fault::WriteFails, EIO}, {Fault::ReadOnly, EROFS}}))
      return err;
    return disk_.write_whole(path, bytes);
  }
  int append(const std::string& path, std::string_view bytes) override {
    if (const int err = refuse(path, {{Fault::DiskFull, ENOSPC}, {Fault::WriteFails, EIO}, {Fault::ReadOnly, EROFS}}))
      return err;
    return disk_.append(path, bytes);
  }
  int rename(const std::string& from, const std::string& to) override {
    if (const int err = refuse(to, {{Fault::RenameRefused, EBUSY}, {Fault::ReadOnly, EROFS}})) return err;
    return disk_.rename(from, to);
  }
  int remove(const std::string& path) override {
    if (const int err = refuse(path, {{Fault::ReadOnly, EROFS}})) return err;
    return disk_.remove(path);
  }
  int sync_folder_of(const std::string& path) override { return disk_.sync_folder_of(path); }
  int make_folders(const std::string& folder) override {
    if (const int err = refuse(folder, {{Fault::ReadOnly, EROFS}})) return err;
    return disk_.make_folders(folder);
  }
  std::optional<std::string> read(const std::string& path, std::size_t max_bytes) override {
    return disk_.read(path, max_bytes);
  }

 private:
  struct Rule {
    Fault fault;
    int err;
  };
  // The error of the first rule of the fault in force, for `path`.
  // The console's thread and the one that writes ahead both come here.
  int refuse(const std::string& path, std::initializer_list<Rule> rules) {
    const std::lock_guard lock(mu_);
    if (fault_ == Fault::None || (!only_.empty() && path.find(only_) == std::string::npos)) return 0;
    for (const Rule& r : rules)
      if (r.fault == fault_) {
        ++refused_;
        return r.err;
      }
    return 0;
  }

  Storage& disk_;
  std::mutex mu_;
  Fault fault_ = Fault::None;
  std::string only_;
  int refused_ = 0;
};

}  // namespace brivel
