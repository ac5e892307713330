#include "persistence/files/text_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <future>
#include <system_error>

#include "core/cp1252.h"

namespace brivel {

std::string texte_fichier(const std::vector<std::string>& lines) {
  std::string text;
  for (const auto& l : lines) {
    text += l;
    text += "\r\n";
  }
  text += "\r\n";
  return utf8_to_cp1252(text);
}

namespace {
bool ecrit_tout(int fd, const std::string& bytes) {
  std::size_t done = 0;
  while (done < bytes.size()) {
    const ssize_t n = ::write(fd, bytes.data() + done, bytes.size() - done);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return false;
    done += static_cast<std::size_t>(n);
  }
  return true;
}

// The temporary file, on the disk, ready to be renamed.
bool ecrit_temporaire(const std::string& tmp, const std::string& bytes) {
  const int fd = ::open(tmp.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
  if (fd < 0) return false;
  // On the disk before the rename: after a power cut the name holds either
  // the old text or the new one, never an empty file.
  const bool ok = ecrit_tout(fd, bytes) && ::fsync(fd) == 0;
  const bool closed = ::close(fd) == 0;
  if (!ok || !closed) ::unlink(tmp.c_str());
  return ok && closed;
}

}  // namespace

bool sync_dossier_de(const std::string& path) {
  const std::string dossier = std::filesystem::path(path).parent_path().string();
  const int fd = ::open(dossier.empty() ? "." : dossier.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd < 0) return false;
  const bool ok = ::fsync(fd) == 0;
  return ::close(fd) == 0 && ok;
}

namespace {
// The one write prepared ahead (one console, one thread hands them over).
struct Preparee {
  std::string path, bytes;
  std::future<bool> pret;
};
std::optional<Preparee> g_preparee;
BilanPreparees g_bilan;

// The write prepared for `path`, renamed into place: true when it held
// `bytes` and its file is now `path`; with other bytes it is dropped.
bool termine_preparee(const std::string& path, const std::string* bytes) {
  if (!g_preparee || g_preparee->path != path) return false;
  Preparee p = std::move(*g_preparee);
  g_preparee.reset();
  const std::string tmp = p.path + ".pret";
  const bool pret = p.pret.get();
  if (pret && bytes && p.bytes == *bytes && std::rename(tmp.c_str(), path.c_str()) == 0) {
    ++g_bilan.renommees;
    return sync_dossier_de(path);
  }
  if (pret) ::unlink(tmp.c_str());
  ++g_bilan.perdues;
  return false;
}
}  // namespace

void prepare_fichier_atomique(const std::string& path, const std::string& bytes) {
  if (g_preparee) termine_preparee(g_preparee->path, nullptr);
  g_preparee = Preparee{path, bytes, std::async(std::launch::async, ecrit_temporaire, path + ".pret", bytes)};
}

BilanPreparees bilan_preparees() { return g_bilan; }

bool ecrit_fichier_atomique(const std::string& path, const std::string& bytes) {
  if (termine_preparee(path, &bytes)) return true;
  const std::string tmp = path + ".tmp";
  if (!ecrit_temporaire(tmp, bytes)) return false;
  if (std::rename(tmp.c_str(), path.c_str()) != 0) {
    ::unlink(tmp.c_str());
    return false;
  }
  return sync_dossier_de(path);
}

std::optional<std::string> lit_fichier_octets(const std::string& path, std::size_t max_bytes) {
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (fd < 0) return std::nullopt;
  struct stat st {};
  if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode) || static_cast<std::size_t>(st.st_size) > max_bytes) {
    ::close(fd);
    return std::nullopt;
  }
  std::string bytes;
  char buf[8192];
  for (;;) {
    const ssize_t n = ::read(fd, buf, sizeof buf);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) {
      ::close(fd);
      return std::nullopt;
    }
    if (n == 0) break;
    bytes.append(buf, static_cast<std::size_t>(n));
    if (bytes.size() > max_bytes) {
      ::close(fd);
      return std::nullopt;
    }
  }
  ::close(fd);
  return bytes;
}

}  // namespace brivel
