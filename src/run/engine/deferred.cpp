#include "run/engine/deferred.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <vector>

#include "link/line.h"
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

std::string texte_attente(double ms) {
  const long total = static_cast<long>(std::ceil(std::max(0.0, ms) / 1000.0));
  char buf[32];
  if (total >= 3600)
    std::snprintf(buf, sizeof buf, "%ld h %02ld mn", total / 3600, total / 60 % 60);
  else if (total >= 60)
    std::snprintf(buf, sizeof buf, "%ld mn %02ld s", total / 60, total % 60);
  else
    std::snprintf(buf, sizeof buf, "%ld s", total);
  return buf;
}

std::optional<double> attente_depart_ms(const Context& c) {
  if (!c.s.heure_differee) return std::nullopt;
  const uint32_t passe = static_cast<uint32_t>(c.p.tick_ms()) - c.s.differe_arme_tick;
  return std::max(0.0, static_cast<double>(c.s.differe_delai_ms) - passe);
}

namespace {
constexpr const char* kCaptionDiffere = "Perforation différée...";

void desarme(Context& c) {
  c.s.heure_differee.reset();
  c.m.Timer2.set_enabled(false);
  c.m.perfo_retard.set_text(kCaptionDiffere);
}

// The service line while armed: the time asked, and the time left.
void compte_a_rebours(Context& c) {
  c.m.Label_defautP.set_text("Début perforation différé à : " + texte_heure(*c.s.heure_differee) + " - Départ dans " +
                             texte_attente(*attente_depart_ms(c)));
}
}  // namespace

void perfo_retard_Click(Context& c) {
  Model& m = c.m;
  RunState& s = c.s;
  if (s.heure_differee) {
    // Armed: the entry takes it back.
    desarme(c);
    m.Command11.set_enabled(true);
    m.Label_defautP.set_text("Perforation différée annulée");
    return;
  }
  m.Command11.set_enabled(false);
  const int maintenant = c.p.time_of_day_s();
  const std::string defaut = texte_heure(maintenant).substr(0, 5);  // hh:mn
  const auto reponse =
      c.p.dialogs().input_box("Heure de démarrage de la perforation :\r\n\n(Format : hh:mn)", defaut);
  const auto heure = reponse ? lit_heure(*reponse) : std::nullopt;
  if (!heure) {
    // Nothing is armed; "Perforer" is offered again.
    desarme(c);
    m.Command11.set_enabled(true);
    m.Label_defautP.set_text(!reponse || reponse->empty()
                                 ? "Perforation différée annulée"
                                 : "Perforation différée annulée : \"" + *reponse +
                                       "\" n'est pas une heure (format hh:mn)");
    return;
  }
  s.heure_differee = *heure;
  m.Label_defautP.set_text("Début perforation différé à : " + texte_heure(*heure));
  // The default answer is this minute: the run starts at once.
  if (*heure / 60 == maintenant / 60) {
    s.heure_differee.reset();
    Command11_Click(c);
    return;
  }
  // The first tick strictly after that second; a time past is tomorrow's.
  s.differe_arme_tick = static_cast<uint32_t>(c.p.tick_ms());
  s.differe_delai_ms = static_cast<int64_t>((*heure - maintenant + 86400) % 86400) * 1000 + 1;
  m.perfo_retard.set_text(kAnnulerDiffere);
  compte_a_rebours(c);
  m.Timer2.set_enabled(true);
}

void Timer2_Timer(Context& c) {
  RunState& s = c.s;
  Model& m = c.m;
  if (!s.heure_differee) return;
  if (*attente_depart_ms(c) > 0) {
    compte_a_rebours(c);
    return;
  }
  const int heure = *s.heure_differee;
  desarme(c);
  // No machine: the run is not begun, to wait suspended all night.
  bool parti = false;
  if (port_pret(c)) {
    const int id = s.evenements.subscribe([&parti](const RunEvent& e) {
      if (e.kind == RunEvent::Kind::SetUp) parti = true;
    });
    Command11_Click(c);
    s.evenements.unsubscribe(id);
  }
  if (parti) return;
  // Nobody is there: said where the operator looks in the morning.
  RunEvent echec(RunEvent::Kind::DeferredFailed);
  echec.text = "Départ différé de " + texte_heure(heure) + " impossible : " + m.Label_defautP.text();
  m.Label_defaut.set_text("Départ différé impossible");
  m.Label_defautP.set_text(echec.text);
  s.evenements.tell(echec);
}

void install_deferred(Context& c) {
  c.m.perfo_retard.handler = [&c] { perfo_retard_Click(c); };
  c.m.Timer2.handler = [&c] { Timer2_Timer(c); };
}

}  // namespace brivel
