#include "run/origin/origin.h"

#include <cmath>
#include <cstdlib>

#include "console/commands.h"
#include "core/numbers.h"
#include "link/frames.h"
#include "link/line.h"
#include "link/occupation.h"
#include "run/motion/motion.h"

namespace brivel {

namespace {
constexpr int kPauseQuestionMs = 500;  // between two readiness questions
constexpr int kMoveGapMs = 25;
constexpr int kAfterSearchMs = 200;

// The head may stand anywhere a 16-bit counter reaches, and the board runs
// it back to its switch and out again: the longest search the counter
// allows, so that a search is never cut short by the line's time-out.
double delai_recherche_ms(const Model& m) {
  return delai_mouvement_ms(2.0 * 32768 + std::abs(val(m.Text_origineX.text())), val(m.VitesseX.text()));
}

// Asks until the board says it is ready. A lost port can't become ready,
// and a board that lets the question's time run out is not there: the
// question stops and the fault sequence suspends the run. False then.
bool attend_machine_prete(Context& c) {
  for (;;) {
    const Attente a = ecrit_et_attend(c, fixed_frame("ON"), kRepA | kRepB);
    if (a == Attente::PortPerdu || a == Attente::Delai) {
      defaut(c, texte_defaut_liaison(c.s, a));
      return false;
    }
    const bool prete = a == Attente::Reponse && !c.s.rep_B;
    if (!prete)
      c.m.Label_defautP.set_text(a == Attente::Reponse ? "Calage origine impossible. Machine en marche?"
                                                       : texte_defaut_liaison(c.s, a));
    attente_ms(c.p, kPauseQuestionMs);
    if (prete) return true;
  }
}
}  // namespace

void texte_en_cours(Context& c) {
  // An origin search by hand in a pause leaves the run paused.
  if (c.s.etat_pause != 0 && c.s.run_on_stack)
    c.m.Label_defautP.set_text(kTextePause);
  else
    c.m.Label_defautP.set_text(c.s.mode_simulation ? "Perforation en cours - Mode simulation"
                                                   : "Perforation en cours");
}

void recherche_origine(Context& c) {
  Model& m = c.m;
  RunState& s = c.s;
  Disabled_commande(m);
  if (!s.perforation_lancee && !attend_machine_prete(c)) {
    Enabled_commande(m);
    return;
  }
  const int16_t x_sauve = s.compteur_X;
  m.Label_defautP.set_text(s.recalage_demande ? "Recalage par rapport à l'origine" : "Recherche de l'origine");
  m.E(5).set_color(palette::kLightRed);

  std::string r;
  const Attente a =
      ecrit_et_attend(c, fixed_frame(m.Demipas.value() == 1 ? "oR" : "OR"), kRepA | kRepB | kRepD, delai_recherche_ms(m));
  if (a != Attente::Reponse) {
    defaut(c, texte_defaut_liaison(c.s, a));
  } else {
    if (s.rep_B) defaut(c, "Erreur repos poinçon");
    if (s.rep_D) {
      // The board gives the distance it measured after our line feed; it
      // waits for the exchange even when we drop the count.
      const Attente e = debut_echange_compte(c, r);
      fin_echange_compte(c, e == Attente::Reponse);
      if (e != Attente::Reponse) {
        r.clear();
        defaut(c, texte_defaut_liaison(c.s, e));
      }
    }
  }
  s.compteur_X = cint_borne(val(m.Text_origineX.text()));
  m.LabelX.set_text(str_plain(s.compteur_X));
  attente_ms(c.p, kMoveGapMs);

  if (s.recalage_demande) {
    const double delta = static_cast<double>(x_sauve) - val(m.Text_origineX.text());
    m.nb_PasX.set_text(str_plain(std::fabs(delta)));
    if (delta > 0) s.sens_X = true;
    if (delta < 0) s.sens_X = false;
    deplace_X(c);
    s.compteur_X = x_sauve;
    m.LabelX.set_text(str_plain(s.compteur_X));
    s.recalage_demande = false;
  } else if (s.mesure_origine == 0) {
    s.compteur_X = cint_borne(val(m.Text_origineX.text()));
    m.LabelX.set_text(str_plain(s.compteur_X));
  } else {
    // After RAZ: the board's own count, shown as it came.
    s.compteur_X = cint_borne(val(r));
    m.LabelX.set_text(r);
  }
  s.mesure_origine = 0;
  m.E(5).set_color(palette::kWhite);
  attente_ms(c.p, kAfterSearchMs);
  texte_en_cours(c);
  m.LabelX.set_text(str_plain(s.compteur_X));
  Enabled_commande(m);
}

void Origine_N_Click(Context& c) {
  Occupation occ(c);
  if (!occ) return;
  debut_travail(c);
  recherche_origine(c);
  fin_travail(c);
}

void OrigineX_M_Click(Context& c) { Origine_N_Click(c); }

void install_origin(Context& c) {
  c.m.Origine_N.handler = [&c] { Origine_N_Click(c); };
  c.m.OrigineX_M.handler = [&c] { OrigineX_M_Click(c); };
}

}  // namespace brivel
