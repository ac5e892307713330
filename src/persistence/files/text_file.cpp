#include "persistence/files/text_file.h"

#include <future>

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
// The temporary file is on the disk (Storage::write_whole flushes it) before
// the rename: after a power cut the name holds either the old text or the
// new one, never an empty file.
Ecriture renomme(Storage& disque, const std::string& tmp, const std::string& path) {
  if (const int err = disque.rename(tmp, path)) {
    disque.remove(tmp);
    return {err};
  }
  // The rename itself is on the disk only once the folder is.
  return {disque.sync_folder_of(path)};
}
}  // namespace

Ecriture ecrit_fichier_atomique(Storage& disque, const std::string& path, const std::string& bytes) {
  const std::string tmp = path + ".tmp";
  if (const int err = disque.write_whole(tmp, bytes)) return {err};
  return renomme(disque, tmp, path);
}

std::optional<std::string> lit_fichier_octets(Storage& disque, const std::string& path, std::size_t max_bytes) {
  return disque.read(path, max_bytes);
}

struct Ecritures::Preparee {
  std::string path, bytes;
  std::future<int> pret;
};

Ecritures::Ecritures(Storage& disque) : disque_(disque) {}

Ecritures::~Ecritures() {
  if (preparee_) termine(preparee_->path, nullptr);
}

std::optional<Ecriture> Ecritures::termine(const std::string& path, const std::string* bytes) {
  if (!preparee_ || preparee_->path != path) return std::nullopt;
  const std::unique_ptr<Preparee> p = std::move(preparee_);
  const std::string tmp = p->path + ".pret";
  const int err = p->pret.get();
  if (!err && bytes && p->bytes == *bytes) {
    const Ecriture faite = renomme(disque_, tmp, path);
    ++(faite ? bilan_.renommees : bilan_.perdues);
    return faite;
  }
  if (!err) disque_.remove(tmp);
  ++bilan_.perdues;
  return std::nullopt;
}

void Ecritures::prepare(const std::string& path, const std::string& bytes) {
  if (preparee_) termine(preparee_->path, nullptr);
  Storage* disque = &disque_;
  preparee_.reset(new Preparee{path, bytes, std::async(std::launch::async, [disque, tmp = path + ".pret", bytes] {
                                 return disque->write_whole(tmp, bytes);
                               })});
}

Ecritures& ecritures(Context& c) {
  if (!c.s.ecritures) c.s.ecritures = std::make_shared<Ecritures>(c.p.storage());
  return *c.s.ecritures;
}

Ecriture Ecritures::ecrit(const std::string& path, const std::string& bytes) {
  if (auto faite = termine(path, &bytes)) return *faite;
  return ecrit_fichier_atomique(disque_, path, bytes);
}

}  // namespace brivel
