#include "tools/eeprom.h"

#include "core/numbers.h"
#include "link/frames.h"
#include "link/line.h"
#include "link/occupation.h"

namespace brivel {

namespace {
constexpr int kApresEcritureMs = 300;

// "NUxxxxx" and, with no gap, the frame of `code` with the number in `field`.
// False when nothing more is to be done (refused number, lost line).
bool envoie_acces(Context& c, const char* code, const Element& field) {
  if (!envoie(c, fixed_frame("NU"))) return false;
  return envoie_nombre(c, code, val(field.text()));
}
}  // namespace

int valeur_cellule(char car_autre) { return static_cast<unsigned char>(car_autre); }

std::optional<int> valeur_lettre(const RunState& s) {
  if (s.rep_A) return 'A';
  if (s.rep_B) return 'B';
  if (s.rep_C) return 'C';
  if (s.rep_D) return 'D';
  return std::nullopt;
}

void read_EEPROM(Context& c) {
  Model& m = c.m;
  RunState& s = c.s;
  Occupation occ(c);
  if (!occ) return;
  if (!envoie_acces(c, "rd", m.adress)) return;
  s.car_autre = 0;
  s.rep_autre = false;
  // A cell holding 65 to 68 comes back as "A" to "D", which the dispatcher
  // takes for replies: the wait ends on those too.
  efface_drapeaux(s, kRepA | kRepB | kRepC | kRepD);
  // The cell may hold any byte, ESC too: not the start of a greeting here.
  s.octet_brut_attendu = true;
  Attente a = attend(
      c, [&s] { return un_drapeau(s, kRepAutre | kRepA | kRepB | kRepC | kRepD); }, kDelaiReponseMs);
  s.octet_brut_attendu = false;
  envoie(c, kBareLF);
  if (a != Attente::Reponse) {
    m.Label_defautP.set_text("Lecture EEPROM impossible : " + texte_defaut_liaison(c.s, a));
    return;
  }
  if (auto lettre = valeur_lettre(s)) {
    m.value.set_text(std::to_string(*lettre));
    m.Label_defautP.set_text("Lecture EEPROM : la carte a répondu \"" + std::string(1, static_cast<char>(*lettre)) +
                             "\", lu comme la valeur " + std::to_string(*lettre) +
                             " (les valeurs 65 à 68 arrivent comme les réponses A à D)");
    return;
  }
  m.value.set_text(std::to_string(valeur_cellule(s.car_autre)));
}

void write_EEPROM(Context& c) {
  Model& m = c.m;
  RunState& s = c.s;
  Occupation occ(c);
  if (!occ) return;
  if (!envoie_acces(c, "wr", m.value)) return;
  s.rep_A = false;
  Attente a = attend(
      c, [&s] { return s.rep_A; }, kDelaiReponseMs);
  if (a != Attente::Reponse) {
    m.Label_defautP.set_text("Ecriture EEPROM non confirmée : " + texte_defaut_liaison(c.s, a));
    return;
  }
  attente_ms(c.p, kApresEcritureMs);
}

void install_eeprom(Context& c) {
  c.m.eeprom_read.handler = [&c] { read_EEPROM(c); };
  c.m.eeprom_write.handler = [&c] { write_EEPROM(c); };
}

}  // namespace brivel
