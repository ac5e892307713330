#include "tools/upload.h"

#include <unistd.h>

#include <filesystem>

#include "core/numbers.h"
#include "link/connection.h"
#include "persistence/files/text_file.h"

namespace brivel {

namespace {
namespace fs = std::filesystem;

constexpr int kAvantProgrammationMs = 1000;
constexpr const char* kRelancer = "Relancer Brivel avant de poursuivre";

// The report as the window shows it: line ends of any kind become "\n".
std::string lignes_unix(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\r') {
      if (i + 1 < text.size() && text[i + 1] == '\n') continue;
      out += '\n';
    } else {
      out += text[i];
    }
  }
  return out;
}

void ouvre_rapport(Model& m, const std::string& etat, const std::string& texte, bool fini) {
  m.upload_status.set_text(etat);
  m.upload_report.set_text(texte);
  m.upload_close.set_enabled(fini);
  m.Upload.set_visible(true);
}

// What is missing to upload, in words for the report window; empty when
// nothing is.
std::string manque(Context& c) {
  const std::string image = chemin_image(c.s.dossier_appli);
  if (!cherche_programme(c.p.env("PATH").value_or(""), "avrdude"))
    return "avrdude est introuvable : installer le paquet avrdude de la distribution (sudo apt install avrdude), "
           "puis recommencer.";
  std::error_code ec;
  if (!fs::is_regular_file(image, ec))
    return "L'image du microprogramme est introuvable : " + image + "\nLa copier à cet endroit, puis recommencer.";
  return {};
}
}  // namespace

const char* options_carte(Carte carte) {
  return carte == Carte::Uno ? " -b115200 -D -Uflash:w:" : " -b57600 -D -Uflash:w:";
}

std::string cite_shell(std::string_view text) {
  std::string out = "'";
  for (char ch : text) {
    if (ch == '\'')
      out += "'\\''";
    else
      out += ch;
  }
  return out + "'";
}

std::string chemin_fichier_commande(const std::string& dossier_appli) {
  return dossier_appli + "Temp/temp_com_fich.sh";
}

std::string chemin_image(const std::string& dossier_appli) {
  return dossier_appli + "Brivel_uploader/Binaire/Brivel.cpp.hex";
}

std::string fichier_commande(const std::string& dossier_appli, const std::string& port, Carte carte) {
  return "#!/bin/sh\n"
         "cd " +
         cite_shell(dossier_appli + "Brivel_uploader") + " || exit 1\n" + "avrdude -v -pm328p -carduino -P" +
         cite_shell(port) + options_carte(carte) + cite_shell(chemin_image(dossier_appli)) + ":i\n";
}

std::optional<std::string> cherche_programme(std::string_view path_env, const std::string& nom) {
  std::size_t debut = 0;
  while (debut <= path_env.size()) {
    std::size_t fin = path_env.find(':', debut);
    if (fin == std::string_view::npos) fin = path_env.size();
    // An empty entry is the current folder, as the shell takes it.
    const std::string dossier = fin == debut ? std::string(".") : std::string(path_env.substr(debut, fin - debut));
    const std::string chemin = dossier + "/" + nom;
    std::error_code ec;
    if (fs::is_regular_file(chemin, ec) && access(chemin.c_str(), X_OK) == 0) return chemin;
    debut = fin + 1;
  }
  return std::nullopt;
}

std::string issue_programmation(int code, bool interrompu) {
  if (interrompu) return "Échec : avrdude s'est arrêté brutalement. Le microcontrôleur n'est peut-être pas programmé.";
  if (code == 0) return "Programmation réussie : avrdude a terminé sans erreur.";
  return "Échec de la programmation : avrdude a terminé en erreur (code " + std::to_string(code) +
         "). Le rapport ci-dessous en donne la raison.";
}

std::string raison_echec(std::string_view rapport) {
  auto dit = [&rapport](std::string_view mot) { return rapport.find(mot) != std::string_view::npos; };
  if (dit("can't open device") || dit("cannot open port") || dit("Permission denied"))
    return "avrdude n'a pas pu ouvrir le port : la carte est-elle branchée, le port est-il le bon, votre compte "
           "est-il dans le groupe dialout ?";
  if (dit("not in sync") || dit("not responding") || dit("getsync"))
    return "Le chargeur de la carte ne répond pas. Vérifier l'entrée choisie : « Uno - Uno rev3 » parle à "
           "115 200 bauds, « Nano » et « Duemilanove » à 57 600 (un Nano récent porte le chargeur du Uno). Une "
           "carte sans chargeur se programme avec un programmateur ISP (avrdude -c usbasp ...).";
  if (dit("verification error") || dit("content mismatch") || dit("mismatch at"))
    return "La vérification a échoué : l'image écrite ne se relit pas. Recommencer ; si cela persiste, la "
           "carte est à remplacer.";
  if (dit("signature"))
    return "La carte n'est pas un ATmega328P (signature inattendue) : vérifier la carte branchée.";
  return {};
}

