#include "tools/detecteurs.h"

#include "link/frames.h"
#include "link/line.h"
#include "link/occupation.h"

namespace brivel {

namespace {
constexpr int kApresBasculeMs = 200;

std::array<Element*, 4> lampes(Model& m) { return {&m.Poin_B, &m.Poin_H, &m.Det_L(4), &m.Det_T(3)}; }

void lampes_neutres(Model& m) {
  for (Element* l : lampes(m)) l->set_color(palette::kButtonFace);
}

void arret_visu(Context& c) {
  Model& m = c.m;
  m.Calibration_axes.set_enabled(true);
  m.axe.set_enabled(true);
  m.Timer1.set_enabled(false);
  c.s.visu_active = false;
  lampes_neutres(m);
}
}  // namespace

std::array<int, 4> couleurs_detecteurs(std::string_view reponse, bool deux_capteurs) {
  auto lampe = [&](std::size_t i) {
    return i < reponse.size() && reponse[i] == 'O' ? palette::kLightRed : palette::kWhite;
  };
  if (deux_capteurs) return {palette::kButtonFace, lampe(1), lampe(2), palette::kButtonFace};
  return {lampe(0), lampe(1), lampe(2), lampe(3)};
}

void visu_detecteurs_Click(Context& c) {
  Model& m = c.m;
  if (!c.s.visu_active && !port_pret(c)) return;
  m.visu_detecteurs.set_enabled(false);
  if (c.s.visu_active) {
    arret_visu(c);
  } else {
    // Only the poll talks to the board while the view is on.
    m.Calibration_axes.set_enabled(false);
    m.axe.set_enabled(false);
    m.Timer1.set_enabled(true);
    c.s.visu_active = true;
  }
  m.visu_detecteurs.set_enabled(true);
  c.p.turn(0);
  attente_ms(c.p, kApresBasculeMs);
}

void Timer1_Timer(Context& c) {
  Model& m = c.m;
  if (c.s.commande_machine) return;  // the next tick polls
  if (!c.p.serial().is_open()) {
    arret_visu(c);
    m.Label_defautP.set_text("Visualisation des détecteurs arrêtée : machine non connectée");
    return;
  }
  Occupation occ(c);
  if (!occ) return;
  std::string r;
  Attente a = envoie(c, fixed_frame("VD")) ? debut_echange_compte(c, r) : Attente::PortPerdu;
  fin_echange_compte(c, false);
  if (a != Attente::Reponse) {
    lampes_neutres(m);
    m.Label_defautP.set_text("Détecteurs : " + texte_defaut_liaison(c.s, a));
    return;
  }
  const auto couleurs = couleurs_detecteurs(r, m.Check1.value() == 1);
  const auto l = lampes(m);
  for (std::size_t i = 0; i < l.size(); ++i) l[i]->set_color(couleurs[i]);
  c.p.turn(0);
}

void install_detecteurs(Context& c) {
  c.m.visu_detecteurs.handler = [&c] { visu_detecteurs_Click(c); };
  c.m.Timer1.handler = [&c] { Timer1_Timer(c); };
}

}  // namespace brivel
