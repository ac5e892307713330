#include "link/line.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <utility>

#include "core/cp1252.h"
#include "core/numbers.h"
#include "link/connection.h"
#include "link/frames.h"

namespace brivel {

double delai_mouvement_ms(double pas, double us_par_pas) {
  double move = pas * us_par_pas / 1000.0;
  if (!(move > 0)) move = 0;  // also NaN
  return kDelaiReponseMs + 2 * move;
}

bool envoie(Context& c, std::string_view bytes) {
  c.s.reponse_recue_ms.reset();
  if (c.p.serial().write(bytes)) {
    c.s.trafic.add(c.p.tick_ms(), '>', bytes);
    return true;
  }
  c.s.trafic.add(c.p.tick_ms(), '!', "écriture impossible : " + std::string(bytes));
  // The device has gone: the lamps must say so, and the next wait ends at once.
  connexion_off(c);
  return false;
}

bool envoie_nombre(Context& c, std::string_view code, double value) {
  auto frame = number_frame(code, value);
  if (!frame) {
    c.m.Label_defautP.set_text(refusal_text(code, value));
    return false;
  }
  return envoie(c, *frame);
}

void OnComm(Context& c, int comm_event) {
  if (comm_event != SerialPort::kEvReceive) return;
  RunState& s = c.s;
  SerialPort& port = c.p.serial();
  if (!s.mode_5car) {
    s.rep_A = s.rep_B = s.rep_C = s.rep_D = s.rep_autre = false;
    std::string in = port.input();
    if (in.empty()) return;
    s.reponse_recue_ms = c.p.fine_ms();
    s.trafic.add(c.p.tick_ms(), '<', in.substr(0, 1));
    if (s.octet_brut_attendu || (s.salut_partiel.empty() && in[0] != kSalutCarte[0])) {
      note_single_reply(s, in[0]);
      return;
    }
    // A greeting, or its beginning: held back until it is whole or proves
    // to be something else.
    s.salut_partiel += in[0];
    if (kSalutCarte.substr(0, s.salut_partiel.size()) == s.salut_partiel) {
      if (s.salut_partiel.size() < kSalutCarte.size()) return;
      s.salut_partiel.clear();
      carte_a_salue(c);
      return;
    }
    // Not a greeting after all: the bytes held are replies, the last one
    // perhaps the start of a greeting.
    std::string tenus = std::exchange(s.salut_partiel, "");
    const bool debut = tenus.back() == kSalutCarte[0];
    if (debut) {
      s.salut_partiel = tenus.back();
      tenus.pop_back();
    }
    for (char ch : tenus) note_single_reply(s, ch);
  } else if (!s.rep_5car_prete) {
    std::string in = port.input();
    s.trafic.add(c.p.tick_ms(), '<', in);
    s.rep_5car = counted_reply(in);
    s.rep_5car_prete = true;
  }
  // Counted mode with a reply already pending: the characters stay where
  // they are until the exchange takes the copy.
}

void efface_drapeaux(RunState& s, unsigned flags) {
  if (flags & kRepA) s.rep_A = false;
  if (flags & kRepB) s.rep_B = false;
  if (flags & kRepC) s.rep_C = false;
  if (flags & kRepD) s.rep_D = false;
  if (flags & kRepAutre) s.rep_autre = false;
}

bool un_drapeau(const RunState& s, unsigned flags) {
  return ((flags & kRepA) && s.rep_A) || ((flags & kRepB) && s.rep_B) || ((flags & kRepC) && s.rep_C) ||
         ((flags & kRepD) && s.rep_D) || ((flags & kRepAutre) && s.rep_autre);
}

namespace {
// What came from the board since the tick `depuis`: the traffic recorder
// keeps every byte received. No reply can come between the frame and the
// start of its wait, so these are the wait's own.
std::string recus_depuis(const TrafficLog& log, int32_t depuis) {
  std::string out;
  const auto& e = log.entries();
  for (auto it = e.rbegin(); it != e.rend() && it->at_ms >= depuis; ++it)
    if (it->dir == '<') out.insert(0, it->text);
  return out;
}
}  // namespace

Attente attend(Context& c, const std::function<bool()>& fini, double delai_ms) {
  const uint32_t start = static_cast<uint32_t>(c.p.tick_ms());
  const int saluts = c.s.saluts;
  for (;;) {
    if (std::exchange(c.s.reinit_a_signaler, false) || (c.s.saluts != saluts && !c.s.connexion_en_cours)) {
      // Told once: the flag set by this same greeting goes with it.
      c.s.reinit_a_signaler = false;
      c.s.trafic.add(c.p.tick_ms(), '!', "la carte a redémarré pendant l'attente");
      return Attente::CarteReinitialisee;
    }
    if (fini()) return Attente::Reponse;
    if (!c.p.serial().is_open()) {
      c.s.trafic.add(c.p.tick_ms(), '!', "port fermé pendant l'attente");
      return Attente::PortPerdu;
    }
    // Elapsed time on the tick, right across a wrap of the counter.
    const double passe = static_cast<double>(static_cast<uint32_t>(c.p.tick_ms()) - start);
    if (passe >= delai_ms) {
      c.s.octets_inattendus = recus_depuis(c.s.trafic, static_cast<int32_t>(start));
      if (!c.s.octets_inattendus.empty()) {
        // Bytes came, but none was the awaited reply: garbage on the line,
        // or a board that speaks another protocol.
        c.s.trafic.add(c.p.tick_ms(), '!',
                       "réponse inattendue après " + str_plain(passe) + " ms : " + visible_bytes(c.s.octets_inattendus));
        return Attente::Inattendue;
      }
      c.s.trafic.add(c.p.tick_ms(), '!', "pas de réponse après " + str_plain(passe) + " ms");
      return Attente::Delai;
    }
    const double reste = std::ceil(delai_ms - passe);
    c.p.turn(reste > 1e9 ? 1000000000 : std::max(1, static_cast<int>(reste)));
  }
}

Attente ecrit_et_attend(Context& c, std::string_view frame, unsigned flags, double delai_ms) {
  if (std::exchange(c.s.reinit_a_signaler, false)) return Attente::CarteReinitialisee;
  if (!envoie(c, frame)) return Attente::PortPerdu;
  efface_drapeaux(c.s, flags);
  return attend(
      c, [&c, flags] { return un_drapeau(c.s, flags); }, delai_ms);
}

Attente debut_echange_compte(Context& c, std::string& r) {
  c.s.rep_5car_prete = false;
  c.s.mode_5car = true;
  c.p.serial().set_rthreshold(5);
  c.p.serial().set_input_len(5);
  if (!envoie(c, kBareLF)) return Attente::PortPerdu;
  Attente a = attend(
      c, [&c] { return c.s.rep_5car_prete; }, kDelaiReponseMs);
  if (a == Attente::Reponse) r = c.s.rep_5car;
  return a;
}

void fin_echange_compte(Context& c, bool ligne_fermante) {
  c.s.mode_5car = false;
  c.p.serial().set_rthreshold(1);
  c.p.serial().set_input_len(1);
  if (ligne_fermante) envoie(c, kBareLF);
}

std::string texte_defaut_liaison(const RunState& s, Attente a) {
  switch (a) {
    case Attente::Reponse:
      return "";
    case Attente::Delai:
      return "Pas de réponse de la machine";
    case Attente::PortPerdu:
      return "Liaison série perdue";
    case Attente::Inattendue:
      return "Réponse inattendue de la machine : " + visible_bytes(s.octets_inattendus);
    case Attente::CarteReinitialisee:
      return kCarteReinitialisee;
  }
  return "";
}

bool port_pret(Context& c) {
  if (c.p.serial().is_open()) return true;
  c.m.Label_defautP.set_text(std::string("Machine non connectée : commande impossible. ") + kOuTrouverLePort);
  return false;
}

std::vector<std::string> lignes_trafic(const TrafficLog& log) {
  std::vector<std::string> lines;
  lines.push_back("Trafic de la liaison série, du plus ancien au plus récent (ms, > envoyé, < reçu, ! incident)");
  for (const auto& e : log.entries()) {
    char head[32];
    std::snprintf(head, sizeof head, "%11d %c ", static_cast<int>(e.at_ms), e.dir);
    lines.push_back(head + (e.dir == '!' ? e.text : visible_bytes(e.text)));
  }
  return lines;
}

}  // namespace brivel
