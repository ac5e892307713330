#include <algorithm>
#include <cmath>
#include <filesystem>

#include "core/numbers.h"
#include "import/fichier_midi.h"
#include "import/ouvre_midi.h"
#include "persistence/files/context_file.h"
#include "persistence/files/parameter_file.h"
#include "persistence/files/text_file.h"
#include "persistence/persistence.h"

namespace brivel {

namespace {

constexpr std::size_t kTailleMaxContexte = 1 << 20;

// NBTouches as the parameter file gives it on line 17, or as the field
// holds it when the file stops before that line (the load leaves it so).
int notes_du_fichier(const Model& m, std::string_view octets_set) {
  std::string texte = m.NBTouches.text();
  for (const AffectationParam& a : lit_fichier_parametres(octets_set).affectations)
    if (a.champ == "NBTouches") texte = a.texte;
  return static_cast<int>(std::clamp(std::floor(val(texte)), 0.0, static_cast<double>(Model::kNotes)));
}

int couleur_etat(const std::string& etat) {
  if (etat == "13") return palette::kLightMagenta;
  if (etat == "12") return palette::kLightRed;
  return palette::kWhite;
}

// A Y move had gone out when the program stopped: the board may or may not
// have fed the card, and the line can't tell. The operator looks at the card.
int32_t y_apres_avance(Context& c, const RunState::AvanceY& a) {
  const std::string texte =
      "Une avance du carton était en cours quand la perforation s'est arrêtée : du pas " + std::to_string(a.depuis) +
      " au pas " + std::to_string(a.vers) +
      ".\r\nVérifiez le carton sous le poinçon : la dernière rangée de trous est-elle déjà passée, le carton "
      "a-t-il avancé ?\r\nOui : la reprise part du pas " +
      std::to_string(a.vers) + ".\r\nNon : la reprise part du pas " + std::to_string(a.depuis) +
      ", dont les trous sont refaits à leur place.";
  return c.p.dialogs().message_box(texte, BoxButtons::YesNoDefaultNo) == BoxAnswer::Yes ? a.vers : a.depuis;
}

// What a failed restore leaves: no flag of a restore, no "Perforer", and
// the reason on the service line.
void echec(Context& c, const std::string& fichier, const std::string& pourquoi) {
  c.s.reprise_contexte = false;
  c.s.reprise_sans_avance = false;
  c.s.y_reprise.reset();
  c.m.Command11.set_enabled(false);
  c.m.perfo_retard.set_enabled(false);
  c.m.Label_defautP.set_text("Contexte non restitué : " + fichier + " : " + pourquoi);
}

}  // namespace

void Restitue_contexte_Click(Context& c) {
  Model& m = c.m;
  RunState& s = c.s;
  FileDialogRequest req;
  req.filter = "Fichiers (*.sav)|*.sav|Tous (*.*)|*.*|";
  req.filter_index = 1;
  req.start_name = s.dossier_appli + "*.sav";
  const std::string chemin = c.p.dialogs().open_file(req);
  if (chemin.empty()) return;

  // Everything the restore needs is read and checked before anything
  // changes: a file that can't be restored leaves the console as it was.
  auto octets = lit_fichier_octets(c.p.storage(), chemin, kTailleMaxContexte);
  if (!octets) return c.m.Label_defautP.set_text("Contexte non restitué : " + chemin + " : fichier illisible");
  const std::string nom_set = premiere_ligne(*octets);
  if (nom_set.empty())
    return c.m.Label_defautP.set_text("Contexte non restitué : " + chemin +
                                      " : ligne 1 : pas de nom de fichier de paramètres");
  auto octets_set = lit_fichier_octets(c.p.storage(), s.dossier_appli + nom_set);
  if (!octets_set)
    return c.m.Label_defautP.set_text("Contexte non restitué : " + chemin + " : ligne 1 : fichier de paramètres " +
                                      s.dossier_appli + nom_set + " introuvable ou illisible");
  const int n = notes_du_fichier(m, *octets_set);
  LectureContexte ctx = lit_contexte(*octets, n);
  if (!ctx.erreur.empty()) return c.m.Label_defautP.set_text("Contexte non restitué : " + chemin + " : " + ctx.erreur);
  if (auto refus = refus_fichier_midi(ctx.chemin_midi))
    return c.m.Label_defautP.set_text("Contexte non restitué : " + chemin + " : ligne " + std::to_string(4 + 2 * n) +
                                      " : " + *refus);
  double y = ctx.y_pas;
  if (ctx.avance) y = y_apres_avance(c, *ctx.avance);

  s.reprise_contexte = true;
  s.reprise_sans_avance = true;
  c.p.set_busy(true);
  s.nom_fichier_set = ctx.nom_fichier_set;
  if (!charge_parametres(c)) {
    c.p.set_busy(false);
    return echec(c, chemin, "ligne 1 : " + m.Label_defautP.text());
  }
  s.compteur_trous = ctx.compteur_trous;
  for (int k = 1; k <= n && k <= static_cast<int>(ctx.notes.size()); ++k) {
    m.Note(k).set_color(couleur_etat(ctx.notes[static_cast<std::size_t>(k - 1)].etat));
    m.Note(k).set_tooltip(ctx.notes[static_cast<std::size_t>(k - 1)].bulle);
  }
  s.chemin_midi = ctx.chemin_midi;
  s.rang_fichier = ctx.rang_fichier;
  s.fichiers_restants = ctx.fichiers_restants;
  // The entries replace the list: each stands at its index again.
  m.Liste_fichiers.set_rows(ctx.fichiers);
  // The opening enables "Perforer" only for a piece it could read.
  m.Command11.set_enabled(false);
  Ouvre_midi_Click(c);
  if (!m.Command11.enabled()) {
    c.p.set_busy(false);
    return echec(c, chemin, "ligne " + std::to_string(4 + 2 * n) + " : " + m.Label_defautP.text());
  }
  const double t = std::floor(s.ms_par_pas * y);
  m.Text7.set_text(str_plain(t));
  const double mn = std::floor(val(m.Text7.text()) / 1000 / 60);
  const double sec = std::floor(val(m.Text7.text()) / 1000) - 60 * mn;
  m.Deb_perf_mn.set_text(str_plain(mn));
  m.Deb_perf_sec.set_text(str_plain(sec));
  // Where the card stands: the run takes up its count from here, whatever
  // step Text7 gives back.
  s.y_reprise = clng(y);
  s.avance_Y_en_cours.reset();
  m.Label_defautP.set_text("Contexte restitué : " + std::filesystem::path(chemin).filename().string() + " (pas " +
                           str_plain(y) + ", " + str_plain(s.compteur_trous) + " perforations) - " +
                           m.Label_defautP.text());
  c.p.set_busy(false);
}

}  // namespace brivel
