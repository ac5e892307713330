#include "import/refus_import.h"

#include "import/midi_erreurs.h"

#include <algorithm>
#include <cmath>

#include "core/numbers.h"
#include "geometry/positions.h"
#include "geometry/refus_geometrie.h"

namespace brivel {

ChampsImport champs_import(const Model& m) {
  ChampsImport f;
  f.vitesse = m.vitesse.text();
  f.NbpasY = m.NbpasY.text();
  f.PasmotY = m.PasmotY.text();
  f.Poincon = m.Poincon.text();
  f.PontY = m.PontY.text();
  f.Text16 = m.Text16.text();
  f.Text17 = m.Text17.text();
  f.NBTouches = m.NBTouches.text();
  f.Check4 = m.Check4.value() == 1;
  f.Check5 = m.Check5.value() == 1;
  f.transposition = m.transposition.text();
  return f;
}

std::optional<int> largeur_poincon(double poincon, double pas_Y_mm) {
  if (!(pas_Y_mm > 0)) return std::nullopt;
  double w = std::floor(poincon / pas_Y_mm);
  if (!(w >= 1 && w <= 32767)) return std::nullopt;
  return static_cast<int>(w);
}

namespace {
std::string refuse(const std::string& quoi) { return "Ouverture refusée : " + quoi; }
}  // namespace

PreparationImport prepare_import(const ChampsImport& f) {
  PreparationImport p;
  ReglagesImport r;
  r.vitesse = val(f.vitesse);
  r.transposition = static_cast<int>(std::clamp(val(f.transposition), -24.0, 24.0));
  const double nbpas = val(f.NbpasY), pasmot = val(f.PasmotY);
  if (!(r.vitesse > 0)) {
    p.refus = refuse("la Vitesse du carton doit être supérieure à 0 (page Moteurs et poinçon)");
    return p;
  }
  if (!(nbpas > 0)) {
    p.refus =
        refuse("la Précision (pas moteur par pas de perforation) doit être supérieure à 0 (page Moteurs et poinçon)");
    return p;
  }
  if (!(pasmot > 0)) {
    p.refus = refuse("le Pas moteur Y doit être supérieur à 0 (page Moteurs et poinçon)");
    return p;
  }
  r.pas_Y_mm = nbpas * pasmot;
  auto largeur = largeur_poincon(val(f.Poincon), r.pas_Y_mm);
  if (!largeur) {
    p.refus = refuse("le Poinçon doit couvrir au moins un pas de perforation (Précision x Pas moteur = " +
                     str_plain(r.pas_Y_mm) + " mm)");
    return p;
  }
  r.largeur = *largeur;
  r.demi = static_cast<int>(round_half_even(r.largeur / 2.0));
  auto pont_strict = to_number_strict(f.PontY);
  if (!pont_strict) {
    p.refus = refuse("le paramètre des ponts (Ponts Y) \"" + f.PontY + "\" n'est pas un nombre");
    return p;
  }
  r.ponts = *pont_strict != 0;
  r.pont = val(f.PontY);
  if (r.ponts && !(std::floor(r.pont) + r.largeur >= 1)) {
    p.refus =
        refuse("le paramètre des ponts (Ponts Y) donne un intervalle de trous nul : saisir 0 ou un nombre positif");
    return p;
  }
  if (f.Check5 && !nb_touches(f.NBTouches)) {
    p.refus = refuse(refus_nb_touches(f.NBTouches));
    return p;
  }
  r.mecanique = f.Check4;
  r.doigt = val(f.Text16) / r.pas_Y_mm;
  r.seuil = val(f.Text17);
  p.reglages = r;
  return p;
}

std::string refus_largeur_poincon() {
  return "Calcul des pas Y impossible : le Poinçon doit couvrir au moins un pas de perforation";
}

std::string message_fichier_illisible(const std::string& chemin) {
  return "Impossible de lire le fichier Midi " + chemin;
}

std::string message_temp_impossible(const std::string& chemin) {
  return "Impossible d'écrire le fichier de conversion " + chemin;
}

std::string message_aucune_note(int64_t notes_sans_fin) {
  const std::string texte = "Aucune note à perforer dans ce fichier Midi";
  if (notes_sans_fin <= 0) return texte;
  return texte + " : " +
         (notes_sans_fin == 1 ? "sa note commence" : std::to_string(notes_sans_fin) + " notes commencent") +
         " sans jamais finir (note-on sans note-off avant la fin de la piste)";
}

std::string raison_arret_midi(int16_t code, const std::string& texte) {
  switch (code) {
    case kMidiFinInattendue:
      return "le fichier s'arrête au milieu d'une piste : il est incomplet (copie ou téléchargement interrompu ?)";
    case kMidiDeltaInvalide:
      return "une durée entre deux évènements est mal écrite : le fichier est endommagé";
    case kMidiStatutCourant:
      return "une note ou une commande du fichier est incomplète : le fichier est endommagé";
    case kMidiSansMThd:
      return "ce n'est pas un fichier Midi (il ne commence pas par l'en-tête des fichiers Midi)";
    case kMidiSansMTrk:
      return "une piste du fichier est introuvable : le fichier est endommagé";
    case kMidiTropDeTempos:
      return "le morceau change de tempo plus de 999 fois dans une piste";
    default:
      return texte;  // the refusals of timing are worded for the operator already
  }
}

std::string message_conversion_interrompue(int16_t code, const std::string& texte, bool apres_les_pistes) {
  return "La conversion du fichier Midi s'est arrêtée sur une erreur :\r\n" + raison_arret_midi(code, texte) + "\r\n" +
         (apres_les_pistes ? "L'en-tête annonce plus de pistes que le fichier n'en contient ; toutes celles qu'il "
                             "contient ont été lues : le morceau est ouvert en entier."
                           : "Le morceau n'est pas ouvert : un morceau tronqué gâcherait le carton.");
}

std::string service_conversion_interrompue(int16_t code, const std::string& texte, bool apres_les_pistes) {
  return apres_les_pistes ? "ATTENTION : fichier Midi endommagé, pistes annoncées absentes"
                          : "Fichier Midi refusé : " + raison_arret_midi(code, texte);
}

std::string message_limite_calcul_ponts() {
  return "Calcul limité à 99 pas moteur par pas de perforation et à un paramètre de pont de 99";
}

std::string message_pas_moteur_ponts() { return "Calcul impossible : le Pas moteur Y doit être supérieur à 0"; }

void efface_compteurs_course(Model& m) {
  m.affiche_note.set_text("");
  m.compteurXY(2).set_text("0");
  m.Long_perforee.set_text("0");
  m.gauge1.set_value(0);
}

void refuse_piece(Context& c, const std::string& message) {
  Model& m = c.m;
  RunState& s = c.s;
  m.List3.clear_rows();
  m.Label9.set_text(" 0");
  // Nothing of the refused piece, nor of the one before, stays shown.
  m.Label4.set_text("");
  for (Element* e : {&m.Deb_perf_mn, &m.Deb_perf_sec, &m.Fin_perf_mn, &m.Fin_perf_sec, &m.Text7, &m.Text8})
    e->set_text("");
  s.fin_saisie = false;  // writing the end fields above set it
  s.duree_ms = 0;
  s.reste_fin_ms = 0;
  s.nom_midi_court.clear();
  efface_compteurs_course(m);
  m.Command11.set_enabled(false);
  m.perfo_retard.set_enabled(false);
  m.Label_defautP.set_text(message);
  s.evenements.tell({RunEvent::Kind::PieceChanged});
}

void arret_trop_evenements(Context& c) {
  c.p.dialogs().message_box(
      "Nombre d'évènements trop important\r\nSuggestion :\r\nAugmenter le seuil d'insertion des ponts", BoxButtons::Ok);
  c.p.terminate_now();
}

}  // namespace brivel
