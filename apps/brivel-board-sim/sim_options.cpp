#include "sim_options.h"

#include <cstdlib>

namespace brivel::boardsim {

const char* const kUsage =
    "Usage : brivel-board-sim [options]\n"
    "  --link CHEMIN      lien symbolique vers le pseudo-terminal (ex. <dossier_appli>/ports/com7)\n"
    "  --log FICHIER      journal des trames, réponses et trous, une ligne chacun\n"
    "  --faults FICHIER   script de défauts (B MY 3, C CZ 2, D MX 5 12, silence CZ 4, refuse ON 2, A OR 1)\n"
    "  --instant          chaque réponse 1 ms après sa trame (par défaut)\n"
    "  --realistic        durées tirées des durées de pas PX, PY, IZ + MZ\n"
    "  --sensors OOOOO    les cinq capteurs, O = démasqué, . = masqué (poinçon bas, haut, linéaire, rotatif, réserve)\n"
    "  --duration S       s'arrête après S secondes (sinon sur SIGTERM ou SIGINT)\n"
    "  --help, --version\n"
    "Les règles de défaut comptent les déplacements X ensemble (MX vaut MX, mX, Mx et mx), de même OR et oR, CZ et "
    "cZ.\n"
    "Chaque ouverture du port redémarre le microprogramme, comme sur une carte ; SIGUSR1 aussi.\n";

std::optional<SimOptions> parse_options(const std::vector<std::string>& args, std::string* error) {
  SimOptions o;
  auto fail = [&](const std::string& why) -> std::optional<SimOptions> {
    if (error) *error = why;
    return std::nullopt;
  };
  for (size_t i = 0; i < args.size(); ++i) {
    const std::string& a = args[i];
    auto value = [&](std::string* into) {
      if (i + 1 >= args.size()) return false;
      *into = args[++i];
      return true;
    };
    if (a == "--help" || a == "-h" || a == "--version") {
      continue;  // answered before anything else, by main()
    } else if (a == "--instant") {
      o.instant = true;
    } else if (a == "--realistic") {
      o.instant = false;
    } else if (a == "--link" || a == "--log" || a == "--faults" || a == "--sensors") {
      std::string* into = a == "--link" ? &o.link : a == "--log" ? &o.log : a == "--faults" ? &o.faults : &o.sensors;
      if (!value(into) || into->empty()) return fail("L'option " + a + " attend une valeur.");
      if (a == "--sensors" && (into->size() != 5 || into->find_first_not_of("O.") != std::string::npos))
        return fail("--sensors : cinq caractères O (démasqué) ou . (masqué) attendus, pas « " + *into + " ».");
    } else if (a == "--duration") {
      std::string text;
      if (!value(&text)) return fail("L'option --duration attend un nombre de secondes.");
      char* end = nullptr;
      o.duration_s = std::strtod(text.c_str(), &end);
      if (end == text.c_str() || *end != '\0' || !(o.duration_s > 0) || o.duration_s > 1e7)
        return fail("--duration : nombre de secondes positif attendu, pas « " + text + " ».");
    } else {
      return fail("Option inconnue : « " + a + " ».");
    }
  }
  return o;
}

}  // namespace brivel::boardsim
