#include "card.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <optional>
#include <variant>

#include "app/console_app.h"
#include "import/ouvre_midi.h"
#include "card/card_export.h"
#include "card/card_sound.h"
#include "card/card_synth.h"
#include "command_line.h"
#include "geometry/note_names.h"
#include "import/fichier_midi.h"
#include "import/vertalen.h"
#include "persistence/files/parameter_file.h"
#include "platform/sim/sim_platform.h"

namespace brivel {

namespace {

namespace fs = std::filesystem;

constexpr const char* kProgramme = "brivel-card";
constexpr const char* kUsage =
    "Usage : brivel-card [--set FICHIER.set] [--events SORTIE] [--rows SORTIE] [--svg SORTIE.svg]\n"
    "                    [--pdf SORTIE.pdf] [--mid SORTIE.mid] [--wav SORTIE.wav] [--soundfont FICHIER.sf2]\n"
    "                    [--programme N] [--speed P] [--transpositions] MORCEAU.mid\n"
    "  --set FICHIER.set  l'instrument et la machine d'un fichier de paramètres (sinon les valeurs par défaut)\n"
    "  --events SORTIE    écrit le fichier d'évènements texte du morceau\n"
    "  --rows SORTIE      écrit la liste des évènements, une ligne chacun\n"
    "  --svg SORTIE.svg   dessine le carton entier à l'échelle 1:1\n"
    "  --pdf SORTIE.pdf   le même sur des pages A4, avec repères et numéros de page\n"
    "  --mid SORTIE.mid   le carton en fichier Midi : une piste de tempo, une piste par piste de l'orgue\n"
    "  --wav SORTIE.wav   le carton joué, 44,1 kHz, 16 bits, stéréo\n"
    "  --soundfont F.sf2  la police de sons du WAV (sinon celle du système : paquet timgm6mb-soundfont)\n"
    "  --programme N      l'instrument General MIDI, 0 à 127 (19 : orgue d'église, par défaut)\n"
    "  --speed P          la vitesse du WAV en pour cent, 50 à 200 (100 par défaut)\n"
    "  --transpositions   imprime, de -12 à +12 demi-tons, les notes qui sortiraient de la gamme\n"
    "  --help, --version\n"
    "Imprime une ligne JSON, après la table des transpositions si elle est demandée. Sortie 0 : morceau importé ; 1 : "
    "morceau impossible à importer ;\n"
    "2 : arguments refusés ; 3 : écriture d'un fichier de sortie impossible.\n";

// A parameter file is a few kilobytes of text.
constexpr int64_t kTailleMaxSet = 1024 * 1024;

struct Options {
  std::string set, events, rows, svg, pdf, mid, wav, soundfont, piece;
  int programme = 19, speed = 100;
  bool transpositions = false;
};

// A whole number from `lo` to `hi`, or nothing.
std::optional<int> entier_entre(const std::string& t, int lo, int hi) {
  char* end = nullptr;
  const long v = std::strtol(t.c_str(), &end, 10);
  if (t.empty() || *end || v < lo || v > hi) return std::nullopt;
  return static_cast<int>(v);
}

// The options, or why the line is refused.
std::variant<Options, std::string> lit_options(const std::vector<std::string>& args) {
  Options o;
  for (size_t i = 0; i < args.size(); ++i) {
    const std::string& a = args[i];
    std::string* cible = a == "--set"      ? &o.set
                         : a == "--events" ? &o.events
                         : a == "--rows"   ? &o.rows
                         : a == "--svg"    ? &o.svg
                         : a == "--pdf"    ? &o.pdf
                         : a == "--mid"    ? &o.mid
                         : a == "--wav"    ? &o.wav
                         : a == "--soundfont" ? &o.soundfont
                                              : nullptr;
    if (a == "--transpositions") {
      o.transpositions = true;
    } else if (a == "--programme" || a == "--speed") {
      const bool prog = a == "--programme";
      const auto v = i + 1 < args.size() ? entier_entre(args[i + 1], prog ? 0 : 50, prog ? 127 : 200) : std::nullopt;
      if (!v) return "l'option " + a + (prog ? " attend un nombre de 0 à 127" : " attend un nombre de 50 à 200");
      (prog ? o.programme : o.speed) = *v;
      ++i;
    } else if (cible) {
      if (i + 1 >= args.size() || args[i + 1].empty()) return "l'option " + a + " attend un chemin";
      *cible = args[++i];
    } else if (a.size() > 1 && a[0] == '-') {
      return "option inconnue « " + a + " »";
    } else if (o.piece.empty() && !a.empty()) {
      o.piece = a;
    } else {
      return "un seul morceau à la fois (« " + a + " » de trop)";
    }
  }
  if (o.piece.empty()) return std::string("il manque le morceau");
  return o;
}

// True when `a` and `b` name one file, through links too. A path that
// doesn't exist yet is compared by its absolute form.
bool meme_fichier(const std::string& a, const std::string& b) {
  std::error_code ec;
  if (fs::exists(a, ec) && fs::exists(b, ec)) return fs::equivalent(a, b, ec);
  return fs::weakly_canonical(a, ec) == fs::weakly_canonical(b, ec);
}

// Why the output path `sortie` can't be used: it is a file read, or the
// other output.
std::optional<std::string> refus_sortie(const Options& o, const std::string& option, const std::string& sortie) {
  if (sortie.empty()) return std::nullopt;
  if (meme_fichier(sortie, o.piece)) return option + " « " + sortie + " » est le morceau lu : il serait écrasé";
  if (!o.set.empty() && meme_fichier(sortie, o.set))
    return option + " « " + sortie + " » est le fichier de paramètres lu : il serait écrasé";
  const std::pair<const char*, const std::string*> avant[] = {
      {"--events", &o.events}, {"--rows", &o.rows}, {"--svg", &o.svg}, {"--pdf", &o.pdf}, {"--mid", &o.mid}};
  for (const auto& [autre, chemin] : avant) {
    if (option == autre) break;
    if (!chemin->empty() && meme_fichier(sortie, *chemin))
      return std::string(autre) + " et " + option + " nomment le même fichier « " + sortie + " »";
  }
  return std::nullopt;
}

// A text that no parameter file holds: nothing at all, or bytes of a binary
// file (a MIDI file given by mistake).
bool texte_de_parametres(const std::string& octets) {
  if (octets.empty()) return false;
  for (unsigned char ch : octets)
    if (ch < 0x20 && ch != '\r' && ch != '\n' && ch != '\t') return false;
  return true;
}

// Writes an output file whole: into a file beside it, renamed into place,
// so that a failure leaves no half-written file. `ecrit` fills the stream.
std::optional<std::string> ecrit_sortie(const std::string& chemin, const std::function<bool(std::ofstream&)>& ecrit) {
  const std::string partiel = chemin + ".partiel";
  std::error_code ec;
  if (fs::is_directory(chemin, ec)) return "écriture impossible : " + chemin + " est un dossier";
  errno = 0;
  std::ofstream out(partiel, std::ios::binary | std::ios::trunc);
  if (!out) return "écriture impossible : " + chemin + (errno ? " (" + texte_erreur_disque(errno) + ")" : "");
  const bool ok = ecrit(out) && out.flush();
  out.close();
  if (ok && out) fs::rename(partiel, chemin, ec);
  if (!ok || !out || ec) {
    fs::remove(partiel, ec);
    return "écriture impossible : " + chemin + " (disque plein ou erreur d'écriture)";
  }
  return std::nullopt;
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
      case '"':
        o += "\\\"";
        break;
      case '\\':
        o += "\\\\";
        break;
      case '\n':
        o += "\\n";
        break;
      case '\r':
        o += "\\r";
        break;
      case '\t':
        o += "\\t";
        break;
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
  if (auto fin = cli::aide_ou_version(args, kProgramme, kUsage, out)) return *fin;
  auto lu = lit_options(args);
  if (auto* pourquoi = std::get_if<std::string>(&lu)) return cli::refuse(kProgramme, *pourquoi, kUsage, err);
  const Options& o = std::get<Options>(lu);
  auto refus = [&err](const std::string& pourquoi, int statut) {
    err << kProgramme << " : " << pourquoi << "\n";
    return statut;
  };
  for (const auto& [option, chemin] :
       {std::pair{"--events", o.events}, std::pair{"--rows", o.rows}, std::pair{"--svg", o.svg},
        std::pair{"--pdf", o.pdf}, std::pair{"--mid", o.mid}, std::pair{"--wav", o.wav}})
    if (auto r = refus_sortie(o, option, chemin)) return refus(*r, cli::kArguments);
  // The sounds of the WAV, before any work.
  const std::string police = o.soundfont.empty() ? default_soundfont() : o.soundfont;
  if (!o.wav.empty())
    if (const std::string r = soundfont_refusal(police); !r.empty()) return refus(r, cli::kArguments);
  std::optional<std::string> set;
  if (!o.set.empty()) {
    if (auto r = refus_fichier_texte(o.set, "Fichier de paramètres", kTailleMaxSet)) return refus(*r, cli::kArguments);
    set = lit_fichier_texte(o.set);
    if (!set) return refus("Fichier de paramètres illisible : " + o.set, cli::kArguments);
    if (!texte_de_parametres(*set) || lit_fichier_parametres(*set).affectations.empty())
      return refus("Fichier de paramètres refusé : " + o.set + " n'est pas un fichier de paramètres (.set)",
                   cli::kArguments);
  }
  if (auto r = refus_fichier_midi(o.piece)) return refus(*r, 1);
  DossierTemporaire dossier;
  if (dossier.chemin.empty()) return refus("impossible de créer un dossier temporaire", 1);

  SimPlatform p;
  p.set_env("BRIVEL_HOME", dossier.chemin);
  ConsoleApp app(p, ConsoleOptions{dossier.chemin, true});
  app.Form_Load();
  bool arrete = false;
  try {
    if (set) applique_parametres(app, lit_fichier_parametres(*set));
    // The notes' names, as the card view shows them on the tracks.
    charge_noms_notes(app.c);
    p.sim_dialogs().open_answers.push_back(o.piece);
    app.m.Ouvre_midi.click();
  } catch (const SimProcessEnded&) {
    arrete = true;  // the list passed 32767 rows
    for (const std::string& b : p.sim_dialogs().boxes) err << b << "\n";
  }

  if (!o.events.empty()) {
    // The decoder's text goes to the file as it is made: a big piece costs
    // no memory.
    auto r = ecrit_sortie(o.events, [&o](std::ofstream& f) {
      SourceFichier midi(o.piece);
      vertalen(midi, o.piece, [&f](std::string_view piece) {
        f.write(piece.data(), static_cast<std::streamsize>(piece.size()));
        return static_cast<bool>(f);
      });
      return midi.ouvert() && !midi.erreur();
    });
    if (r) return refus(*r, 3);
  }
  if (!o.rows.empty()) {
    auto r = ecrit_sortie(o.rows, [&app](std::ofstream& f) {
      for (const std::string& ligne : app.m.List3.rows()) f << ligne << "\n";
      return static_cast<bool>(f);
    });
    if (r) return refus(*r, 3);
  }

  if (!o.svg.empty() || !o.pdf.empty() || !o.mid.empty() || !o.wav.empty() || o.transpositions) {
    const CardLayout carton = lay_out_card(card_input(app.c));
    if (!o.svg.empty()) {
      auto r = ecrit_sortie(
          o.svg, [&carton](std::ofstream& f) { return static_cast<bool>(f << card_svg(carton, whole_card(carton))); });
      if (r) return refus(*r, 3);
    }
    if (!o.pdf.empty()) {
      auto r = ecrit_sortie(
          o.pdf, [&carton](std::ofstream& f) { return static_cast<bool>(f << card_pdf(carton, whole_card(carton))); });
      if (r) return refus(*r, 3);
    }
    // What the card plays, as the card view's "Écouter" plays it.
    const std::vector<SoundingNote> notes = card_notes(carton, 0, carton.last_step);
    if (!o.mid.empty()) {
      std::vector<std::string> noms;
      for (const CardTrack& t : carton.tracks) noms.push_back(t.name.empty() ? std::to_string(t.note) : t.name);
      auto r = ecrit_sortie(o.mid, [&](std::ofstream& f) { return static_cast<bool>(f << card_midi(notes, noms, o.programme)); });
      if (r) return refus(*r, 3);
    }
    if (!o.wav.empty()) {
      const Rendering son = render_notes(at_speed(notes, 0, o.speed), police, o.programme);
      if (!son.error.empty()) return refus(son.error, cli::kArguments);
      auto r = ecrit_sortie(o.wav, [&son](std::ofstream& f) { return static_cast<bool>(f << wav_file(son.stereo, kRenderRate)); });
      if (r) return refus(*r, 3);
    }
    if (o.transpositions) {
      std::vector<int> gamme;
      for (const CardTrack& t : carton.tracks) gamme.push_back(t.note);
      out << "Décalage  Hors gamme\n";
      for (const Transposition& t : transpositions(piece_notes(app.m.List3.rows()), gamme)) {
        char ligne[40];
        std::snprintf(ligne, sizeof ligne, t.shift ? "%+8d  %10d\n" : "%8d  %10d\n", t.shift, t.outside);
        out << ligne;
      }
    }
  }

  const Model& m = app.m;
  // The notes the organ lacks, as the service line counts them: by the
  // scale check when it ran, else from the rows.
  const int hors = app.s.nb_hors_gamme != 0 || m.List3.count() == 0 ? app.s.nb_hors_gamme : rangs_hors_gamme(m);
  out << "{\"rows\":" << m.List3.count() << ",\"Label9\":" << json_texte(m.Label9.text())
      << ",\"Text8\":" << json_texte(m.Text8.text()) << ",\"Fin_perf_mn\":" << json_texte(m.Fin_perf_mn.text())
      << ",\"Fin_perf_sec\":" << json_texte(m.Fin_perf_sec.text())
      << ",\"Label_defautP\":" << json_texte(m.Label_defautP.text()) << ",\"nb_hors_gamme\":" << hors
      << ",\"midi_erreur_code\":" << app.s.midi_erreur_code
      << ",\"midi_erreur_texte\":" << json_texte(app.s.midi_erreur_texte) << "}\n";
  return !arrete && m.Command11.enabled() ? 0 : 1;
}

}  // namespace brivel
