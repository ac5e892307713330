#include "card.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>

#include "app/console_app.h"
#include "geometry/note_names.h"
#include "import/vertalen.h"
#include "persistence/files/parameter_file.h"
#include "platform/sim/sim_platform.h"

namespace brivel {

namespace {

constexpr const char* kUsage = "usage: brivel-card [--set FICHIER.set] [--events SORTIE] [--rows SORTIE] MORCEAU.mid\n";

struct Options {
  std::string set, events, rows, piece;
};

std::optional<Options> lit_options(const std::vector<std::string>& args) {
  Options o;
  for (size_t i = 0; i < args.size(); ++i) {
    const std::string& a = args[i];
    std::string* cible = a == "--set" ? &o.set : a == "--events" ? &o.events : a == "--rows" ? &o.rows : nullptr;
    if (cible) {
      if (i + 1 >= args.size() || args[i + 1].empty()) return std::nullopt;
      *cible = args[++i];
    } else if (a.size() > 1 && a[0] == '-') {
      return std::nullopt;
    } else if (o.piece.empty() && !a.empty()) {
      o.piece = a;
    } else {
      return std::nullopt;
    }
  }
  if (o.piece.empty()) return std::nullopt;
  return o;
}

std::optional<std::string> lit(const std::string& chemin) {
  std::ifstream in(chemin, std::ios::binary);
  if (!in) return std::nullopt;
  return std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

bool ecrit(const std::string& chemin, const std::string& octets) {
  std::ofstream out(chemin, std::ios::binary | std::ios::trunc);
  out.write(octets.data(), static_cast<std::streamsize>(octets.size()));
  return static_cast<bool>(out);
}

// The parameter file as a load puts it into the fields. The port number is
// left alone: there is no machine behind this console.
void applique_parametres(ConsoleApp& app, const LectureParametres& lp) {
  for (const AffectationParam& a : lp.affectations) {
    if (a.champ == "AdressePort") continue;
    if (a.champ == "reserve_set") {
      app.s.reserve_set = a.nombre;
      continue;
    }
    Element& e = app.m.get(a.champ);
    if (a.forme == FormeParam::Texte)
      e.set_text(a.texte);
    else
      e.set_value(a.nombre);
  }
  app.m.Ouvre_midi.set_enabled(true);
  charge_noms_notes(app.c);
}

// A fresh folder for the program's files, removed at the end.
struct DossierTemporaire {
  std::string chemin;
  DossierTemporaire() {
    std::string modele = (std::filesystem::temp_directory_path() / "brivel-card-XXXXXX").string();
    if (mkdtemp(modele.data())) chemin = modele + "/";
  }
  ~DossierTemporaire() {
    std::error_code ec;
    if (!chemin.empty()) std::filesystem::remove_all(chemin, ec);
  }
};

}  // namespace

std::string json_texte(const std::string& s) {
  std::string o = "\"";
  for (unsigned char ch : s) {
    switch (ch) {
      case '"': o += "\\\""; break;
      case '\\': o += "\\\\"; break;
      case '\n': o += "\\n"; break;
      case '\r': o += "\\r"; break;
      case '\t': o += "\\t"; break;
      default:
        if (ch < 0x20) {
          char buf[8];
          std::snprintf(buf, sizeof buf, "\\u%04x", ch);
          o += buf;
        } else {
          o += static_cast<char>(ch);
        }
    }
  }
  return o + "\"";
}

int brivel_card(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  auto o = lit_options(args);
  if (!o) {
    err << kUsage;
    return 2;
  }
  std::optional<std::string> set;
  if (!o->set.empty()) {
    set = lit(o->set);
    if (!set) {
      err << "brivel-card: fichier de paramètres illisible: " << o->set << "\n" << kUsage;
      return 2;
    }
  }
  DossierTemporaire dossier;
  if (dossier.chemin.empty()) {
    err << "brivel-card: impossible de créer un dossier temporaire\n";
    return 1;
  }

  SimPlatform p;
  p.set_env("BRIVEL_HOME", dossier.chemin);
  ConsoleApp app(p, ConsoleOptions{dossier.chemin, true});
  app.Form_Load();
  bool arrete = false;
  try {
    if (set) applique_parametres(app, lit_fichier_parametres(*set));
    p.sim_dialogs().open_answers.push_back(o->piece);
    app.m.Ouvre_midi.click();
  } catch (const SimProcessEnded&) {
    arrete = true;  // the list passed 32767 rows
    for (const std::string& b : p.sim_dialogs().boxes) err << b << "\n";
  }

  if (!o->events.empty()) {
    auto midi = lit(o->piece);
    if (midi && !ecrit(o->events, vertalen(*midi, o->piece).text)) {
      err << "brivel-card: écriture impossible: " << o->events << "\n";
      return 1;
    }
  }
  if (!o->rows.empty()) {
    std::string texte;
    for (const std::string& r : app.m.List3.rows()) texte += r + "\n";
    if (!ecrit(o->rows, texte)) {
      err << "brivel-card: écriture impossible: " << o->rows << "\n";
      return 1;
    }
  }

  const Model& m = app.m;
  out << "{\"rows\":" << m.List3.count() << ",\"Label9\":" << json_texte(m.Label9.text())
      << ",\"Text8\":" << json_texte(m.Text8.text()) << ",\"Fin_perf_mn\":" << json_texte(m.Fin_perf_mn.text())
      << ",\"Fin_perf_sec\":" << json_texte(m.Fin_perf_sec.text())
      << ",\"Label_defautP\":" << json_texte(m.Label_defautP.text()) << ",\"nb_hors_gamme\":" << app.s.nb_hors_gamme
      << ",\"midi_erreur_code\":" << app.s.midi_erreur_code
      << ",\"midi_erreur_texte\":" << json_texte(app.s.midi_erreur_texte) << "}\n";
  return !arrete && m.Command11.enabled() ? 0 : 1;
}

}  // namespace brivel
