#include "persistence/files/context_file.h"

#include <algorithm>
#include <cmath>

#include "console/file_list.h"
#include "core/numbers.h"
#include "persistence/files/text_file.h"

namespace brivel {

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
}  // namespace

std::vector<std::string> lignes_contexte(const Model& m, const RunState& s) {
  std::vector<std::string> lines;
  lines.push_back(s.nom_fichier_set);
  lines.push_back(m.compteurXY(1).text());
  lines.push_back(str_plain(s.compteur_trous));
  const int n = notes_in_use(m);
  for (int k = 1; k <= n; ++k) {
    lines.push_back(note_state(m.Note(k).color()));
    lines.push_back(m.Note(k).tooltip());
  }
  lines.push_back(s.chemin_midi);
  lines.push_back(str_num(s.rang_fichier));
  lines.push_back(str_num(s.fichiers_restants));
  for (const auto& entry : m.Liste_fichiers.rows()) lines.push_back(entry);
  return lines;
}

bool sauve_contexte_auto(Context& c) {
  const bool ok =
      ecrit_fichier_atomique(c.s.dossier_appli + kContexteAuto, texte_fichier(lignes_contexte(c.m, c.s)));
  refresh_File1(c);
  return ok;
}

void Sauve_contexte_Click(Context& c) {
  FileDialogRequest req;
  req.filter = "Fichiers (*.sav)|*.sav|Tous (*.*)|*.*|";
  req.filter_index = 1;
  req.overwrite_prompt = true;
  req.start_name = c.s.dossier_appli + c.s.nom_midi_court + ".sav";
  const std::string path = c.p.dialogs().save_file(req);
  if (!path.empty()) {
    c.p.set_busy(true);
    if (!ecrit_fichier_atomique(path, texte_fichier(lignes_contexte(c.m, c.s))))
      c.m.Label_defautP.set_text("Contexte non sauvegardé : impossible d'écrire le fichier " + path);
  }
  c.p.set_busy(false);
  refresh_File1(c);
  c.m.Avance.set_enabled(true);
}

}  // namespace brivel
