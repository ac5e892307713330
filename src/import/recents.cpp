#include "import/recents.h"

#include <algorithm>
#include <fstream>

#include "import/ouvre_midi.h"
#include "persistence/files/text_file.h"

namespace brivel {

namespace {

std::string chemin_liste(const RunState& s) { return s.dossier_appli + kMorceauxRecents; }

std::vector<std::string> lit_liste(const RunState& s) {
  std::vector<std::string> out;
  std::ifstream in(chemin_liste(s));
  for (std::string l; std::getline(in, l) && static_cast<int>(out.size()) < Model::kRecents;) {
    if (!l.empty() && l.back() == '\r') l.pop_back();
    if (!l.empty()) out.push_back(l);
  }
  return out;
}

void montre(Model& m, const std::vector<std::string>& liste) {
  for (int i = 1; i <= Model::kRecents; ++i) {
    Element& e = m.recent(i);
    const bool la = i <= static_cast<int>(liste.size());
    e.set_text(la ? std::to_string(i) + " " + liste[static_cast<size_t>(i - 1)] : "");
    e.set_tooltip(la ? liste[static_cast<size_t>(i - 1)] : "");
    e.set_visible(la);
    e.set_enabled(la && m.Ouvre_midi.enabled());
  }
}

}  // namespace

std::vector<std::string> avec_recent(std::vector<std::string> liste, const std::string& chemin) {
  liste.erase(std::remove(liste.begin(), liste.end(), chemin), liste.end());
  liste.insert(liste.begin(), chemin);
  if (static_cast<int>(liste.size()) > Model::kRecents) liste.resize(Model::kRecents);
  return liste;
}

void charge_recents(Context& c) { montre(c.m, lit_liste(c.s)); }

void retient_morceau(Context& c, const std::string& chemin) {
  if (chemin.empty()) return;
  const auto liste = avec_recent(lit_liste(c.s), chemin);
  std::string texte;
  for (const auto& l : liste) texte += l + "\n";
  // A list that can't be written is only a convenience lost: no message.
  ecritures(c).ecrit(chemin_liste(c.s), texte);
  montre(c.m, liste);
}

void recent_Click(Context& c, int i) {
  Model& m = c.m;
  RunState& s = c.s;
  if (!m.Ouvre_midi.enabled() || s.run_on_stack) return;
  const std::string chemin = m.recent(i).tooltip();
  if (chemin.empty()) return;
  m.Liste_fichiers.set_rows({chemin});
  s.fichiers_restants = 1;
  s.rang_fichier = 0;
  relit_morceau(c);
}

void install_recents(Context& c) {
  Model& m = c.m;
  for (int i = 1; i <= Model::kRecents; ++i) m.recent(i).handler = [&c, i] { recent_Click(c, i); };
  // The entries follow the opening's own entry.
  m.subscribe([&m](Element& e, Prop p) {
    if (&e != &m.Ouvre_midi || p != Prop::Enabled) return;
    for (int i = 1; i <= Model::kRecents; ++i) m.recent(i).set_enabled(m.recent(i).visible() && e.enabled());
  });
}

}  // namespace brivel
