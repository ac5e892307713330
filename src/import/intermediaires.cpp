#include "import/intermediaires.h"

#include "core/numbers.h"
#include "import/pas_y.h"
#include "import/refus_import.h"

namespace brivel {

void Command7_Click(Context& c) {
  Model& m = c.m;
  m.List5.clear_rows();
  auto largeur = largeur_poincon(val(m.Poincon.text()), c.s.pas_Y_mm);
  if (!largeur) {
    m.Label_defautP.set_text(refus_largeur_poincon());
    return;
  }
  ResultatPasY r = lignes_pasy(m.List3.rows(), *largeur, c.s.compteur_Y);
  c.s.compteur_Y = r.compteur_Y;
  for (const std::string& l : r.lignes) m.List5.add_row(l);
  if (r.trop) arret_trop_evenements(c);

  const int n = m.List5.count();
  if (n > 0) {
    m.gauge1.set_max(n);
    for (int i = 0; i < n; ++i) {
      m.gauge1.set_value(i);
      m.List3.add_row(m.List5.row(i));
    }
  }
  m.gauge1.set_value(0);
  // The run engine counts rows in 16 bits: a list that passes the limit
  // only through its intermediate steps stops the same way.
  if (m.List3.count() > kMaxLignes) arret_trop_evenements(c);
  std::string compte = " ";
  compte += str_plain(m.List3.count());
  m.Label9.set_text(compte);
}

}  // namespace brivel
