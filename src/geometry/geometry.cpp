#include "geometry/geometry.h"

#include "core/numbers.h"
#include "geometry/note_names.h"
#include "geometry/positions.h"
#include "geometry/refus_geometrie.h"
#include "run/motion/motion.h"

namespace brivel {

namespace {
// The elements that the lock of the calculation opens and closes.
void verrou(Model& m, bool ouvert) {
  for (Element* e : {&m.Calculer_pas_X, &m.Text12, &m.Text13, &m.NBTouches, &m.Check6}) e->set_enabled(ouvert);
}
}  // namespace

void Valcalc_Click(Context& c) {
  if (c.m.Valcalc.value() != 0) verrou(c.m, true);
}

void Calculer_pas_X_Click(Context& c) {
  Model& m = c.m;
  const bool inverse = m.Check6.value() == 1;
  auto n = nb_touches_calcul(m.NBTouches.text());
  if (!n) {
    signale_refus(c, refus_nb_touches(m.NBTouches.text()));
    return;
  }
  auto positions = calcule_positions(val(m.Text12.text()), val(m.Text13.text()), val(m.Text11.text()), *n, inverse);
  if (!positions) {
    signale_refus(c, refus_pas_moteur_x());
    return;
  }
  for (int k = 1; k <= *n; ++k) m.Position(k).set_text(str_plain((*positions)[static_cast<size_t>(k - 1)]));
  m.Valcalc.set_value(0);
  verrou(m, false);
}

void Check4_Click(Context& c) {
  Model& m = c.m;
  if (m.Check4.value() == 1) {
    m.Text16.set_enabled(true);
    m.NbpasY.set_text("1");
    m.PontY.set_text("0");
  } else {
    m.Text16.set_enabled(false);
  }
}

void Check6_Click(Context& c) { c.p.dialogs().message_box("Penser à vérifier la valeur du talon", BoxButtons::Ok); }

void perfo_Click(Context& c, int k) {
  Model& m = c.m;
  if (k < 1 || k > Model::kNotes) {
    signale_refus(c, refus_piste(k));
    return;
  }
  if (m.Frame2.visible()) debut_travail(c);
  const std::string texte_note = m.Note(k).text();
  auto n = numero_note(texte_note);
  m.affiche_note.set_text(n ? c.s.noms_notes[static_cast<size_t>(*n)] : std::string());
  c.p.turn(0);
  // A disabled CommandeX_P means an origin search or a calibration holds
  // the manual commands: the head is not ours to move.
  if (m.CommandeX_P.enabled()) {
    double d = val(m.Position(k).text()) - val(m.LabelX.text());
    c.s.sens_X = d > 0;
    m.nb_PasX.set_text(str_plain(d > 0 ? d : -d));
    deplace_X(c);
  }
  if (m.Frame2.visible()) fin_travail(c);
  // Told after the move, so that no box stands inside the working sequence.
  if (!n) signale_refus(c, refus_numero_note(k, texte_note));
}

void install_geometry(Context& c) {
  Model& m = c.m;
  m.Valcalc.handler = [&c] { Valcalc_Click(c); };
  m.Calculer_pas_X.handler = [&c] { Calculer_pas_X_Click(c); };
  m.Check3.handler = [&c] { Check3_Click(c); };
  m.Check4.handler = [&c] { Check4_Click(c); };
  m.Check6.handler = [&c] { Check6_Click(c); };
  for (int k = 1; k <= Model::kNotes; ++k) m.perfo(k).handler = [&c, k] { perfo_Click(c, k); };
}

}  // namespace brivel
