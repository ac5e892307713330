#include "run/motion/motion.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "core/numbers.h"
#include "link/frames.h"
#include "link/line.h"
#include "persistence/files/context_file.h"
#include "persistence/files/text_file.h"

namespace brivel {

namespace {
constexpr const char* kSauve = " - Contexte sauvegardé";
constexpr const char* kNonSauve = " - Contexte non sauvegardé (écriture impossible)";
constexpr int kMoveGapMs = 25;  // behind each X or Y move

bool checked(const Element& box) { return box.value() == 1; }

// The gap behind a move counts from the board's reply: what the console
// does with the reply meanwhile is part of the gap, not added to it. After a
// fault, or a counted exchange, it counts from now.
void attente_apres_mouvement(Context& c) { attente_ms_depuis(c.p, kMoveGapMs, c.s.reponse_recue_ms); }

void defaut_repos_poincon(Context& c) { defaut(c, "Erreur repos poinçon"); }

// A wait that ended without a reply, or a frame that could not go out.
void defaut_liaison(Context& c, Attente a) { defaut(c, texte_defaut_liaison(c.s, a)); }

// A move whose count the five digits can't carry: nothing went out.
void defaut_refus(Context& c, std::string_view code, double value) {
  c.m.Label_defaut.set_text("Déplacement impossible");
  c.m.Label_defautP.set_text(refusal_text(code, value) + kSauve);
  mise_en_defaut(c);
}

// The board has answered "D" to an X move: it lost steps and gives their
// count after our bare line feed.
void pertes_de_pas(Context& c) {
  Model& m = c.m;
  RunState& s = c.s;
  std::string r;
  Attente a = debut_echange_compte(c, r);
  if (a != Attente::Reponse) {
    fin_echange_compte(c, false);
    defaut_liaison(c, a);
    return;
  }
  const double lost = val(r);
  m.Label_defautP.set_text("Perte d'origine : " + str_num(lost) + " pas" + kSauve);
  fin_echange_compte(c, true);
  if (lost > val(m.Text10.text())) m.Text10.set_text(r);
  // Half the distance between the first two notes: a smaller loss is put
  // right by re-registering after the next hole, a larger one suspends.
  const double seuil = std::floor((val(m.Position(2).text()) - val(m.Position(1).text())) / 2);
  s.nb_pertes = static_cast<int16_t>(s.nb_pertes + 1);
  m.Text9.set_text(str_plain(s.nb_pertes));
  if (lost > seuil)
    mise_en_defaut(c);
  else
    s.realignement_demande = -1;
}
}  // namespace

void defaut(Context& c, const std::string& caption) {
  c.m.Label_defaut.set_text(caption);
  c.m.Label_defautP.set_text(caption + kSauve);
  mise_en_defaut(c);
}

bool defaut_ecriture(Context& c) {
  if (c.s.ecriture_en_defaut.empty()) return false;
  c.m.Label_defaut.set_text("Écriture impossible");
  c.m.Label_defautP.set_text("Écriture impossible : " + c.s.ecriture_en_defaut + kSauve);
  mise_en_defaut(c);
  return true;
}

void debut_travail(Context& c) {
  envoie(c, fixed_frame("AG"));
  attente_ms(c.p, 250);
}

void fin_travail(Context& c) {
  envoie(c, fixed_frame("ZG"));
  attente_ms(c.p, 25);
}

void deplace_X(Context& c) {
  Model& m = c.m;
  RunState& s = c.s;
  const char* code = s.sens_X ? (checked(m.Demipas) ? "mX" : "MX") : (checked(m.Demipas) ? "mx" : "Mx");
  const double pas = val(m.nb_PasX.text());
  auto frame = number_frame(code, pas);
  if (!frame) {
    defaut_refus(c, code, pas);
    return;
  }
  const Attente a = ecrit_et_attend(c, *frame, kRepA | kRepB | kRepD, delai_mouvement_ms(pas, val(m.VitesseX.text())));
  if (a != Attente::Reponse) {
    defaut_liaison(c, a);
  } else {
    if (s.rep_D) pertes_de_pas(c);
    if (s.rep_B) defaut_repos_poincon(c);
  }
  // Counted as made whatever the reply: X is repaired by re-registration.
  // The field is read again: a handler that ran inside the wait may have
  // changed it, and the counter follows the field as it stands now.
  const double fait = val(m.nb_PasX.text());
  s.compteur_X = cint_borne(static_cast<double>(s.compteur_X) + (s.sens_X ? fait : -fait));
  m.LabelX.set_text(str_plain(s.compteur_X));
  attente_apres_mouvement(c);
}

void deplace_Y(Context& c) { deplace_Y(c, {}); }

void deplace_Y(Context& c, const std::function<void()>& pendant_l_attente) {
  Model& m = c.m;
  RunState& s = c.s;
  const double pas = val(m.nb_PasY.text());
  const double pas_moteur = pas * val(m.NbpasY.text());
  auto frame = number_frame("MY", pas_moteur);
  if (!frame) {
    defaut_refus(c, "MY", pas_moteur);
    return;
  }
  const Attente a =
      ecrit_et_attend(c, *frame, kRepA | kRepB, delai_mouvement_ms(pas_moteur, val(m.VitesseY.text())));
  if (a != Attente::Reponse)
    defaut_liaison(c, a);
  else if (s.rep_B)
    defaut_repos_poincon(c);
  s.y_moteur += static_cast<int64_t>(std::llround(pas_moteur));
  // As for X: the field as it stands after the wait (the stop of the
  // continuous feed writes it inside the wait).
  s.compteur_Y = clng_borne(static_cast<double>(s.compteur_Y) + val(m.nb_PasY.text()));
  m.LabelY.set_text(str_plain(s.compteur_Y));
  if (!pendant_l_attente) {
    attente_apres_mouvement(c);
    return;
  }
  // What the write takes of the gap is not waited again.
  const auto debut = c.s.reponse_recue_ms ? c.s.reponse_recue_ms : c.p.fine_ms();
  const int32_t debut_tick = c.p.tick_ms();
  pendant_l_attente();
  if (debut)
    attente_ms_depuis(c.p, kMoveGapMs, debut);
  else
    attente_ms(c.p, std::max(0.0, kMoveGapMs - static_cast<double>(c.p.tick_ms() - debut_tick)));
}

bool recule_Y(Context& c, int64_t pas_moteur) {
  RunState& s = c.s;
  while (pas_moteur > 0) {
    // The five digits carry 99999 steps a frame.
    const int64_t part = std::min<int64_t>(pas_moteur, 99999);
    const Attente a = ecrit_et_attend(c, *number_frame("My", static_cast<double>(part)), kRepA | kRepB,
                                      delai_mouvement_ms(static_cast<double>(part), val(c.m.VitesseY.text())));
    if (a != Attente::Reponse) {
      defaut_liaison(c, a);
      return false;
    }
    if (s.rep_B) {
      defaut_repos_poincon(c);
      return false;
    }
    s.y_moteur -= part;
    pas_moteur -= part;
    attente_apres_mouvement(c);
  }
  return true;
}

void cycle_Z(Context& c) { cycle_Z(c, {}); }

void cycle_Z(Context& c, const std::function<void()>& pendant_le_cycle) {
  Model& m = c.m;
  RunState& s = c.s;
  s.reprise_sans_avance = false;
  if (m.Frame2.visible()) {
    s.etat_pause = 0;
    m.Command12.set_text("Pause");
  }
  if (!s.mode_simulation) {
    m.E(7).set_color(palette::kLightRed);
    const std::string frame = fixed_frame(checked(m.Check2) ? "CZ" : "cZ");
    Attente a = Attente::PortPerdu;
    if (envoie(c, frame)) {
      efface_drapeaux(s, kRepA | kRepB | kRepC);
      if (s.hors_watchdog == 0 && s.perforation_lancee) arme_watchdog(c);
      if (pendant_le_cycle) pendant_le_cycle();
      const double delai = s.delai_cycle_Z_ms > 0 ? s.delai_cycle_Z_ms : kDelaiReponseMs;
      a = attend(c, [&s] { return s.watchdog_echu != 0 || s.rep_C || s.rep_B || s.rep_A; }, delai);
    }
    if (a != Attente::Reponse) {
      defaut_liaison(c, a);
    } else {
      if (s.rep_A && s.echec_cycle_vu) {
        // A Z calibration counts the good cycles after a failed one.
        if (s.nb_succes_Z >= 2) {
          s.arret_calibration = true;
          s.echec_cycle_vu = false;
        } else {
          s.nb_succes_Z = static_cast<int16_t>(s.nb_succes_Z + 1);
        }
      }
      if (s.rep_B) defaut_repos_poincon(c);
      if (s.rep_C) {
        m.Label_defaut.set_text("Erreur cycle de perforation");
        m.Label_defautP.set_text(std::string("Erreur cycle de perforation") + kSauve);
        if (s.calibration_Z_active == 0)
          mise_en_defaut(c);
        else
          s.echec_cycle_vu = true;
      }
      if (s.watchdog_echu != 0) {
        s.watchdog_echu = 0;
        defaut(c, "Non réponse poinçon");
      } else if (s.rep_A) {
        ++(s.cycle_de_la_piece ? s.trous_confirmes : s.trous_main);
        const bool encore = s.cycle_de_la_piece && s.cycle_repete;
        if (encore) ++s.trous_repetes;
        if (s.run_on_stack) {
          RunEvent trou{RunEvent::Kind::Hole};
          trou.step = s.compteur_Y;
          trou.x = s.compteur_X;
          trou.by_hand = !s.cycle_de_la_piece;
          trou.again = encore;
          s.evenements.tell(trou);
        }
      }
    }
    m.E(7).set_color(palette::kWhite);
    c.p.turn(0);
  }
  s.compteur_trous += 1;
  m.WD_timer.set_enabled(false);
}

void arme_watchdog(Context& c) {
  c.s.watchdog_echu = 0;
  // Stopped first, so that the 1000 ms count from now.
  c.m.WD_timer.set_enabled(false);
  c.m.WD_timer.set_enabled(true);
}

void WD_timer_Timer(Context& c) {
  c.s.watchdog_echu = -1;
  c.m.WD_timer.set_enabled(false);
}

void mise_en_defaut(Context& c) {
  c.s.etat_pause = 1;
  {
    RunEvent defaut{RunEvent::Kind::Fault};
    defaut.text = c.m.Label_defaut.text();
    c.s.evenements.tell(defaut);
  }
  if (!sauve_contexte_auto(c)) {
    // The fault's own text promised a saved context: say it isn't.
    std::string t = c.m.Label_defautP.text();
    const std::string sauve = kSauve;
    const auto at = t.rfind(sauve);
    if (at != std::string::npos && at + sauve.size() == t.size())
      t.replace(at, sauve.size(), kNonSauve);
    else
      t += kNonSauve;
    c.m.Label_defautP.set_text(t);
  }
  // What failed is said now; "Continuer" tries the next write afresh.
  c.s.ecriture_en_defaut.clear();
  ecritures(c).ecrit(c.s.dossier_appli + kTraficFaute, texte_fichier(lignes_trafic(c.s.trafic)));
  c.m.Command12.set_text("Continuer");
  c.m.fenetre_moteurs.set_enabled(true);
  c.m.fenetre_notes.set_enabled(true);
}

void install_motion(Context& c) {
  Context* cp = &c;
  c.m.WD_timer.handler = [cp] { WD_timer_Timer(*cp); };
}

}  // namespace brivel
