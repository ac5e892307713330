#include "persistence/files/context_file.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <ctime>
#include <filesystem>
#include <system_error>

#include <sys/stat.h>

#include "console/file_list.h"
#include "core/cp1252.h"
#include "core/numbers.h"
#include "persistence/files/text_file.h"

namespace brivel {

namespace fs = std::filesystem;

namespace {
// The note state by its colour; a colour the run never gives is "ndef".
std::string note_state(int colour) {
  if (colour == palette::kWhite) return "15";
  if (colour == palette::kLightMagenta) return "13";
  if (colour == palette::kLightRed) return "12";
  return "ndef";
}

int notes_in_use(const Model& m) {
  const double n = std::floor(val(m.NBTouches.text()));
  return static_cast<int>(std::clamp(n, 0.0, static_cast<double>(Model::kNotes)));
}

bool est_etat(const std::string& l) { return l == "15" || l == "13" || l == "12" || l == "ndef"; }

std::optional<int32_t> entier(const std::string& l) {
  auto v = to_number_strict(l);
  return v ? clng(*v) : std::nullopt;
}

// --- History ---------------------------------------------------------------------

// What tells two contexts of one run apart from contexts of two runs.
struct Cle {
  std::string set, chemin;
  double y = 0, trous = 0;
};

std::optional<Cle> cle(const std::vector<std::string>& l, int n) {
  const std::size_t chemin = 3 + 2 * static_cast<std::size_t>(n);
  if (l.size() <= chemin) return std::nullopt;
  return Cle{l[0], l[chemin], val(l[1]), val(l[2])};
}

// The new context goes on from the old one: same files, not further back.
bool meme_course(const std::optional<Cle>& a, const std::optional<Cle>& b) {
  return a && b && a->set == b->set && a->chemin == b->chemin && b->trous >= a->trous && b->y >= a->y;
}

std::string date_du_fichier(const fs::path& p) {
  std::error_code ec;
  const auto ft = fs::last_write_time(p, ec);
  if (ec) return "0000-00-00 00-00-00";
  const std::time_t t = std::chrono::system_clock::to_time_t(std::chrono::file_clock::to_sys(ft));
  std::tm tm{};
  localtime_r(&t, &tm);
  char buf[32];
  std::strftime(buf, sizeof buf, "%Y-%m-%d %H-%M-%S", &tm);
  return buf;
}

bool meme_fichier(const struct stat& a, const struct stat& b) {
  return a.st_ino == b.st_ino && a.st_dev == b.st_dev && a.st_size == b.st_size &&
         a.st_mtim.tv_sec == b.st_mtim.tv_sec && a.st_mtim.tv_nsec == b.st_mtim.tv_nsec;
}

// Keeps the context about to be overwritten when the new one belongs to
// another piece or parameter file, or stands further back (a new run, an
// idle console after a fault outside a run): the history folder holds the
// last kContextesGardes of them, named by date and piece, oldest first.
// The context this console wrote last, and the file it became, are kept:
// during a run the file about to be overwritten is nearly always that one,
// and is then not read again at every step.
void archive_si_besoin(Ecritures& e, const std::string& dossier, const std::vector<std::string>& nouvelles, int n) {
  const fs::path actuel = fs::path(dossier) / kContexteAuto;
  struct stat st {};
  if (::stat(actuel.c_str(), &st) != 0) return;
  if (e.dernier.chemin == actuel.string() && meme_fichier(e.dernier.st, st) &&
      meme_course(cle(e.dernier.lignes, n), cle(nouvelles, n)))
    return;
  auto octets = lit_fichier_octets(e.disque(), actuel.string());
  if (!octets) return;
  const auto anciennes = split_cp1252_lines(*octets);
  const auto a = cle(anciennes, n);
  if (meme_course(a, cle(nouvelles, n))) return;
  if (octets->empty()) return;
  std::error_code ec;
  const fs::path hist = fs::path(dossier) / kDossierHistorique;
  e.disque().make_folders(hist.string());
  std::string piece = a ? fs::path(a->chemin).stem().string() : std::string();
  if (piece.empty()) piece = "sans morceau";
  const std::string base = date_du_fichier(actuel) + " " + piece;
  fs::path cible = hist / (base + ".sav");
  for (int i = 2; fs::exists(cible, ec) && i < 1000; ++i) cible = hist / (base + " (" + std::to_string(i) + ").sav");
  if (!ecrit_fichier_atomique(e.disque(), cible.string(), *octets)) return;
  std::vector<fs::path> gardes;
  for (fs::directory_iterator it(hist, ec), end; !ec && it != end; it.increment(ec))
    if (it->path().extension() == ".sav" && it->is_regular_file(ec)) gardes.push_back(it->path());
  std::sort(gardes.begin(), gardes.end());
  for (std::size_t i = 0; i + kContextesGardes < gardes.size(); ++i) e.disque().remove(gardes[i].string());
}

bool ecrit_auto(Context& c) {
  Ecritures& e = ecritures(c);
  const auto lignes = lignes_contexte(c.m, c.s);
  archive_si_besoin(e, c.s.dossier_appli, lignes, notes_in_use(c.m));
  const std::string chemin = c.s.dossier_appli + kContexteAuto;
  e.dernier.chemin.clear();
  if (const Ecriture faite = e.ecrit(chemin, texte_fichier(lignes)); !faite) {
    c.s.ecriture_en_defaut = std::string(kContexteAuto) + " : " + faite.raison();
    return false;
  }
  struct stat st {};
  if (::stat(chemin.c_str(), &st) == 0) e.dernier = {chemin, lignes, st};
  return true;
}

// --- Reading -----------------------------------------------------------------------

// The lines of `l` fit a context of n notes: states where states stand,
// two numbers behind the notes, then the entries and the empty line.
bool structure_pour(const std::vector<std::string>& l, int n) {
  const std::size_t fin_notes = 2 + 2 * static_cast<std::size_t>(n);
  if (l.size() < fin_notes + 5) return false;
  for (int k = 1; k <= n; ++k) {
    const std::string& bulle = l[2 + 2 * static_cast<std::size_t>(k)];
    if (!est_etat(l[1 + 2 * static_cast<std::size_t>(k)])) return false;
    if (!bulle.empty() && !to_number_strict(bulle)) return false;
  }
  const auto rang = entier(l[fin_notes + 2]), restants = entier(l[fin_notes + 3]);
  if (!rang || !restants) return false;
  std::size_t f = 0;
  while (fin_notes + 4 + f < l.size() && !l[fin_notes + 4 + f].empty()) ++f;
  if (fin_notes + 4 + f >= l.size()) return false;  // no closing empty line
  const int64_t somme = int64_t{*rang} + *restants;
  // A chain that has run to its end has one entry more than it counts.
  return static_cast<int64_t>(f) == somme || static_cast<int64_t>(f) == somme + 1;
}

// The lines of a context; `apres_le_trou`: as they will be once the punch
// cycle under way is answered, its hole counted and the closing notes put
// at rest.
std::vector<std::string> lignes(const Model& m, const RunState& s, bool apres_le_trou,
                                const std::optional<RunState::AvanceY>& avance) {
  std::vector<std::string> lines;
  lines.push_back(s.nom_fichier_set);
  lines.push_back(m.compteurXY(1).text());
  lines.push_back(str_plain(s.compteur_trous + (apres_le_trou ? 1 : 0)));
  const int n = notes_in_use(m);
  for (int k = 1; k <= n; ++k) {
    const bool au_repos = apres_le_trou && m.Note(k).color() == palette::kLightMagenta;
    lines.push_back(au_repos ? "15" : note_state(m.Note(k).color()));
    lines.push_back(au_repos ? "" : m.Note(k).tooltip());
  }
  lines.push_back(s.chemin_midi);
  lines.push_back(str_num(s.rang_fichier));
  lines.push_back(str_num(s.fichiers_restants));
  for (const auto& entry : m.Liste_fichiers.rows()) lines.push_back(entry);
  if (avance) {
    lines.push_back("");  // the file's own end; what follows is ours
    lines.push_back(std::string(kMarqueAvanceY) + " " + std::to_string(avance->depuis) + " " +
                    std::to_string(avance->vers));
  }
  return lines;
}
}  // namespace

std::vector<std::string> lignes_contexte(const Model& m, const RunState& s) {
  return lignes(m, s, false, s.avance_Y_en_cours);
}

void prepare_contexte_avant_avance(Context& c, RunState::AvanceY avance) {
  ecritures(c).prepare(c.s.dossier_appli + kContexteAuto, texte_fichier(lignes(c.m, c.s, true, avance)));
}

bool sauve_contexte_auto(Context& c) {
  const bool ok = ecrit_auto(c);
  refresh_File1(c);
  return ok;
}

bool ecrit_contexte_auto(Context& c) { return ecrit_auto(c); }

void Sauve_contexte_Click(Context& c) {
  FileDialogRequest req;
  req.filter = "Fichiers (*.sav)|*.sav|Tous (*.*)|*.*|";
  req.filter_index = 1;
  req.overwrite_prompt = true;
  req.start_name = c.s.dossier_appli + c.s.nom_midi_court + ".sav";
  const std::string path = c.p.dialogs().save_file(req);
  if (!path.empty()) {
    c.p.set_busy(true);
    if (const Ecriture faite = ecritures(c).ecrit(path, texte_fichier(lignes_contexte(c.m, c.s))); !faite)
      c.m.Label_defautP.set_text("Contexte non sauvegardé : impossible d'écrire le fichier " + path + " (" +
                                 faite.raison() + ")");
  }
  c.p.set_busy(false);
  refresh_File1(c);
  c.m.Avance.set_enabled(true);
}

std::string premiere_ligne(std::string_view octets) {
  const auto fin = octets.find_first_of("\r\n");
  return cp1252_to_utf8(octets.substr(0, fin));
}

LectureContexte lit_contexte(std::string_view octets, int n) {
  LectureContexte r;
  const std::vector<std::string> l = split_cp1252_lines(octets);
  n = std::clamp(n, 0, Model::kNotes);
  if (!structure_pour(l, n)) {
    for (int autre = 0; autre <= Model::kNotes; ++autre) {
      if (autre == n || !structure_pour(l, autre)) continue;
      r.erreur = "enregistré pour " + std::to_string(autre) + " notes, le fichier de paramètres en a " +
                 std::to_string(n) + " (ligne " + std::to_string(7 + 2 * n) + " et suivantes décalées)";
      return r;
    }
  }
  // Line `i` (1-based), or the reason why it is missing.
  auto ligne = [&](std::size_t i, const char* quoi) -> const std::string* {
    if (i <= l.size()) return &l[i - 1];
    r.erreur = "le fichier s'arrête à la ligne " + std::to_string(l.size()) + ", avant " + quoi + " (ligne " +
               std::to_string(i) + ")";
    return nullptr;
  };
  auto illisible = [&](std::size_t i, const char* quoi, const std::string& texte) {
    r.erreur = "ligne " + std::to_string(i) + " : " + quoi + " « " + texte + " » n'est pas un nombre";
  };

  const std::string* t = ligne(1, "le nom du fichier de paramètres");
  if (!t) return r;
  r.nom_fichier_set = *t;
  if (!(t = ligne(2, "la position Y"))) return r;
  r.y = *t;
  auto y = to_number_strict(*t);
  if (!y || !std::isfinite(*y)) return illisible(2, "la position Y", *t), r;
  r.y_pas = *y;
  if (!(t = ligne(3, "le nombre de perforations"))) return r;
  auto trous = entier(*t);
  if (!trous) return illisible(3, "le nombre de perforations", *t), r;
  r.compteur_trous = *trous;
  for (int k = 1; k <= n; ++k) {
    const std::string* etat = ligne(2 + 2 * static_cast<std::size_t>(k), "l'état d'une note");
    if (!etat) return r;
    const std::string* bulle = ligne(3 + 2 * static_cast<std::size_t>(k), "la fin d'une note");
    if (!bulle) return r;
    r.notes.push_back({*etat, *bulle});
  }
  const std::size_t base = 2 * static_cast<std::size_t>(n);
  if (!(t = ligne(base + 4, "le fichier Midi"))) return r;
  r.chemin_midi = *t;
  if (!(t = ligne(base + 5, "le rang du fichier"))) return r;
  auto rang = entier(*t);
  if (!rang || !cint(*rang) || *rang < 0) return illisible(base + 5, "le rang du fichier", *t), r;
  r.rang_fichier = static_cast<int16_t>(*rang);
  if (!(t = ligne(base + 6, "le nombre de fichiers restants"))) return r;
  auto restants = entier(*t);
  if (!restants || *restants < 0) return illisible(base + 6, "le nombre de fichiers restants", *t), r;
  r.fichiers_restants = *restants;
  const int64_t entrees = int64_t{r.rang_fichier} + r.fichiers_restants;
  if (static_cast<int64_t>(l.size()) < static_cast<int64_t>(base + 6) + entrees) {
    ligne(base + 7 + static_cast<std::size_t>(entrees) - 1, "la fin de la liste des fichiers");
    return r;
  }
  for (int64_t i = 0; i < entrees; ++i) r.fichiers.push_back(l[base + 6 + static_cast<std::size_t>(i)]);
  // Our own lines, behind the file's empty line.
  for (std::size_t i = base + 6 + static_cast<std::size_t>(entrees); i < l.size(); ++i) {
    const std::string& x = l[i];
    const std::string marque = std::string(kMarqueAvanceY) + " ";
    if (x.compare(0, marque.size(), marque) != 0) continue;
    const std::string reste = x.substr(marque.size());
    const auto blanc = reste.find(' ');
    if (blanc == std::string::npos) continue;
    auto depuis = entier(reste.substr(0, blanc)), vers = entier(reste.substr(blanc + 1));
    if (depuis && vers) r.avance = RunState::AvanceY{*depuis, *vers};
  }
  return r;
}

}  // namespace brivel
