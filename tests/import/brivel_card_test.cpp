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

// The report line on standard output, and the event and row files beside it.
TEST(BrivelCard, ReportLineAndFiles) {
  Folder f;
  write_file(f.path + "no.mid", "hello");
  write_file(f.path + "do.mid", tiny_midi());
  // The same note, an octave and a half below the organ's lowest.
  std::string low = tiny_midi();
  low[low.size() - 11] = low[low.size() - 6] = '\x1E';
  write_file(f.path + "low.mid", low);
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
       "\"Label_defautP\":\"Fichier Midi refusé : ce n'est pas un fichier Midi (il ne commence pas par l'en-tête des "
       "fichiers Midi)\",\"nb_hors_gamme\":0,"
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
      // Without the scale check the line names the notes the organ lacks, and so does the count.
      {q(f.path + "low.mid"), 0, "1 note hors gamme (Fenêtre > Carton)\",\"nb_hors_gamme\":1,", false},
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

// The card as MIDI and WAV; sounds that are no SoundFont and a speed out of
// range are refused before any work, in words.
TEST(BrivelCard, TheCardAsMidiAndWav) {
  Folder f;
  write_file(f.path + "do.mid", tiny_midi());
  const struct {
    std::string args;
    int status;
    std::string err;  // its beginning
    const char* written;
  } kCases[] = {
      {"--mid " + q(f.path + "c.mid") + "--programme 21 " + q(f.path + "do.mid"), 0, "", "c.mid"},
      {"--wav " + q(f.path + "c.wav") + "--speed 200 " + q(f.path + "do.mid"), 0, "", "c.wav"},
      {"--wav " + q(f.path + "x.wav") + "--soundfont " + q(f.path + "do.mid") + q(f.path + "do.mid"), 2,
       "brivel-card : « " + f.path + "do.mid » n'est pas une police de sons SoundFont (.sf2)\n", nullptr},
      {"--speed 300 " + q(f.path + "do.mid"), 2, "brivel-card : l'option --speed attend un nombre de 50 à 200\n",
       nullptr},
      {"--programme orgue " + q(f.path + "do.mid"), 2,
       "brivel-card : l'option --programme attend un nombre de 0 à 127\n", nullptr},
  };
  for (const auto& k : kCases) {
    SCOPED_TRACE(k.args);
    const CardRun r = card(f, k.args);
    EXPECT_EQ(r.status, k.status) << r.err;
    EXPECT_EQ(r.err.substr(0, k.err.size()), k.err);
    if (k.written) {
      EXPECT_GT(std::filesystem::file_size(f.path + k.written), 44u);
    }
  }
  // One note on programme 21, on a track named by its note.
  const std::string mid = slurp(f.path + "c.mid");
  EXPECT_EQ(mid.substr(0, 14), std::string("MThd\0\0\0\6\0\1\0\2\1\xE0", 14));
  EXPECT_NE(mid.find(std::string("\xC0\x15", 2)), std::string::npos);
  EXPECT_NE(mid.find("Do"), std::string::npos) << mid;
  // At twice the speed, 250 ms of note and the second of dying away.
  EXPECT_NEAR(static_cast<double>(std::filesystem::file_size(f.path + "c.wav") - 44) / (44100 * 4), 1.25, 0.05);
}

}  // namespace
}  // namespace brivel::test
