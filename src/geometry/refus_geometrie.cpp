#include "geometry/refus_geometrie.h"

namespace brivel {

std::string refus_nb_touches(const std::string& texte) {
  return "Nombre de notes \"" + texte + "\" invalide : saisir dans Notes un nombre entier de 0 à 63";
}

std::string refus_pas_moteur_x() {
  return "Calcul impossible : le Pas moteur X doit être différent de 0";
}

std::string refus_numero_note(int k, const std::string& texte) {
  return "Note(" + std::to_string(k) + ") = \"" + texte +
         "\" n'est pas un numéro de note Midi : saisir un nombre entier de 0 à 127";
}

std::string refus_piste(int k) {
  return "Piste " + std::to_string(k) + " inexistante : les pistes vont de 1 à 63";
}

void signale_refus(Context& c, const std::string& texte) {
  if (c.m.Frame2.visible())
    c.p.dialogs().message_box(texte, BoxButtons::Ok);
  else
    c.m.Label_defautP.set_text(texte);
}

}  // namespace brivel
