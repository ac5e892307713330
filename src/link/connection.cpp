#include "link/connection.h"

#include <memory>

#include "core/numbers.h"
#include "link/param_push.h"

namespace brivel {

namespace {
constexpr int kPortScanStart = 32;
// How long after the opening a board that greets is waited for: a
// bootloader listens about a second after the reset before it starts the
// firmware. At most 1.5 s beyond the 900 ms of the reset pulse.
constexpr int kSaluMaxMs = 2400;

// The lamps are the system's report of a connection; their tool tip says
// why a red one is red, when the serial layer knows.
void lamps(Context& c, int colour) {
  c.m.Shape1.set_color(colour);
  c.m.Shape2.set_color(colour);
  std::string why = colour == palette::kLightRed ? c.p.serial().last_error() : std::string();
  // Words typed where a number belongs: said as typed, not as "port 0".
  const std::string& typed = c.m.AdressePort.text();
  if (colour == palette::kLightRed && !typed.empty() && typed.find_first_of("0123456789") == std::string::npos)
    why = "« " + typed + " » n'est pas un numéro de port (1 à 32, ou N pour un lien ports/comN)";
  c.m.Shape1.set_tooltip(why);
  c.m.Shape2.set_tooltip(why);
}

// Selects the numbered port and opens it. False on any failure; failures on
// the way to a connection give no message, the lamps tell.
bool select_and_open(Context& c, int n) {
  SerialPort& port = c.p.serial();
  if (!port.set_port_number(n)) return false;
  return port.open();
}

bool run_under_way(const Context& c) { return c.s.run_on_stack || c.m.Command12.enabled(); }
}  // namespace

int numero_port(const Context& c) {
  double v = val(c.m.AdressePort.text());
  auto n = cint(v);
  if (!n) return 0;
  return *n;
}

void init_port(Context& c) {
  SerialPort& port = c.p.serial();
  RunState& s = c.s;
  const int32_t ouverture = c.p.tick_ms();
  const int saluts = s.saluts;
  s.connexion_en_cours = true;
  s.salut_partiel.clear();
  port.set_settings("57600,n,8,1");
  port.set_dtr(true);
  port.set_rts(true);
  attente_ms(c.p, 400);
  // The lines stay low from here on: no flow control on this line.
  port.set_dtr(false);
  port.set_rts(false);
  port.set_input_len(1);
  port.set_rthreshold(1);
  c.s.mode_5car = false;
  c.s.rep_5car_prete = false;
  attente_ms(c.p, 500);
  // A board that never greeted on this port (another firmware) keeps the
  // 900 ms; any other is waited for until its greeting, or the time-out.
  const int n = numero_port(c);
  if (s.carte_salue == 0 && s.port_salue == n) return;
  while (s.saluts == saluts && port.is_open()) {
    const int32_t passe = c.p.tick_ms() - ouverture;
    if (passe >= kSaluMaxMs) break;
    c.p.turn(kSaluMaxMs - passe);
  }
  s.carte_salue = s.saluts != saluts ? 1 : 0;
  s.port_salue = n;
  s.trafic.add(c.p.tick_ms(), '!',
               s.carte_salue ? "carte prête (salut reçu)" : "pas de salut de la carte : paramètres envoyés sans lui");
}

void connexion_on(Context& c) {
  init_port(c);
  if (!c.p.serial().is_open()) {
    // The device went away during the reset (its removal closed the port).
    c.s.connexion_en_cours = false;
    c.s.scan_port = false;
    connexion_off(c);
    return;
  }
  lamps(c, palette::kLightGreen);
  c.s.scan_port = false;
  param_arduino(c);
  c.s.connexion_en_cours = false;
  c.p.set_busy(false);
}

void carte_a_salue(Context& c) {
  RunState& s = c.s;
  ++s.saluts;
  s.trafic.add(c.p.tick_ms(), '!', "salut de la carte : elle vient de démarrer");
  if (s.connexion_en_cours) return;
  if (s.run_on_stack) {
    if (s.etat_pause == 0) s.reinit_a_signaler = true;
    // The head's place is lost with the board's count: whatever the
    // operator does meanwhile, the run re-registers before its next hole.
    s.realignement_demande = -1;
  }
  // The push at the next turn, out of the receive handler; the run, if one
  // goes on, meets the restart at its next wait and suspends.
  auto id = std::make_shared<int>();
  *id = c.p.add_timer(1, [&c, id] {
    c.p.remove_timer(*id);
    if (!c.p.serial().is_open() || c.s.connexion_en_cours) return;
    c.m.Label_defaut.set_text("Carte réinitialisée");
    c.m.Label_defautP.set_text(kCarteReinitialisee);
    param_arduino(c);
  });
}

void connexion_off(Context& c) {
  if (c.p.serial().is_open()) c.p.serial().close();
  lamps(c, palette::kLightRed);
  c.p.set_busy(false);
}

void ouvre_port(Context& c) {
  // With the port already open the selection fails: no change, no reset.
  if (select_and_open(c, numero_port(c))) connexion_on(c);
  if (!c.p.serial().is_open()) connexion_off(c);
}

void AdressePort_Change(Context& c) {
  if (!c.s.scan_port) {
    SerialPort& port = c.p.serial();
    if (port.is_open()) port.close();
    if (select_and_open(c, numero_port(c))) connexion_on(c);
  }
  if (!c.p.serial().is_open()) connexion_off(c);
}

void Label3_Click(Context& c) {
  SerialPort& port = c.p.serial();
  if (port.is_open()) return;
  // One attempt at the top port, made by the change handler itself.
  c.m.AdressePort.set_text(std::to_string(kPortScanStart));
  c.s.scan_port = true;
  c.p.set_busy(true);
  while (c.s.scan_port) {
    const int n = numero_port(c);
    select_and_open(c, n);
    bool won = false;
    if (port.is_open()) {
      // One serial layer: the probe is the connection itself. Closing and
      // opening again keeps the order of effects of a separate probe (and
      // takes over a port that the first attempt at 32 opened).
      port.close();
      won = select_and_open(c, n);
    }
    if (won) {
      c.s.scan_port = false;
      connexion_on(c);
    } else if (n > 0) {
      c.m.AdressePort.set_text(std::to_string(n - 1));
    } else {
      c.s.scan_port = false;
      connexion_off(c);
    }
    attente_ms(c.p, 20);
    c.p.turn(0);
  }
  c.p.set_busy(false);
}

void SysInfo_DeviceArrival(Context& c, int type, int id, const std::string& name) {
  if (type != 3 || id != 0) return;
  if (run_under_way(c) && c.p.serial().is_open()) {
    // A reset now would lose the board's place under the run.
    c.m.Label_defautP.set_text("Carte arduino détectée - ignorée : une perforation est en cours");
    return;
  }
  // One message at a time: the arrival replaces the line, it isn't run on
  // behind whatever the line said.
  c.m.Label_defautP.set_text("Carte arduino détectée");
  c.p.set_busy(true);
  c.m.AdressePort.set_text(name.size() > 3 ? name.substr(3) : std::string());
  if (!c.p.serial().is_open()) {
    if (select_and_open(c, numero_port(c))) connexion_on(c);
    if (!c.p.serial().is_open()) connexion_off(c);
  }
}

void SysInfo_DeviceRemoveComplete(Context& c) { connexion_off(c); }

}  // namespace brivel
