// Firmware upload: the three entries of "Outils > Programmation Atmega" write
// a shell script that runs avrdude (from the distribution) on the port's
// device, ask for confirmation, close the connection and run the script with
// its report shown live in a window of its own, which stays open until the
// operator closes it. When avrdude ends, the port opens again (the board
// reset, its parameters pushed) and the window says what happened and why. The image is Brivel_uploader/Binaire/Brivel.cpp.hex in
// the folder where Brivel keeps its files.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "console/context.h"

namespace brivel {

enum class Carte { Nano, Duemilanove, Uno };

// What the board takes in avrdude's line: its upload speed and the options
// behind it, " -b57600 -D -Uflash:w:" or " -b115200 -D -Uflash:w:".
const char* options_carte(Carte carte);

// `text` in single quotes for the shell, quotes inside it escaped.
std::string cite_shell(std::string_view text);

// Where the script and the image lie, below dossier_appli (trailing '/').
std::string chemin_fichier_commande(const std::string& dossier_appli);
std::string chemin_image(const std::string& dossier_appli);

// The script: into the uploader's folder, then avrdude with the options of
// `carte` on `port` (a device path) and the image.
std::string fichier_commande(const std::string& dossier_appli, const std::string& port, Carte carte);

// The executable `nom` in one of the folders of `path_env` (a PATH value),
// or empty.
std::optional<std::string> cherche_programme(std::string_view path_env, const std::string& nom);

// avrdude's outcome in plain words.
std::string issue_programmation(int code, bool interrompu);
// Why avrdude failed, read from its report, in the operator's words (the
// port, the bootloader or the board entry, the verification, the chip);
// empty when the report says nothing known.
std::string raison_echec(std::string_view rapport);

void Prog_Click(Context& c, Carte carte);

void install_upload(Context& c);

}  // namespace brivel
