#include "import/fichier_midi.h"

#include "platform/storage.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <iterator>

namespace brivel {

namespace {

constexpr int64_t kTranche = 64 * 1024;

std::string taille_texte(int64_t octets) {
  char buf[32];
  std::snprintf(buf, sizeof buf, "%.1f Mo", static_cast<double>(octets) / (1024.0 * 1024.0));
  return buf;
}

// Why `chemin` can't be read as a `quoi` of at most `max_octets`, the size
// limit told by `pourquoi_trop`.
std::optional<std::string> refus_fichier(const std::string& chemin, const std::string& quoi, int64_t max_octets,
                                         const std::string& pourquoi_trop) {
  namespace fs = std::filesystem;
  std::error_code ec;
  const fs::file_status st = fs::status(chemin, ec);
  if (st.type() == fs::file_type::not_found) return quoi + " introuvable : " + chemin;
  if (ec) return quoi + " illisible : " + chemin + " (" + texte_erreur_disque(ec.value()) + ")";
  if (st.type() == fs::file_type::directory) return quoi + " refusé : " + chemin + " est un dossier";
  if (st.type() != fs::file_type::regular)
    return quoi + " refusé : " + chemin + " n'est pas un fichier ordinaire (périphérique, tube ou socket)";
  const auto octets = static_cast<int64_t>(fs::file_size(chemin, ec));
  if (!ec && octets > max_octets)
    return quoi + " refusé : " + chemin + " fait " + taille_texte(octets) + ", " + pourquoi_trop;
  errno = 0;
  std::ifstream in(chemin, std::ios::binary);
  if (!in) return quoi + " illisible : " + chemin + (errno ? " (" + texte_erreur_disque(errno) + ")" : "");
  return std::nullopt;
}

}  // namespace

std::optional<std::string> refus_fichier_midi(const std::string& chemin) {
  return refus_fichier(chemin, "Fichier Midi", kTailleMaxMidi,
                       "au-delà des " + taille_texte(kTailleMaxMidi) + " qu'aucun morceau n'atteint");
}

std::optional<std::string> refus_fichier_texte(const std::string& chemin, const std::string& quoi, int64_t max_octets) {
  return refus_fichier(chemin, quoi, max_octets, "bien plus qu'un tel fichier");
}

std::optional<std::string> lit_fichier_texte(const std::string& chemin) {
  std::ifstream in(chemin, std::ios::binary);
  if (!in) return std::nullopt;
  std::string octets((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  if (in.bad()) return std::nullopt;
  return octets;
}

SourceFichier::SourceFichier(const std::string& chemin) : in_(chemin, std::ios::binary) {
  if (!in_) return;
  in_.seekg(0, std::ios::end);
  taille_ = static_cast<int64_t>(in_.tellg());
  in_.seekg(0);
  if (!in_ || taille_ < 0) {
    in_.setstate(std::ios::failbit);
    taille_ = 0;
  }
}

std::string_view SourceFichier::vue(int64_t debut, int64_t n) {
  debut = std::clamp<int64_t>(debut, 0, taille_);
  const int64_t voulu = std::min(std::max(n, kTranche), taille_ - debut);
  if (debut < debut_ || debut + voulu > debut_ + static_cast<int64_t>(tampon_.size())) {
    tampon_.resize(static_cast<std::size_t>(voulu));
    in_.clear();
    in_.seekg(debut);
    in_.read(tampon_.data(), voulu);
    const auto lus = static_cast<int64_t>(in_.gcount());
    if (lus < voulu) erreur_ = true;
    tampon_.resize(static_cast<std::size_t>(lus));
    debut_ = debut;
  }
  return std::string_view(tampon_).substr(static_cast<std::size_t>(debut - debut_));
}

}  // namespace brivel
