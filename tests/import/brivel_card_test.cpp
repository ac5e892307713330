// The program brivel-card, run as the operator's scripts run it.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <sstream>

#include "import/import_files.h"

#ifndef BRIVEL_CARD_EXE
#error "BRIVEL_CARD_EXE must name the brivel-card program"
#endif

namespace brivel::test {
namespace {

struct CardRun {
  int status = -1;
  std::string out, err;
};

std::string slurp(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

struct Folder {
  std::string path;
  Folder() {
    std::string p = (std::filesystem::temp_directory_path() / "brivel-card-test-XXXXXX").string();
    if (mkdtemp(p.data())) path = p + "/";
  }
  ~Folder() {
    std::error_code ec;
    std::filesystem::remove_all(path, ec);
  }
};

std::string q(const std::string& p) { return "'" + p + "' "; }

// `prefix` runs the program through another one (as another user).
CardRun card(const Folder& f, const std::string& args, const std::string& prefix = "") {
  CardRun r;
  const std::string err = f.path + "stderr.txt";
  FILE* pipe = popen((prefix + BRIVEL_CARD_EXE + " " + args + " 2>'" + err + "'").c_str(), "r");
  if (!pipe) return r;
  char buf[4096];
  size_t n;
  while ((n = fread(buf, 1, sizeof buf, pipe)) > 0) r.out.append(buf, n);
  int st = pclose(pipe);
  r.status = WIFEXITED(st) ? WEXITSTATUS(st) : -1;
  r.err = slurp(err);
  return r;
}

// Every way in which a command line or a file can be wrong: its message on
// standard error, its status, and nothing on standard output.
TEST(BrivelCard, BadInputs) {
  Folder f;
  std::filesystem::permissions(f.path, std::filesystem::perms(0755));
  const std::string piece = f.path + "do.mid", set = f.path + "x.set", locked = f.path + "locked.mid";
  write_file(piece, tiny_midi());
  write_file(set, "1\r\n2\r\n");
  write_file(locked, tiny_midi());
  std::filesystem::permissions(locked, std::filesystem::perms::none);
  write_file(f.path + "empty.set", "");
  std::filesystem::create_symlink(piece, f.path + "link.mid");
  write_file(f.path + "huge.mid", "");
  std::filesystem::resize_file(f.path + "huge.mid", 65 << 20);  // sparse: costs no disk
  // Root reads any file: the locked file is tried by an ordinary user.
  const std::string as_user = geteuid() == 0 ? "setpriv --reuid=65534 --regid=65534 --clear-groups " : "";
  struct Case {
    std::string args;
    int status;
    std::string err_has;
    std::string prefix = "";
  } cases[] = {
      {"", 2, "brivel-card : il manque le morceau\nUsage : brivel-card"},
      {"--rows", 2, "l'option --rows attend un chemin\nUsage :"},
      {"--bogus " + q(piece), 2, "option inconnue « --bogus »\nUsage :"},
      {"a.mid b.mid", 2, "« b.mid » de trop"},
      {q(f.path), 1, "brivel-card : Fichier Midi refusé : " + f.path + " est un dossier\n"},
      {"/dev/zero", 1, "Fichier Midi refusé : /dev/zero n'est pas un fichier ordinaire"},
      {q(f.path + "absent.mid"), 1, "Fichier Midi introuvable : " + f.path + "absent.mid\n"},
      {q(locked), 1, "Fichier Midi illisible : " + locked + " (accès refusé)\n", as_user},
      {q(f.path + "huge.mid"), 1, "fait 65.0 Mo, au-delà des 64.0 Mo qu'aucun morceau n'atteint\n"},
      {"--events " + q(piece) + q(piece), 2, "--events « " + piece + " » est le morceau lu : il serait écrasé\n"},
      {"--rows " + q(f.path + "link.mid") + q(piece), 2, "est le morceau lu"},
      {"--set " + q(set) + "--rows " + q(set) + q(piece), 2, "est le fichier de paramètres lu"},
      {"--events " + q(f.path + "o") + "--rows " + q(f.path + "o") + q(piece), 2, "nomment le même fichier"},
      {"--set " + q(f.path) + q(piece), 2, "Fichier de paramètres refusé : " + f.path + " est un dossier\n"},
      {"--set " + q(piece) + q(piece), 2, "n'est pas un fichier de paramètres (.set)\n"},
      {"--set " + q(f.path + "empty.set") + q(piece), 2, "n'est pas un fichier de paramètres (.set)\n"},
      {"--set " + q(f.path + "absent.set") + q(piece), 2, "Fichier de paramètres introuvable"},
      {"--events " + q(f.path) + q(piece), 3, "écriture impossible : " + f.path + " est un dossier\n"},
      {"--rows " + q(f.path + "no/rows.txt") + q(piece), 3, "(dossier ou fichier introuvable)\n"},
  };
  for (const auto& c : cases) {
    CardRun r = card(f, c.args, c.prefix);
    EXPECT_EQ(r.status, c.status) << c.args << "\n" << r.err;
    EXPECT_EQ(r.out, "") << c.args;
    EXPECT_NE(r.err.find(c.err_has), std::string::npos) << c.args << "\n" << r.err;
  }
  EXPECT_EQ(slurp(piece), tiny_midi());  // never overwritten
  EXPECT_FALSE(std::filesystem::exists(f.path + "o"));

  CardRun help = card(f, "--help");
  EXPECT_EQ(help.status, 0);
  EXPECT_EQ(help.out.rfind("Usage : brivel-card [--set FICHIER.set]", 0), 0u) << help.out;
  CardRun version = card(f, "--version");
  EXPECT_EQ(version.status, 0);
  EXPECT_EQ(version.out.rfind("brivel-card 0.", 0), 0u) << version.out;
  EXPECT_EQ(help.err + version.err, "");
}

// The report line on standard output, and the event and row files beside it.
TEST(BrivelCard, ReportLineAndFiles) {
  Folder f;
  write_file(f.path + "no.mid", "hello");
  write_file(f.path + "do.mid", tiny_midi());
  std::string set;  // stops after line 14, the speed: 0 mm/s
  for (int line = 1; line <= 13; ++line) set += "1\r\n";
  write_file(f.path + "zero.set", set + "0\r\n\r\n");
  struct Case {
    std::string args;
    int status;
    std::string out;
    bool whole;  // else a part of it
  } cases[] = {
      {"--rows " + q(f.path + "rows0.txt") + q(f.path + "no.mid"), 1,
       "{\"rows\":0,\"Label9\":\" 0\",\"Text8\":\"\",\"Fin_perf_mn\":\"\",\"Fin_perf_sec\":\"\","
       "\"Label_defautP\":\"Aucune note à perforer dans ce fichier Midi\",\"nb_hors_gamme\":0,"
       "\"midi_erreur_code\":5,\"midi_erreur_texte\":\"Midifile corrupt: header MThd not in file.\"}\n",
       true},
      {"--set " + q(f.path + "zero.set") + q(f.path + "do.mid"), 1,
       "\"Label_defautP\":\"Ouverture refusée : la Vitesse du carton doit être supérieure à 0 (page Moteurs et "
       "poinçon)\"",
       false},
      {"--events " + q(f.path + "ev.txt") + "--rows " + q(f.path + "rows.txt") + q(f.path + "do.mid"), 0,
       "{\"rows\":12,\"Label9\":\" 12\",\"Text8\":\"484\",\"Fin_perf_mn\":\"0\",\"Fin_perf_sec\":\"0\","
       "\"Label_defautP\":\"Prêt à perforer - Durée: 0 mn 00 s - Longueur carton: 0.03 m\",\"nb_hors_gamme\":0,"
       "\"midi_erreur_code\":0,\"midi_erreur_texte\":\"\"}\n",
       true},
  };
  for (const auto& c : cases) {
    CardRun r = card(f, c.args);
    EXPECT_EQ(r.status, c.status) << c.args << "\n" << r.err;
    if (c.whole)
      EXPECT_EQ(r.out, c.out);
    else
      EXPECT_NE(r.out.find(c.out), std::string::npos) << r.out;
  }
  EXPECT_EQ(slurp(f.path + "rows0.txt"), "");
  EXPECT_EQ(slurp(f.path + "ev.txt").substr(0, 48), "NOTE 0000000 000480 00001 00060 00500 00100 C3\r\n");
  EXPECT_EQ(slurp(f.path + "rows.txt").substr(0, 46), "0000002 00060 NOTE 0000035\n0000005 ##### PASY\n");
}

// The card drawn as SVG and PDF, and the transposition table on standard output.
TEST(BrivelCard, CardAndTranspositions) {
  Folder f;
  write_file(f.path + "do.mid", tiny_midi());
  CardRun r = card(
      f, "--svg " + q(f.path + "c.svg") + "--pdf " + q(f.path + "c.pdf") + "--transpositions " + q(f.path + "do.mid"));
  ASSERT_EQ(r.status, 0) << r.out << r.err;
  const std::string svg = slurp(f.path + "c.svg");
  // Key 60 for 500 ms, 36 steps: a hole every 3 steps while it sounds, and one at its end.
  std::size_t holes = 0;
  for (std::size_t at = svg.find("class=\"trou\""); at != std::string::npos; at = svg.find("class=\"trou\"", at + 1))
    ++holes;
  EXPECT_GE(holes, 12u);
  EXPECT_NE(svg.find("width=\"109.2mm\""), std::string::npos);
  const std::string pdf = slurp(f.path + "c.pdf");
  EXPECT_EQ(pdf.rfind("%PDF-1.4", 0), 0u);
  EXPECT_NE(pdf.find("/Count 1 >>"), std::string::npos);
  // The table: a heading, 25 shifts, then the JSON line.
  std::map<int, int> table;
  std::istringstream lines(r.out);
  std::string line;
  std::getline(lines, line);
  EXPECT_EQ(line, "Décalage  Hors gamme");
  for (int shift, outside; lines >> shift >> outside;) table[shift] = outside;
  ASSERT_EQ(table.size(), 25u);
  EXPECT_EQ(table.begin()->first, -12);
  // The default scale holds 60, 62 and 57 but not 59, 61 or 49.
  for (int in : {0, 2, -3}) EXPECT_EQ(table[in], 0) << in;
  EXPECT_GT(table[-1], 0);
  for (int out : {1, -11}) EXPECT_EQ(table[out], table[-1]) << out;
}

}  // namespace
}  // namespace brivel::test
