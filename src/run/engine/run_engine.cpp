#include "run/engine/run_engine.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <functional>
#include <optional>

#include "core/numbers.h"
#include "geometry/geometry.h"
#include "import/ouvre_midi.h"
#include "link/occupation.h"
#include "persistence/files/context_file.h"
#include "run/engine/deferred.h"
#include "run/engine/ligne_run.h"
#include "run/engine/pause.h"
#include "run/engine/progress.h"
#include "run/engine/verifications.h"
#include "run/motion/motion.h"
#include "run/origin/origin.h"

namespace brivel {

namespace {

// The values of one run: one set per call, so that each file of a chain
// keeps its own.
struct Run {
  double debut = 0, fin = 0;  // bounds, in Y steps
  int balayage_inverse = 0;   // the next sweep runs from the highest note down
  bool perfo_faite = false;   // a PASY sweep punched at least one hole
  bool pause_vue = false;     // fin_travail was sent in the wait after a hole
  // The step of the row that follows the rows being punched: where the
  // card goes next, when it goes.
  std::optional<double> pas_suivant;

  bool dans_bornes(double p) const { return p >= debut && p <= fin; }
};

// The closing steps, reached from the end of the piece and from a bound
// error. The pages and the opening of a piece come back with them: after a
// run the operator goes on without a restart.
void fin_du_handler(Context& c) {
  Model& m = c.m;
  m.Command12.set_enabled(false);
  fin_travail(c);
  m.nb_trou.set_visible(true);
  for (Element* e : {&m.Avance, &m.fenetre_moteurs, &m.fenetre_notes, &m.Ouvre_midi}) e->set_enabled(true);
}

// A punch cycle of one of the piece's holes, told apart from the
// operator's hand cycles in the counts.
void cycle_piece(Context& c, const std::function<void()>& pendant_le_cycle = {}) {
  c.s.cycle_de_la_piece = true;
  cycle_Z(c, pendant_le_cycle);
  c.s.cycle_de_la_piece = false;
}

// A Y move of `pas` steps of the event list from `depuis`, as the context marks it.
RunState::AvanceY avance_depuis(int32_t depuis, double pas) { return {depuis, clng_borne(depuis + pas)}; }

// The step of the first row from `j` on that the run acts on.
std::optional<double> pas_de_la_suite(const Model& m, int j) {
  for (; j < m.List3.count(); ++j) {
    const LigneRun l = lit_ligne_run(m.List3.row(j));
    if (l.mot == "PASY" || l.mot == "NOTE" || l.mot == "NTOF") return l.pas;
  }
  return std::nullopt;
}

void mise_au_repos(Element& note) {
  note.set_color(kEtatRepos);
  note.set_tooltip("");
}

// The end of a pause: the run stands where it stopped, whatever hand
// moves, calibrations or origin searches happened meanwhile. The head's
// counter goes back to the hole's X, so that the re-registration brings the
// head there; a card fed by hand is brought back if the operator says so,
// and either way the run counts its steps from the hole's place again ("Non"
// punches the rest of the piece from where the card now stands). False when
// the card could not be brought back: the fault sequence has run.
bool reprend_la_place(Context& c) {
  RunState& s = c.s;
  if (!s.place_arret) return true;
  const RunState::PlaceArret place = *s.place_arret;
  const int64_t avance = s.y_moteur - place.y_moteur;
  if (avance > 0) {
    const std::string question = "Le carton a avancé de " + std::to_string(avance) +
                                 " pas moteur pendant la pause. Le ramener au trou où la perforation s'est arrêtée ?";
    // "Oui" by default: Enter brings the card back to the hole.
    if (c.p.dialogs().message_box(question, BoxButtons::YesNoDefaultYes) == BoxAnswer::Yes && !recule_Y(c, avance))
      return false;
  }
  s.place_arret.reset();
  s.compteur_Y = place.y;
  c.m.LabelY.set_text(str_plain(s.compteur_Y));
  s.compteur_X = place.x;
  return true;
}

// The wait after a hole: a pause or a fault holds the run here, with the
// working sequence closed and the line free for the operator's hand
// commands; on the way out the head is re-registered to the hole's X and the
// same hole punched once more.
void attente_apres_trou(Context& c, Run& run) {
  RunState& s = c.s;
  defaut_ecriture(c);  // a journal line refused at this hole
  for (;;) {
    if (s.etat_pause != 0 && !s.place_arret)
      s.place_arret = RunState::PlaceArret{s.compteur_X, s.compteur_Y, s.y_moteur};
    const bool ligne = s.commande_machine;
    s.commande_machine = false;
    // Held: the step fields are the operator's, and the card can be fed.
    const bool tenu = s.etat_pause != 0;
    const std::string pas_X = c.m.nb_PasX.text(), pas_Y = c.m.nb_PasY.text();
    if (tenu) {
      c.m.nb_PasX.set_text(s.pas_X_operateur);
      c.m.nb_PasY.set_text(s.pas_Y_operateur);
      c.m.Avance.set_enabled(true);
    }
    while (s.etat_pause != 0) {
      c.p.turn();
      if (!run.pause_vue) {
        fin_travail(c);
        run.pause_vue = true;
      }
    }
    if (tenu) {
      c.m.Avance.set_enabled(false);
      s.pas_X_operateur = c.m.nb_PasX.text();
      s.pas_Y_operateur = c.m.nb_PasY.text();
      c.m.nb_PasX.set_text(pas_X);
      c.m.nb_PasY.set_text(pas_Y);
    }
    s.commande_machine = ligne;
    if (s.realignement_demande == 0 && !run.pause_vue) return;
    debut_travail(c);
    if (run.pause_vue && !reprend_la_place(c)) {
      // Suspended again, with the card where the refusal left it.
      run.pause_vue = false;
      continue;
    }
    s.recalage_demande = true;
    recherche_origine(c);
    s.cycle_repete = true;
    cycle_piece(c);
    s.cycle_repete = false;
    run.pause_vue = false;
    s.realignement_demande = 0;
    return;
  }
}

// One crossing of the card over the notes that are on or closing.
void balayage(Context& c, Run& run, double p, bool pasy) {
  Model& m = c.m;
  const int n = notes_utilisees(m);
  auto note_du_rang = [&](int i) { return run.balayage_inverse == 1 ? n + 1 - i : i; };
  auto a_perforer = [&](int k) { return m.Note(k).color() == kEtatActif || m.Note(k).color() == kEtatFermant; };
  int dernier = 0;
  for (int i = 1; i <= n; ++i)
    if (a_perforer(note_du_rang(i))) dernier = i;
  // While the sweep's last hole is punched, the context that goes to the
  // disk before the next Y move is written ahead, ready to be renamed.
  std::function<void()> prepare;
  if (run.pas_suivant && run.dans_bornes(*run.pas_suivant)) {
    prepare = [&c, &run] {
      // pas_Y will write the distance into nb_PasY as str_num gives it.
      const int32_t depuis = c.s.compteur_Y;
      prepare_contexte_avant_avance(c, avance_depuis(depuis, val(str_num(*run.pas_suivant - depuis))));
    };
  }
  for (int i = 1; i <= n; ++i) {
    const int k = note_du_rang(i);
    const int etat = m.Note(k).color();
    if (!a_perforer(k)) continue;
    if (run.dans_bornes(p)) {
      perfo_Click(c, k);
      cycle_piece(c, i == dernier ? prepare : std::function<void()>());
      if (pasy) run.perfo_faite = true;
      attente_apres_trou(c, run);
    }
    if (etat == kEtatFermant) mise_au_repos(m.Note(k));
  }
}

// One Y move of the run, with the card's place kept on disk: the move is
// marked in the automatic context before its frame goes out (a crash in the
// move leaves a context that says the card may have moved), and once the
// board has answered "A" the context is written again with the new place.
// A move that failed keeps the context its fault wrote, mark included.
void deplace_Y_suivi(Context& c) {
  RunState& s = c.s;
  s.avance_Y_en_cours = avance_depuis(s.compteur_Y, val(c.m.nb_PasY.text()));
  ecrit_contexte_auto(c);
  s.rep_A = false;  // a frame refused before the line leaves no stale "A"
  // Once the board has answered, the new place is written inside the gap
  // that follows the move, before the next frame goes out.
  deplace_Y(c, [&c, &s] {
    const bool faite = s.rep_A && !s.rep_B;
    s.avance_Y_en_cours.reset();
    if (faite) ecrit_contexte_auto(c);
  });
  s.avance_Y_en_cours.reset();  // also after a frame refused before the line
  defaut_ecriture(c);
}

// The card to position p: moved in bounds, only counted before the start
// bound and while a restored run hasn't punched yet.
void pas_Y(Context& c, const Run& run, double p) {
  Model& m = c.m;
  RunState& s = c.s;
  // A restored run, at its first step in bounds: the card stands where the
  // context left it, not where counting the steps ahead of it has brought
  // compteur_Y. The count is taken up from the card, LabelY shows it (a
  // pause or fault before the first real move saves that place, not the
  // display's old value), and from this step on the card is moved: a step
  // with nothing to punch must not leave every later one counted only.
  const bool calage = s.reprise_sans_avance && s.y_reprise && run.dans_bornes(p);
  if (calage) {
    s.compteur_Y = *s.y_reprise;
    s.y_reprise.reset();
    m.LabelY.set_text(str_plain(s.compteur_Y));
    s.reprise_sans_avance = p == s.compteur_Y;
  }
  const double delta = p - s.compteur_Y;
  m.Text4.set_text(str_num(delta));
  m.nb_PasY.set_text(str_num(delta));
  if (run.dans_bornes(p) && !s.reprise_sans_avance)
    deplace_Y_suivi(c);
  else
    s.compteur_Y = clng_borne(s.compteur_Y + delta);
  if (calage) s.reprise_sans_avance = false;
}

void ligne_pasy(Context& c, Run& run, int i, double p) {
  pas_Y(c, run, p);
  run.pas_suivant = pas_de_la_suite(c.m, i + 1);
  run.perfo_faite = false;
  balayage(c, run, p, true);
  if (run.perfo_faite) run.balayage_inverse ^= 1;
}

// Applies every event of step p, from row i on, then punches the step. Returns
// the last row of the group.
int groupe_notes(Context& c, Run& run, int i, double p) {
  Model& m = c.m;
  pas_Y(c, run, p);
  const int n = notes_utilisees(m);
  // The group ends before the first row of another step, or with the list:
  // its rows are applied once, whether another step follows or not.
  int derniere = i;
  for (int j = i; j < m.List3.count(); ++j) {
    const LigneRun l = lit_ligne_run(m.List3.row(j));
    if (l.pas != p) break;
    derniere = j;
    if (l.mot == "NOTE") {
      for (int k = 1; k <= n; ++k) {
        Element& note = m.Note(k);
        if (val(note.text()) != l.note) continue;
        note.set_color(kEtatActif);
        if (val(l.fin) > val(note.tooltip())) note.set_tooltip(l.fin);
      }
    } else if (l.mot == "NTOF") {
      for (int k = 1; k <= n; ++k) {
        Element& note = m.Note(k);
        // An end that doesn't match is dropped: the note was struck again.
        if (val(note.text()) == l.note && val(note.tooltip()) == l.pas) {
          note.set_color(kEtatFermant);
          note.set_tooltip("");
        }
      }
    }
  }
  run.pas_suivant = pas_de_la_suite(m, derniere + 1);
  balayage(c, run, p, false);
  run.balayage_inverse ^= 1;
  return derniere;
}

// The bar runs from 0 to 100 % over the rows between the bounds: the first
// of them, and how many there are (at least 1).
std::pair<int, int> rangs_dans_bornes(const Model& m, const Run& run) {
  int premier = m.List3.count(), dernier = -1;
  for (int i = 0; i < m.List3.count(); ++i) {
    if (!run.dans_bornes(lit_ligne_run(m.List3.row(i)).pas)) continue;
    premier = std::min(premier, i);
    dernier = i;
  }
  return {premier, std::max(1, dernier - premier + 1)};
}

// Set-up steps 2 to 8; false, with the closing steps done, on a bound error.
bool bornes(Context& c, Run& run) {
  Model& m = c.m;
  RunState& s = c.s;
  auto nombre = [](const Element& e) { return to_number_strict(e.text()).value_or(0); };
  s.pas_poincon = static_cast<int16_t>(std::floor(val(m.Poincon.text()) / s.pas_Y_mm));
  if (!s.reprise_contexte) m.Text7.set_text(str_plain((nombre(m.Deb_perf_mn) * 60 + nombre(m.Deb_perf_sec)) * 1000));
  const double fin_champs = (nombre(m.Fin_perf_mn) * 60 + nombre(m.Fin_perf_sec)) * 1000;
  // With the end left alone, the end bound is the piece's exact end, not
  // the whole seconds that the fields show.
  m.Text8.set_text(str_plain(s.fin_saisie ? fin_champs : s.reste_fin_ms + fin_champs));
  run.debut = std::floor(val(m.Text7.text()) / s.ms_par_pas);
  // A restored run whose Text7 gives back the step before the card's place
  // would punch that step's holes with the card one step on, and every later
  // hole one step off: it starts where the card stands.
  if (s.reprise_sans_avance && s.y_reprise) run.debut = std::max(run.debut, static_cast<double>(*s.y_reprise));
  run.fin = round_half_even(val(m.Text8.text()) / s.ms_par_pas);
  const double total = round_half_even(s.duree_ms / s.ms_par_pas);
  const char* erreur = nullptr;
  if (run.debut > run.fin)
    erreur = "Erreur de définition des bornes de perforation";
  else if (run.fin > total)
    erreur = "Borne de fin au-delà de la durée du morceau";
  if (erreur) {
    m.Label_defautP.set_text(erreur);
    m.Command11.set_enabled(true);
    fin_du_handler(c);
    return false;
  }
  s.debut_pas = run.debut;
  return true;
}

}  // namespace

void Command11_Click(Context& c) {
  Model& m = c.m;
  RunState& s = c.s;
  const bool sur_la_pile = s.run_on_stack;
  // A hand command or a detector poll waits on the machine: the run would
  // share its replies. A deferred start tries again at its next tick.
  if (!sur_la_pile && s.commande_machine) {
    m.Label_defautP.set_text(kCommandeRefusee);
    return;
  }
  m.Timer2.set_enabled(false);
  if (auto refus = refus_perforation(c)) {
    m.Label_defautP.set_text(*refus);
    m.Command11.set_enabled(true);
    return;
  }
  m.fenetre_moteurs.set_enabled(false);
  m.fenetre_notes.set_enabled(false);
  Run run;
  if (!bornes(c, run)) return;

  // The run moves the machine through the step fields; the operator's own
  // values come back in a pause and at its end.
  if (!sur_la_pile) {
    s.pas_X_operateur = m.nb_PasX.text();
    s.pas_Y_operateur = m.nb_PasY.text();
  }
  s.run_on_stack = true;
  // The run holds the line but in its wait after a hole (see there).
  s.commande_machine = true;
  s.place_arret.reset();
  s.ecriture_en_defaut.clear();
  texte_en_cours(c);
  s.evenements.tell({RunEvent::Kind::SetUp});
  for (Element* e : {&m.Ouvre_midi, &m.Command11, &m.perfo_retard, &m.Avance}) e->set_enabled(false);
  m.Sauve_contexte.set_enabled(true);
  s.recalage_demande = false;
  debut_travail(c);
  recherche_origine(c);
  s.perforation_lancee = true;
  m.Command12.set_enabled(true);
  {
    RunEvent debut{RunEvent::Kind::Started};
    debut.in_chain = sur_la_pile;
    s.evenements.tell(debut);
  }
  // The card stands half a punch ahead of the counter's zero.
  s.compteur_Y = clng_borne(round_half_even(std::floor(val(m.Poincon.text()) / s.pas_Y_mm) / 2));
  if (!s.reprise_contexte) {
    const int n = notes_utilisees(m);
    for (int k = 1; k <= n; ++k) mise_au_repos(m.Note(k));
    s.compteur_trous = 0;
  }
  s.trous_confirmes = s.trous_main = s.trous_repetes = 0;
  const auto [premier, rangs] = rangs_dans_bornes(m, run);
  m.gauge1.set_max(rangs);
  m.gauge1.set_value(0);

  for (int i = 0; i < m.List3.count(); ++i) {
    const LigneRun l = lit_ligne_run(m.List3.row(i));
    if (l.mot == "PASY")
      ligne_pasy(c, run, i, l.pas);
    else if (l.mot == "NOTE" || l.mot == "NTOF")
      i = groupe_notes(c, run, i, l.pas);
    RunEvent rang{RunEvent::Kind::Row};
    rang.step = i;
    s.evenements.tell(rang);
    m.gauge1.set_value(std::clamp(i - premier, 0, rangs));
  }
  m.gauge1.set_value(rangs);

  m.LabelY.set_text(str_plain(run.fin));
  m.Label_defautP.set_text("Perforation terminée");
  m.Label_defaut.set_text("Perforation terminée");
  s.evenements.tell({RunEvent::Kind::Ended});
  s.fichiers_restants -= 1;
  if (s.fichiers_restants > 0) {
    s.enchainement = -1;
    enchaine_fichier(c);
  }
  fin_du_handler(c);
  s.run_on_stack = sur_la_pile;
  if (!sur_la_pile) {
    s.commande_machine = false;
    m.nb_PasX.set_text(s.pas_X_operateur);
    m.nb_PasY.set_text(s.pas_Y_operateur);
  }
}

void enchaine_fichier(Context& c) {
  Model& m = c.m;
  RunState& s = c.s;
  m.nb_PasY.set_text(
      str_plain(std::floor(val(m.Dist_cartons.text()) / (val(m.NbpasY.text()) * val(m.PasmotY.text())))));
  s.evenements.tell({RunEvent::Kind::ChainNext});
  // Which file comes next, and where it stands in the chain.
  const int suivant = s.rang_fichier + 1;
  const int total = s.rang_fichier + 1 + s.fichiers_restants;
  const std::string nom =
      suivant < m.Liste_fichiers.count() ? std::filesystem::path(m.Liste_fichiers.row(suivant)).filename().string() : "";
  m.Label_defautP.set_text("Avance du carton - fichier suivant : " + nom +
                           " (" + std::to_string(suivant + 1) + " sur " + std::to_string(total) + ")");
  deplace_Y(c);
  s.reprise_contexte = false;
  s.rang_fichier = static_cast<int16_t>(s.rang_fichier + 1);
  Ouvre_midi_Click(c);
  // The opening enables "Perforer" only for a piece it could read; a file
  // of the chain that can't be read stops the chain with the opening's words.
  if (!m.Command11.enabled()) return;
  Command11_Click(c);
}

void install_run(Context& c) {
  Model& m = c.m;
  m.Command11.handler = [&c] { Command11_Click(c); };
  install_pause(c);
  install_progress(c);
  install_deferred(c);
}

}  // namespace brivel
