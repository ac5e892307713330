#include "run/engine/verifications.h"

#include <algorithm>
#include <cmath>
#include <set>

#include "core/numbers.h"
#include "link/line.h"
#include "run/engine/ligne_run.h"

namespace brivel {

namespace {
std::string compte(double v) { return str_plain(std::round(v)); }

bool champ_nombre(const Element& e) { return to_number_strict(e.text()).has_value(); }
}  // namespace

int notes_utilisees(const Model& m) {
  const double n = std::floor(val(m.NBTouches.text()));
  return static_cast<int>(std::clamp(n, 0.0, static_cast<double>(Model::kNotes)));
}

double plus_grande_avance_Y(const std::vector<std::string>& lignes, double depart) {
  double avant = depart, plus_grande = 0;
  for (const auto& l : lignes) {
    const double p = lit_ligne_run(l).pas;
    plus_grande = std::max(plus_grande, p - avant);
    avant = p;
  }
  return plus_grande;
}

double plus_grand_ecart_X(const std::vector<double>& positions) {
  if (positions.empty()) return 0;
  auto [lo, hi] = std::minmax_element(positions.begin(), positions.end());
  return *hi - *lo;
}

std::optional<std::string> refus_perforation(Context& c) {
  Model& m = c.m;
  RunState& s = c.s;
  if (!c.p.serial().is_open()) {
    return std::string("Machine non connectée : perforation impossible. ") + kOuTrouverLePort;
  }
  if (!(s.ms_par_pas > 0) || !std::isfinite(s.ms_par_pas) || !(s.pas_Y_mm > 0)) {
    return "Durée d'un pas nulle : vérifier la vitesse du carton, le pas moteur Y et la précision, puis "
           "rouvrir le fichier Midi";
  }
  for (const Element* e : {&m.Deb_perf_mn, &m.Deb_perf_sec, &m.Fin_perf_mn, &m.Fin_perf_sec}) {
    if (!champ_nombre(*e))
      return "Bornes de perforation illisibles : \"" + e->text() +
             "\" n'est pas un nombre. Indiquer les minutes et les secondes en chiffres";
  }
  const double nbpas_y = val(m.NbpasY.text());
  const double depart = round_half_even(std::floor(val(m.Poincon.text()) / s.pas_Y_mm) / 2);
  const double y = plus_grande_avance_Y(m.List3.rows(), depart) * nbpas_y;
  if (std::round(y) > kCompteMax) {
    return "Avance du carton trop grande pour la machine : " + compte(y) +
           " pas moteur d'une ligne à la suivante (99999 au plus). Réduire la précision";
  }
  if (s.fichiers_restants > 1) {
    const double pas_chaine = std::floor(val(m.Dist_cartons.text()) / (nbpas_y * val(m.PasmotY.text())));
    if (std::round(pas_chaine * nbpas_y) > kCompteMax)
      return "Avance du carton entre deux fichiers trop grande pour la machine : " + compte(pas_chaine * nbpas_y) +
             " pas moteur (99999 au plus)";
  }
  // The tracks the piece punches, and the card's edge where a search leaves
  // the head.
  std::set<double> notes;
  for (const auto& l : m.List3.rows()) {
    const LigneRun r = lit_ligne_run(l);
    if (r.mot == "NOTE") notes.insert(r.note);
  }
  std::vector<double> positions{val(m.Text_origineX.text())};
  const int n = notes_utilisees(m);
  for (int k = 1; k <= n; ++k)
    if (notes.count(val(m.Note(k).text()))) positions.push_back(val(m.Position(k).text()));
  const double x = plus_grand_ecart_X(positions);
  if (std::round(x) > kCompteMax) {
    return "Déplacement de la tête trop grand pour la machine : " + compte(x) +
           " pas (99999 au plus). Vérifier la position des notes";
  }
  return std::nullopt;
}

}  // namespace brivel