namespace {
// After avrdude, successful or not: the port opened again, the board reset
// and its parameters pushed, so that the operator goes on at once.
void apres_programmation(Context& c, int code, bool interrompu) {
  Model& m = c.m;
  std::string etat = issue_programmation(code, interrompu);
  const bool reussie = code == 0 && !interrompu;
  if (!reussie) {
    if (std::string pourquoi = raison_echec(m.upload_report.text()); !pourquoi.empty()) etat += "\n" + pourquoi;
  }
  m.upload_status.set_text(etat);
  // Whatever the board said before, it may run another firmware now: its
  // greeting is waited for again.
  c.s.carte_salue = -1;
  ouvre_port(c);
  const bool connectee = c.p.serial().is_open();
  m.upload_status.set_text(etat + (connectee ? "\nLa carte est reconnectée et a reçu ses paramètres."
                                             : "\nLe port ne s'ouvre plus : " + c.p.serial().last_error()));
  m.upload_close.set_enabled(true);
  if (reussie)
    m.Label_defautP.set_text(connectee ? "Microprogramme à jour : carte reconnectée"
                                       : "Microprogramme à jour, mais le port ne s'ouvre plus");
  else
    m.Label_defautP.set_text("Programmation échouée : voir la fenêtre de programmation");
}
}  // namespace

void Prog_Click(Context& c, Carte carte) {
  Model& m = c.m;
  const std::string script = chemin_fichier_commande(c.s.dossier_appli);
  // Written before the question: a "No" leaves the new file on disk.
  if (!ecritures(c).ecrit(script,
                              fichier_commande(c.s.dossier_appli, c.p.serial().device_path(numero_port(c)), carte))) {
    m.Label_defautP.set_text("Programmation impossible : le fichier de commande " + script + " ne peut pas être écrit");
    return;
  }
  if (c.p.dialogs().message_box("Voulez-vous vraiment reprogrammer le microcontroleur ?\r\n",
                                BoxButtons::YesNoDefaultNo) != BoxAnswer::Yes)
    return;
  if (!c.p.serial().is_open()) {
    // An open port is the proof that AdressePort names a real port.
    c.p.dialogs().message_box("Définir un numéro de port valide\r\n", BoxButtons::Ok);
    m.Label_defautP.set_text(kRelancer);
    return;
  }
  // Told before the connection is closed: the machine stays usable.
  if (std::string pourquoi = manque(c); !pourquoi.empty()) {
    ouvre_rapport(m, "Programmation impossible : rien n'a été envoyé à la carte.", pourquoi, true);
    m.Label_defautP.set_text("Programmation impossible : voir la fenêtre de programmation");
    return;
  }
  connexion_off(c);
  attente_ms(c.p, kAvantProgrammationMs);
  ouvre_rapport(m, "Programmation en cours : ne pas débrancher la carte.", "", false);
  Platform::CommandReport rapport;
  rapport.on_output = [&m](const std::string& texte) {
    m.upload_report.set_text(m.upload_report.text() + lignes_unix(texte));
  };
  rapport.on_end = [&c](int code, bool interrompu) { apres_programmation(c, code, interrompu); };
  m.Label_defautP.set_text("Programmation en cours : ne pas débrancher la carte");
  if (!c.p.run_command_file(script, std::move(rapport))) {
    m.upload_status.set_text("Échec : le fichier de commande " + script + " n'a pas pu être lancé.");
    m.upload_close.set_enabled(true);
    ouvre_port(c);
    m.Label_defautP.set_text("Programmation impossible : voir la fenêtre de programmation");
  }
}

void install_upload(Context& c) {
  Model& m = c.m;
  m.Prog_nano.handler = [&c] { Prog_Click(c, Carte::Nano); };
  m.Prog_duemilanove.handler = [&c] { Prog_Click(c, Carte::Duemilanove); };
  m.Prog_uno_rev3.handler = [&c] { Prog_Click(c, Carte::Uno); };
  m.upload_close.handler = [&c] { c.m.Upload.set_visible(false); };
}

}  // namespace brivel
