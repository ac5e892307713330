#include "import/calcul_ponts.h"

#include "core/numbers.h"
#include "import/ponts.h"
#include "import/refus_import.h"

namespace brivel {

void Calculer_ponts_Y_Click(Context& c) {
  Model& m = c.m;
  m.Liste_pont.clear_rows();
  m.Liste_pont_int.clear_rows();
  const double pasmot = val(m.PasmotY.text());
  if (!(pasmot > 0)) {
    c.p.dialogs().message_box(message_pas_moteur_ponts(), BoxButtons::Ok);
    return;
  }
  bool limite = false;
  auto solutions = solutions_ponts(val(m.Poincon.text()), pasmot, val(m.Text14.text()), val(m.Text15.text()), &limite);
  for (const SolutionPont& s : solutions) {
    m.Liste_pont.add_row(ligne_liste_pont(s));
    m.Liste_pont_int.add_row(ligne_liste_pont_int(s));
  }
  if (limite) c.p.dialogs().message_box(message_limite_calcul_ponts(), BoxButtons::Ok);
}

void Appliquer_ponts_Click(Context& c) {
  Model& m = c.m;
  const int i = m.Liste_pont.selected();
  if (i < 0 || i >= m.Liste_pont_int.count()) return;
  auto choix = lit_ligne_pont_int(m.Liste_pont_int.row(i));
  if (!choix) return;
  m.NbpasY.set_text(str_plain(choix->NbpasY));
  m.PontY.set_text(str_plain(choix->PontY));
}

void Def_ponts_Click(Context& c) {
  Model& m = c.m;
  const bool ouvre = m.Def_ponts.text() == "Définir";
  m.Calc_ponts.set_visible(ouvre);
  m.Calibration_axes.set_visible(!ouvre);
  m.Detecteur.set_visible(!ouvre);
  m.Def_ponts.set_text(ouvre ? "OK" : "Définir");
  if (!ouvre) Appliquer_ponts_Click(c);
}

}  // namespace brivel
