#include "import/ouvre_midi.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <optional>
#include <set>

#include "core/app_paths.h"
#include "core/numbers.h"
#include "geometry/positions.h"
#include "import/analyse.h"
#include "import/fichier_midi.h"
#include "import/intermediaires.h"
#include "import/lecture_evenements.h"
#include "import/recents.h"
#include "import/refus_import.h"
#include "import/vertalen.h"

namespace brivel {

namespace {

// The text event file on its way to Temp/: the decoder's pieces are written
// as they come, and watched by a reader so that the conversion stops once
// the rows have passed the list's limit (the opening ends there anyway).
struct EcritureTemp {
  std::ofstream out;
  LecteurEvenements veille;
  EcritureTemp(const std::string& chemin, const ReglagesImport& r, const std::vector<double>* gamme)
      : veille(r, gamme) {
    std::error_code ec;
    auto dossier = std::filesystem::path(chemin).parent_path();
    if (!dossier.empty()) std::filesystem::create_directories(dossier, ec);  // Temp/ is made when missing
    out.open(chemin, std::ios::binary | std::ios::trunc);
  }
  bool ecrit(std::string_view piece) {
    out.write(piece.data(), static_cast<std::streamsize>(piece.size()));
    return static_cast<bool>(out) && veille.ajoute(piece);
  }
};

// Reads the text event file back in pieces; empty when it can't be read.
std::optional<LectureEvenements> relit_temp(const std::string& chemin, const ReglagesImport& r,
                                            const std::vector<double>* gamme) {
  std::ifstream in(chemin, std::ios::binary);
  if (!in) return std::nullopt;
  LecteurEvenements lecteur(r, gamme);
  std::string morceau(1 << 16, '\0');
  while (in.read(morceau.data(), static_cast<std::streamsize>(morceau.size())) || in.gcount() > 0) {
    if (!lecteur.ajoute(std::string_view(morceau).substr(0, static_cast<std::size_t>(in.gcount())))) break;
  }
  if (in.bad()) return std::nullopt;
  lecteur.fin();
  return std::move(lecteur.resultat());
}

// The dialog road: fills Liste_fichiers. False when the operator cancelled.
bool choisit_fichiers(Context& c) {
  c.m.Liste_fichiers.clear_rows();
  FileDialogRequest req;
  // Both extensions of a Standard MIDI File, in either case: the file
  // dialogs of Linux tell case apart.
  req.filter = "Fichiers MIDI (*.mid *.midi *.MID *.MIDI *.Mid)|*.mid;*.midi;*.MID;*.MIDI;*.Mid|Tous (*.*)|*.*|";
  req.filter_index = 1;
  req.multi_select = true;
  std::string reponse = c.p.dialogs().open_file(req);
  if (reponse.empty()) return false;
  auto chemins = chemins_selection(reponse);
  for (const auto& ch : chemins) c.m.Liste_fichiers.add_row(ch);
  c.s.fichiers_restants = static_cast<int32_t>(chemins.size());
  c.s.rang_fichier = 0;
  return true;
}

}  // namespace

std::optional<std::vector<double>> gamme_verifiee(const Model& m) {
  if (m.Check5.value() != 1) return std::nullopt;
  std::vector<double> gamme;
  int n = nb_touches(m.NBTouches.text()).value_or(0);  // checked before the opening
  for (int k = 1; k <= n; ++k) gamme.push_back(val(m.Note(k).text()));
  return gamme;
}

std::vector<std::string> chemins_selection(const std::string& reponse) {
  std::vector<std::string> parts;
  size_t debut = 0;
  for (;;) {
    size_t z = reponse.find('\0', debut);
    parts.push_back(reponse.substr(debut, z == std::string::npos ? std::string::npos : z - debut));
    if (z == std::string::npos) break;
    debut = z + 1;
  }
  if (parts.size() == 1) return parts;
  std::string dossier = parts[0];
  if (dossier.empty() || dossier.back() != kSep) dossier += kSep;
  std::vector<std::string> out;
  for (size_t i = 1; i < parts.size(); ++i)
    if (!parts[i].empty()) out.push_back(dossier + parts[i]);
  return out;
}

std::string nom_court(const std::string& chemin) {
  size_t sep = chemin.rfind(kSep);
  if (sep == std::string::npos) return {};
  std::string nom = chemin.substr(sep + 1);
  return nom.size() >= 4 ? nom.substr(0, nom.size() - 4) : std::string();
}

bool importe_evenements(Context& c, std::string_view octets, const ReglagesImport& r) {
  auto gamme = gamme_verifiee(c.m);
  return importe_lecture(c, lit_evenements(octets, r, gamme ? &*gamme : nullptr), r);
}

int rangs_hors_gamme(const Model& m) {
  std::set<int> gamme;
  const int n = std::clamp(static_cast<int>(val(m.NBTouches.text())), 0, Model::kNotes);
  for (int k = 1; k <= n; ++k) gamme.insert(static_cast<int>(val(m.Note(k).text())));
  int hors = 0;
  for (const std::string& row : m.List3.rows())
    if (row.size() >= 18 && row.compare(14, 4, "NOTE") == 0 && !gamme.count(static_cast<int>(val(row.substr(8, 5)))))
      ++hors;
  return hors;
}

bool importe_lecture(Context& c, LectureEvenements&& l, const ReglagesImport& r, int64_t notes_sans_fin) {
  Model& m = c.m;
  RunState& s = c.s;
  s.pas_Y_mm = r.pas_Y_mm;
  s.ms_par_pas = s.pas_Y_mm * 1000 / r.vitesse;
  m.List3.clear_rows();
  s.pas_poincon = static_cast<int16_t>(r.largeur);
  s.nb_hors_gamme = 0;
  s.nb_hors_gamme = l.nb_hors_gamme;
  m.List3.set_rows(std::move(l.lignes));
  if (l.trop) arret_trop_evenements(c);
  if (m.List3.count() == 0) {
    refuse_piece(c, message_aucune_note(notes_sans_fin));
    return false;
  }
  // The title names the piece opened, HEAD line or not.
  m.Label4.set_text(s.chemin_midi);
  efface_compteurs_course(m);
  const std::string& derniere = m.List3.rows().back();
  const double total = val(std::string_view(derniere).substr(0, 7));
  AnalysePiece a = analyse_piece(total, s.ms_par_pas, s.pas_Y_mm, s.nb_hors_gamme);
  m.Text7.set_text("0");
  m.Text8.set_text(str_plain(a.fin_ms));
  s.duree_ms = a.fin_ms;
  m.Deb_perf_mn.set_text("0");
  m.Deb_perf_sec.set_text("0");
  s.reste_fin_ms = a.reste_fin_ms;
  m.Fin_perf_mn.set_text(str_plain(a.minutes));
  m.Fin_perf_sec.set_text(str_plain(a.secondes));
  s.fin_saisie = false;  // writing the two fields above set it
  Command7_Click(c);
  // Without the scale check the line would say nothing of notes the organ
  // lacks: their count goes behind it, and the card view names them.
  const int hors = s.nb_hors_gamme == 0 ? rangs_hors_gamme(m) : 0;
  m.Label_defautP.set_text(hors == 0 ? a.service
                                     : a.service + " - " + std::to_string(hors) +
                                           (hors == 1 ? " note hors gamme" : " notes hors gamme") +
                                           " (Fenêtre > Carton)");
  s.mode_simulation = m.Text9.text() == "7351";
  m.Command11.set_enabled(true);
  m.perfo_retard.set_enabled(true);
  s.evenements.tell({RunEvent::Kind::PieceChanged});
  return true;
}

void Ouvre_midi_Click(Context& c) {
  Model& m = c.m;
  RunState& s = c.s;

  PreparationImport prep = prepare_import(champs_import(m));
  if (!prep.reglages) {
    refuse_piece(c, prep.refus);
    return;
  }
  const ReglagesImport& r = *prep.reglages;

  if (!s.reprise_contexte && !s.enchainement && !choisit_fichiers(c)) return;

  s.pas_Y_mm = r.pas_Y_mm;
  s.ms_par_pas = s.pas_Y_mm * 1000 / r.vitesse;
  if (!s.reprise_contexte)
    s.chemin_midi = s.rang_fichier >= 0 && s.rang_fichier < m.Liste_fichiers.count()
                        ? m.Liste_fichiers.row(s.rang_fichier)
                        : std::string();
  if (s.chemin_midi.empty()) return;
  if (s.chemin_midi.find(kSep) != std::string::npos) s.nom_midi_court = nom_court(s.chemin_midi);

  if (auto refus = refus_fichier_midi(s.chemin_midi)) {
    c.p.dialogs().message_box(*refus, BoxButtons::Ok);
    refuse_piece(c, *refus);
    return;
  }
  SourceFichier midi(s.chemin_midi);
  auto gamme = gamme_verifiee(m);
  const std::vector<double>* g = gamme ? &*gamme : nullptr;

  c.p.set_busy(true);
  EcritureTemp temp(s.chemin_midid, r, g);
  VertalenResult v = vertalen(
      midi, s.chemin_midi, [&temp](std::string_view piece) { return temp.ecrit(piece); },
      [&m](int64_t valeur, int64_t max) {
        m.gauge1.set_max(static_cast<int>(std::min<int64_t>(max, INT32_MAX)));
        m.gauge1.set_value(static_cast<int>(std::min<int64_t>(valeur, INT32_MAX)));
      });
  s.midi_erreur_code = v.midi_erreur_code;
  s.midi_erreur_texte = v.midi_erreur_texte;
  temp.out.close();
  const bool ecrit = static_cast<bool>(temp.out) && (!v.interrompu || temp.veille.trop());
  m.Label_defautP.set_text("Analyse et conversion du fichier Midi");
  attente_ms(c.p, kAttenteConversionMs);

  if (!midi.ouvert() || midi.erreur()) {
    c.p.set_busy(false);
    std::error_code ec;
    std::filesystem::remove(s.chemin_midid, ec);
    refuse_piece(c, message_fichier_illisible(s.chemin_midi));
    return;
  }
  // Inside a track, the rest of the piece is missing: a card punched from it
  // would be spoilt. Behind the last whole track, nothing is.
  const bool arret = s.midi_erreur_code != 0;
  std::optional<LectureEvenements> lecture =
      ecrit && (!arret || v.apres_les_pistes) ? relit_temp(s.chemin_midid, r, g) : std::nullopt;
  std::error_code ec;
  std::filesystem::remove(s.chemin_midid, ec);
  if (arret && !v.apres_les_pistes) {
    c.p.set_busy(false);
    refuse_piece(c, service_conversion_interrompue(s.midi_erreur_code, s.midi_erreur_texte, false));
    c.p.dialogs().message_box(message_conversion_interrompue(s.midi_erreur_code, s.midi_erreur_texte, false),
                              BoxButtons::Ok);
    return;
  }
  if (!lecture) {
    c.p.set_busy(false);
    refuse_piece(c, message_temp_impossible(s.chemin_midid));
    return;
  }

  const bool importe = importe_lecture(c, std::move(*lecture), r, v.notes_sans_fin);
  c.p.set_busy(false);
  if (importe) retient_morceau(c, s.chemin_midi);
  if (arret && importe) {
    m.Label_defautP.set_text(service_conversion_interrompue(s.midi_erreur_code, s.midi_erreur_texte, true));
    c.p.dialogs().message_box(message_conversion_interrompue(s.midi_erreur_code, s.midi_erreur_texte, true),
                              BoxButtons::Ok);
  }
}

void relit_morceau(Context& c) {
  RunState& s = c.s;
  if (s.run_on_stack || s.rang_fichier < 0 || s.rang_fichier >= c.m.Liste_fichiers.count()) return;
  const int16_t avant = s.enchainement;
  s.enchainement = -1;
  Ouvre_midi_Click(c);
  s.enchainement = avant;
}

}  // namespace brivel
