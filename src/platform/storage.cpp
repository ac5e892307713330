#include "platform/storage.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <system_error>

namespace brivel {

namespace {

int close_fd(int fd) { return ::close(fd) == 0 ? 0 : errno; }

int write_all(int fd, std::string_view bytes) {
  std::size_t done = 0;
  while (done < bytes.size()) {
    const ssize_t n = ::write(fd, bytes.data() + done, bytes.size() - done);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) return errno;
    if (n == 0) return EIO;
    done += static_cast<std::size_t>(n);
  }
  return 0;
}

class PosixStorage final : public Storage {
 public:
  int write_whole(const std::string& path, std::string_view bytes) override {
    const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (fd < 0) return errno;
    int err = write_all(fd, bytes);
    if (!err && ::fsync(fd) != 0) err = errno;
    const int closed = close_fd(fd);
    if (!err) err = closed;
    if (err) ::unlink(path.c_str());
    return err;
  }

  int append(const std::string& path, std::string_view bytes) override {
    int fd = ::open(path.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC);
    const bool nouveau = fd < 0 && errno == ENOENT;
    if (nouveau) fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
    if (fd < 0) return errno;
    // One write: a crash leaves the file without the bytes or with part of
    // them, never with another writer's in the middle.
    const ssize_t n = ::write(fd, bytes.data(), bytes.size());
    int err = n < 0 ? errno : n != static_cast<ssize_t>(bytes.size()) ? ENOSPC : 0;
    if (!err && ::fdatasync(fd) != 0) err = errno;
    const int closed = close_fd(fd);
    if (!err) err = closed;
    return !err && nouveau ? sync_folder_of(path) : err;
  }

  int rename(const std::string& from, const std::string& to) override {
    return std::rename(from.c_str(), to.c_str()) == 0 ? 0 : errno;
  }

  int remove(const std::string& path) override { return ::unlink(path.c_str()) == 0 ? 0 : errno; }

  int sync_folder_of(const std::string& path) override {
    const std::string dossier = std::filesystem::path(path).parent_path().string();
    const int fd = ::open(dossier.empty() ? "." : dossier.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) return errno;
    const int err = ::fsync(fd) == 0 ? 0 : errno;
    const int closed = close_fd(fd);
    return err ? err : closed;
  }

  int make_folders(const std::string& folder) override {
    std::error_code ec;
    std::filesystem::create_directories(folder, ec);
    return ec.value();
  }

  std::optional<std::string> read(const std::string& path, std::size_t max_bytes) override {
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (fd < 0) return std::nullopt;
    struct stat st {};
    std::optional<std::string> bytes;
    if (::fstat(fd, &st) == 0 && S_ISREG(st.st_mode) && static_cast<std::size_t>(st.st_size) <= max_bytes) {
      bytes.emplace();
      char buf[8192];
      for (;;) {
        const ssize_t n = ::read(fd, buf, sizeof buf);
        if (n < 0 && errno == EINTR) continue;
        if (n == 0) break;
        if (n < 0 || bytes->size() + static_cast<std::size_t>(n) > max_bytes) {
          bytes.reset();
          break;
        }
        bytes->append(buf, static_cast<std::size_t>(n));
      }
    }
    ::close(fd);
    return bytes;
  }
};

}  // namespace

Storage& system_storage() {
  static PosixStorage storage;
  return storage;
}

std::string texte_erreur_disque(int err) {
  switch (err) {
    case 0:
      return {};
    case ENOSPC:
    case EDQUOT:
      return "disque plein";
    case EROFS:
      return "disque en lecture seule";
    case EACCES:
    case EPERM:
      return "accès refusé";
    case ENOENT:
      return "dossier ou fichier introuvable";
    case ENOTDIR:
      return "un élément du chemin n'est pas un dossier";
    case EISDIR:
      return "c'est un dossier";
    case EBUSY:
      return "occupé par un autre programme";
    case EXDEV:
      return "renommage refusé par le système";
    case EIO:
      return "erreur d'entrée-sortie du disque";
    default:
      return std::strerror(err);
  }
}

}  // namespace brivel
