#include "import/quantisation.h"

#include <cmath>

#include "core/numbers.h"
#include "import/ponts.h"

namespace brivel {

namespace {
// A step through the picture "0000000". A piece at the row limit writes
// some 50000 of them, so the usual case is done here; a value within a
// hair of a half, where the picture's 15-digit decimal form decides, a
// negative one and one of 8 digits go through format_picture itself.
std::string pas_7(double x) {
  if (x >= 0 && x < 9999999) {
    double f = x - std::floor(x);
    if (std::fabs(f - 0.5) > 1e-6) {
      long n = static_cast<long>(std::floor(x + 0.5));
      std::string s(7, '0');
      for (int i = 6; i >= 0 && n > 0; --i, n /= 10) s[static_cast<size_t>(i)] = static_cast<char>('0' + n % 10);
      return s;
    }
  }
  return format_picture(x, "0000000");
}

std::string_view colonnes(std::string_view s, size_t premiere, size_t n) {
  if (premiere - 1 >= s.size()) return {};
  return s.substr(premiere - 1, n);
}
}  // namespace

std::optional<LigneNote> lit_ligne_note(std::string_view ligne) {
  if (ligne.substr(0, 4) != "NOTE" || ligne.size() < 37) return std::nullopt;
  LigneNote n;
  n.debut_ms = val(colonnes(ligne, 5, 8));
  if (n.debut_ms == 999999) return std::nullopt;
  n.cle = std::string(colonnes(ligne, 27, 5));
  n.duree_ms = val(colonnes(ligne, 33, 5));
  return n;
}

PositionsNote positions_note(const LigneNote& n, const ReglagesImport& r) {
  PositionsNote p;
  const double mm_par_ms = r.vitesse / 1000;
  p.debut = n.debut_ms * mm_par_ms / r.pas_Y_mm + r.demi;
  p.longueur = std::floor(n.duree_ms * mm_par_ms / r.pas_Y_mm);
  p.derniere = p.longueur > r.largeur ? p.debut + p.longueur - r.largeur : p.debut;
  if (r.mecanique) p.derniere += r.doigt;
  return p;
}

void lignes_note(const LigneNote& n, const ReglagesImport& r, std::vector<std::string>& out) {
  PositionsNote p = positions_note(n, r);
  if (!r.ponts || p.longueur < r.largeur * r.seuil) {
    out.push_back(ligne_debut(p.debut, n.cle, p.derniere));
    out.push_back(ligne_fin(p.derniere, n.cle));
    return;
  }
  lignes_pontees(p.debut, p.derniere, r.largeur, r.pont, n.cle, out);
}

std::string ligne_debut(double pas, std::string_view cle, double fin) {
  std::string s = pas_7(pas);
  s += ' ';
  s += cle;
  s += " NOTE ";
  s += pas_7(fin);
  return s;
}

std::string ligne_fin(double pas, std::string_view cle) {
  std::string s = pas_7(pas);
  s += ' ';
  s += cle;
  s += " NTOF ";
  return s;
}

std::string ligne_pasy(double pas) { return pas_7(pas) + " ##### PASY"; }

}  // namespace brivel
