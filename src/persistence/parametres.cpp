#include <algorithm>
#include <cctype>
#include <filesystem>

#include "console/file_list.h"
#include "geometry/note_names.h"
#include "link/connection.h"
#include "link/param_push.h"
#include "persistence/files/parameter_file.h"
#include "persistence/files/text_file.h"
#include "import/refus_import.h"
#include "persistence/persistence.h"
#include "persistence/refus_parametres.h"

namespace brivel {

namespace {
// Bigger than any parameter file by far (163 short lines); a file of
// another kind is read like one, but not a whole disk image.
constexpr std::size_t kTailleMaxSet = 1 << 20;
}  // namespace

bool charge_parametres(Context& c) {
  Model& m = c.m;
  RunState& s = c.s;
  s.mesure_origine = 0;
  const std::string en_cours = s.nom_fichier_set;
  if (!s.reprise_contexte) s.nom_fichier_set = m.File1.selected() >= 0 ? m.File1.row(m.File1.selected()) : "";
  const std::string nom = s.nom_fichier_set;
  if (nom.empty()) return false;
  const std::string chemin = s.dossier_appli + nom;
  auto octets = lit_fichier_octets(c.p.storage(), chemin, kTailleMaxSet);
  if (!octets) {
    m.Label_defautP.set_text("Fichier de paramètres illisible : " + chemin);
    return false;
  }
  // Checked whole first: a file refused changes nothing of the instrument
  // in use, and nothing of it reaches the board.
  if (auto refus = refus_fichier_parametres(m, *octets)) {
    s.nom_fichier_set = en_cours;
    const auto& rows = m.File1.rows();
    const auto at = std::find(rows.begin(), rows.end(), en_cours);
    m.File1.set_selected(at == rows.end() ? -1 : static_cast<int>(at - rows.begin()));
    // The piece opened meant to be punched with the instrument chosen now.
    refuse_piece(c, "Fichier de paramètres refusé : " + nom + " : " + *refus);
    c.p.dialogs().message_box("Le fichier de paramètres " + nom + " est refusé :\r\n" + *refus + "\r\n" +
                                  (en_cours.empty() ? std::string("Aucun instrument n'est chargé.")
                                                    : "L'instrument en cours reste celui de " + en_cours + "."),
                              BoxButtons::Ok);
    return false;
  }
  // Each value lands in its field in the order of the lines, and each
  // change runs what the field runs: frames to the board, the port, the
  // reminder box that the load waits for.
  const LectureParametres lecture = lit_fichier_parametres(*octets);
  for (const AffectationParam& a : lecture.affectations) {
    if (a.champ == "reserve_set") {
      s.reserve_set = a.nombre;
    } else if (a.forme == FormeParam::Texte) {
      if (a.champ == "AdressePort" && c.p.serial().is_open()) continue;
      m.get(a.champ).set_text(a.texte);
    } else {
      m.get(a.champ).set_value(a.nombre);
    }
  }
  if (lecture.complet && m.valid_pwm.value() == 0) {
    m.dcycle_pwm.set_enabled(false);
    m.dcycle_pwm.set_color(palette::kMenu);
  }
  // A file that stops short still counts as loaded.
  m.Ouvre_midi.set_enabled(true);
  charge_noms_notes(c);
  m.Label_defautP.set_text(s.reprise_contexte ? "Ouverture d'un fichier Midi" : "Ouvrir un fichier Midi");
  m.Avance.set_enabled(true);
  ouvre_port(c);
  if (c.p.serial().is_open()) param_arduino(c);
  // Loaded: the next start of the console picks it again.
  ecritures(c).ecrit(s.dossier_appli + kDernierFichierParametres, nom + "\n");
  return true;
}

void File1_Click(Context& c) { charge_parametres(c); }

bool reprend_dernier_parametres(Context& c) {
  Model& m = c.m;
  auto octets = lit_fichier_octets(c.p.storage(), c.s.dossier_appli + kDernierFichierParametres, 4096);
  if (!octets) return false;
  const std::string nom = octets->substr(0, octets->find_first_of("\r\n"));
  refresh_File1(c);
  const auto& rows = m.File1.rows();
  const auto at = std::find(rows.begin(), rows.end(), nom);
  if (nom.empty() || at == rows.end()) return false;
  m.File1.set_selected(static_cast<int>(at - rows.begin()));
  m.File1.click();
  return true;
}

namespace {
bool finit_par_set(const std::string& nom) {
  if (nom.size() < 4) return false;
  std::string ext = nom.substr(nom.size() - 4);
  for (char& ch : ext) ch = static_cast<char>(std::tolower(static_cast<unsigned char>(ch)));
  return ext == ".set";
}
}  // namespace

void Ouvre_param_Click(Context& c) {
  namespace fs = std::filesystem;
  Model& m = c.m;
  FileDialogRequest req;
  req.filter = "Fichiers (*.set)|*.set|Tous (*.*)|*.*|";
  req.filter_index = 1;
  const std::string chemin = c.p.dialogs().open_file(req);
  refresh_File1(c);
  if (chemin.empty()) return;
  // The list shows the program's folder: a file from elsewhere is copied
  // in, under its own name, with ".set" behind it when it lacks it.
  std::string nom = fs::path(chemin).filename().string();
  if (!finit_par_set(nom)) nom += ".set";
  const std::string cible = c.s.dossier_appli + nom;
  std::error_code ec;
  if (!fs::equivalent(chemin, cible, ec)) {
    auto octets = lit_fichier_octets(c.p.storage(), chemin, kTailleMaxSet);
    if (!octets) {
      m.Label_defautP.set_text("Fichier de paramètres illisible : " + chemin);
      return;
    }
    auto deja = lit_fichier_octets(c.p.storage(), cible, kTailleMaxSet);
    if (deja && *deja != *octets &&
        c.p.dialogs().message_box("Le fichier " + nom + " existe déjà dans la liste. Le remplacer par celui de " +
                                      fs::path(chemin).parent_path().string() + " ?",
                                  BoxButtons::YesNoDefaultNo) != BoxAnswer::Yes)
      return;
    if (const Ecriture faite = ecritures(c).ecrit(cible, *octets); !faite) {
      m.Label_defautP.set_text("Fichier de paramètres non copié : impossible d'écrire le fichier " + cible + " (" +
                               faite.raison() + ")");
      return;
    }
  }
  refresh_File1(c);
  const auto& rows = m.File1.rows();
  const auto at = std::find(rows.begin(), rows.end(), nom);
  if (at == rows.end()) return;
  // Picked in the list as the operator would: the load follows.
  m.File1.set_selected(static_cast<int>(at - rows.begin()));
  m.File1.click();
}

void Sauve_param_Click(Context& c) {
  FileDialogRequest req;
  req.filter = "Fichiers (*.set)|*.set|Tous (*.*)|*.*|";
  req.filter_index = 1;
  req.overwrite_prompt = true;
  req.start_name = c.s.dossier_appli + c.s.nom_fichier_set;
  std::string chemin = c.p.dialogs().save_file(req);
  // A name typed without ".set" would never show in the list.
  if (!chemin.empty() && !finit_par_set(chemin)) chemin += ".set";
  if (!chemin.empty()) {
    c.p.set_busy(true);
    if (const Ecriture faite = ecritures(c).ecrit(chemin, texte_fichier(lignes_parametres(c.m, c.s))); !faite)
      c.m.Label_defautP.set_text("Paramètres non sauvegardés : impossible d'écrire le fichier " + chemin + " (" +
                                 faite.raison() + ")");
  }
  c.p.set_busy(false);
  refresh_File1(c);
}

void install_persistence(Context& c) {
  Model& m = c.m;
  m.File1.handler = [&c] { File1_Click(c); };
  m.Sauve_param.handler = [&c] { Sauve_param_Click(c); };
  m.Ouvre_param.handler = [&c] { Ouvre_param_Click(c); };
  m.Restitue_contexte.handler = [&c] { Restitue_contexte_Click(c); };
}

}  // namespace brivel
