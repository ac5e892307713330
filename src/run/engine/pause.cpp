#include "run/engine/pause.h"

#include "link/frames.h"
#include "link/line.h"
#include "persistence/files/context_file.h"
#include "run/origin/origin.h"

namespace brivel {

namespace {
void ouvre_pages(Model& m, bool oui) {
  m.fenetre_moteurs.set_enabled(oui);
  m.fenetre_notes.set_enabled(oui);
}

void suspend(Context& c) {
  Model& m = c.m;
  m.Command12.set_text("Continuer");
  c.s.etat_pause = 1;
  c.s.evenements.tell({RunEvent::Kind::Paused});
  if (sauve_contexte_auto(c))
    m.Label_defautP.set_text("Contexte sauvegardé - Cliquer Continuer pour reprendre");
  else
    m.Label_defautP.set_text("Contexte non sauvegardé (écriture impossible) - Cliquer Continuer pour reprendre");
  m.nb_trou.set_visible(true);
  ouvre_pages(m, true);
}

void reprend(Context& c) {
  Model& m = c.m;
  RunState& s = c.s;
  if (s.mode_simulation) {
    s.etat_pause = 0;
    texte_en_cours(c);
    m.Command12.set_text("Pause");
    m.Avance.set_enabled(false);
    return;
  }
  // The feed goes on inside this click: "Stop" first, the board can answer
  // only one of them.
  if (s.avance_continue) {
    m.Label_defautP.set_text("Arrêter l'avance du carton avant de Continuer");
    return;
  }
  const Attente a = ecrit_et_attend(c, fixed_frame("ON"), kRepA | kRepB);
  if (a != Attente::Reponse) {
    // The board can't be asked: the run stays suspended, as for a "no".
    m.Label_defautP.set_text(texte_defaut_liaison(c.s, a) + " - Résoudre le défaut avant de Continuer");
    return;
  }
  if (s.rep_B) {
    m.Label_defautP.set_text("Résoudre le défaut avant de Continuer");
    return;
  }
  s.etat_pause = 0;
  s.evenements.tell({RunEvent::Kind::Resumed});
  m.Label_defautP.set_text("Perforation en cours");
  m.Label_defaut.set_text("");
  m.Command12.set_text("Pause");
  m.Avance.set_enabled(false);
  ouvre_pages(m, false);
}
}  // namespace

void Command12_Click(Context& c) {
  if (c.s.etat_pause == 0)
    suspend(c);
  else
    reprend(c);
}

void install_pause(Context& c) {
  c.m.Command12.handler = [&c] { Command12_Click(c); };
}

}  // namespace brivel
