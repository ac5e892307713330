// The program brivel-card, run as the operator's scripts run it.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>

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

CardRun card(const Folder& f, const std::string& args) {
  CardRun r;
  const std::string err = f.path + "stderr.txt";
  FILE* pipe = popen((std::string(BRIVEL_CARD_EXE) + " " + args + " 2>'" + err + "'").c_str(), "r");
  if (!pipe) return r;
  char buf[4096];
  size_t n;
  while ((n = fread(buf, 1, sizeof buf, pipe)) > 0) r.out.append(buf, n);
  int st = pclose(pipe);
  r.status = WIFEXITED(st) ? WEXITSTATUS(st) : -1;
  r.err = slurp(err);
  return r;
}

TEST(BrivelCard, BadArguments) {
  Folder f;
  for (const char* args : {"", "--rows", "--bogus x.mid", "a.mid b.mid"}) {
    CardRun r = card(f, args);
    EXPECT_EQ(r.status, 2) << args;
    EXPECT_TRUE(r.out.empty()) << args;
    EXPECT_NE(r.err.find("usage: brivel-card"), std::string::npos) << args;
  }
}

TEST(BrivelCard, FileThatIsNoMidi) {
  Folder f;
  write_file(f.path + "x.mid", "hello");
  CardRun r = card(f, "--rows '" + f.path + "rows.txt' '" + f.path + "x.mid'");
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.out,
            "{\"rows\":0,\"Label9\":\" 0\",\"Text8\":\"\",\"Fin_perf_mn\":\"\",\"Fin_perf_sec\":\"\","
            "\"Label_defautP\":\"Aucune note à perforer dans ce fichier Midi\",\"nb_hors_gamme\":0,"
            "\"midi_erreur_code\":5,\"midi_erreur_texte\":\"Midifile corrupt: header MThd not in file.\"}\n");
  EXPECT_EQ(slurp(f.path + "rows.txt"), "");
}

TEST(BrivelCard, MissingPieceAndEscapedText) {
  Folder f;
  CardRun r = card(f, "'" + f.path + "a\"b.mid'");
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.out.find("\"Label_defautP\":\"Impossible de lire le fichier Midi " + f.path + "a\\\"b.mid\""),
            std::string::npos)
      << r.out;
}

TEST(BrivelCard, InstrumentFromASetFile) {
  Folder f;
  // A parameter file that stops after line 14, the speed: 0 mm/s.
  std::string set;
  for (int line = 1; line <= 13; ++line) set += "1\r\n";
  set += "0\r\n\r\n";
  write_file(f.path + "zero.set", set);
  write_file(f.path + "x.mid", tiny_midi());
  CardRun r = card(f, "--set '" + f.path + "zero.set' '" + f.path + "x.mid'");
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.out.find("\"Label_defautP\":\"Ouverture refusée : la Vitesse du carton doit être supérieure à 0 "
                       "(page Moteurs et poinçon)\""),
            std::string::npos)
      << r.out;
  EXPECT_EQ(card(f, "--set '" + f.path + "absent.set' '" + f.path + "x.mid'").status, 2);
}

TEST(BrivelCard, TinyPiece) {
  Folder f;
  const std::string piece = f.path + "do.mid";
  write_file(piece, tiny_midi());
  CardRun r = card(f, "--events '" + f.path + "ev.txt' --rows '" + f.path + "rows.txt' '" + piece + "'");
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out,
            "{\"rows\":12,\"Label9\":\" 12\",\"Text8\":\"484\",\"Fin_perf_mn\":\"0\",\"Fin_perf_sec\":\"0\","
            "\"Label_defautP\":\"Prêt à perforer - Durée: 0 mn 00 s - Longueur carton: 0.03 m\",\"nb_hors_gamme\":0,"
            "\"midi_erreur_code\":0,\"midi_erreur_texte\":\"\"}\n");
  const std::string ev = slurp(f.path + "ev.txt");
  EXPECT_EQ(ev.substr(0, 48), "NOTE 0000000 000480 00001 00060 00500 00100 C3\r\n");
  const std::string rows = slurp(f.path + "rows.txt");
  EXPECT_EQ(rows.substr(0, 46), "0000002 00060 NOTE 0000035\n0000005 ##### PASY\n");
}

}  // namespace
}  // namespace brivel::test
