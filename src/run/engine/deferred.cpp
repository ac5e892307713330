#include "run/engine/deferred.h"

#include <cctype>
#include <cstdio>
#include <vector>

#include "run/engine/run_engine.h"

namespace brivel {

std::optional<int> lit_heure(std::string_view texte) {
  std::vector<int> parts;
  int v = -1;
  for (char ch : texte) {
    if (std::isdigit(static_cast<unsigned char>(ch))) {
      if (v > 99) return std::nullopt;
      v = (v < 0 ? 0 : v * 10) + (ch - '0');
    } else if (ch == ':' || ch == 'h' || ch == 'H') {
      if (v < 0) return std::nullopt;
      parts.push_back(v);
      v = -1;
    } else if (ch != ' ') {
      return std::nullopt;
    }
  }
  if (v >= 0) parts.push_back(v);
  else if (parts.size() == 1) parts.push_back(0);  // "14h"
  if (parts.size() < 2 || parts.size() > 3) return std::nullopt;
  if (parts.size() == 2) parts.push_back(0);
  if (parts[0] > 23 || parts[1] > 59 || parts[2] > 59) return std::nullopt;
  return parts[0] * 3600 + parts[1] * 60 + parts[2];
}

std::string texte_heure(int secondes) {
  char buf[16];
  std::snprintf(buf, sizeof buf, "%02d:%02d:%02d", secondes / 3600 % 24, secondes / 60 % 60, secondes % 60);
  return buf;
}

void perfo_retard_Click(Context& c) {
  Model& m = c.m;
  RunState& s = c.s;
  m.Command11.set_enabled(false);
  const int maintenant = c.p.time_of_day_s();
  const auto reponse =
      c.p.dialogs().input_box("Heure de démarrage de la perforation :\r\n\n(Format : hh:mn)", texte_heure(maintenant));
  const auto heure = reponse ? lit_heure(*reponse) : std::nullopt;
  if (!heure) {
    // Nothing is armed; "Perforer" is offered again.
    m.Timer2.set_enabled(false);
    m.Command11.set_enabled(true);
    m.Label_defautP.set_text(!reponse || reponse->empty()
                                 ? "Perforation différée annulée"
                                 : "Perforation différée annulée : \"" + *reponse +
                                       "\" n'est pas une heure (format hh:mn)");
    return;
  }
  s.heure_differee = *heure;
  m.Label_defautP.set_text("Début perforation différé à : " + texte_heure(*heure));
  if (*heure == maintenant)
    Command11_Click(c);
  else
    m.Timer2.set_enabled(true);
}

void Timer2_Timer(Context& c) {
  if (c.s.heure_differee && c.p.time_of_day_s() > *c.s.heure_differee && !c.s.perforation_lancee)
    Command11_Click(c);
}

void install_deferred(Context& c) {
  c.m.perfo_retard.handler = [&c] { perfo_retard_Click(c); };
  c.m.Timer2.handler = [&c] { Timer2_Timer(c); };
}

}  // namespace brivel
