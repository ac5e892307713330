// The machine tools of the motor page against the board model on port 10:
// calibration, detectors, EEPROM, manual commands and the firmware upload.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "console/pages.h"
#include "core/numbers.h"
#include "link/frames.h"
#include "support/sim_console.h"
#include "tools/calibration.h"
#include "tools/detecteurs.h"
#include "tools/eeprom.h"
#include "tools/upload.h"

namespace brivel::test {
namespace {
namespace fs = std::filesystem;
using Frames = std::vector<std::string>;

// A console on the motor page, connected on port 10 unless told not.
struct ToolsRig : SimConsole {
  explicit ToolsRig(BoardOptions options = {}, bool connected = true) : SimConsole(std::move(options)) {
    fenetre_moteurs_Click(c);
    EXPECT_TRUE(!connected || connect(10));
    from = mark();
  }
  // The frames since the connection's parameter burst, or since restart().
  Frames sent() const { return frame_bytes(from); }
  void restart() { from = mark(); }
  // The operator clicks `e` `after_ms` from now, inside whatever handler waits then.
  void click_later(int64_t after_ms, Element& e) {
    p.at(p.now() + after_ms, [&e] { e.operator_click(); });
  }
  std::size_t from = 0;
};

long count(const Frames& v, const std::string& s) { return std::count(v.begin(), v.end(), s); }
FaultRule cycle_fails(int nth) { return {"cZ", nth, FaultRule::Kind::ReplyC, 0}; }

// X goes to and fro by nb_PasX, each pass 50 µs faster, until Stop_cal.
TEST(Calibration, XFramesUntilStop) {
  ToolsRig r;
  r.m.Demipas.set_value(0);
  r.click_later(3000, r.m.Stop_cal);
  r.m.CalibrerX.operator_click();
  Frames got = r.sent();
  ASSERT_EQ(count(got, "ZGxxxxx\n"), 1);
  // Stop_cal's frame goes out inside a pass; the pass under way finishes.
  auto zg = std::find(got.begin(), got.end(), "ZGxxxxx\n");
  EXPECT_LE(got.end() - zg, 3) << "nothing but the end of the pass behind the stop";
  got.erase(zg);
  Frames want = {"AGxxxxx\n"};
  int moves = 0;
  for (; want.size() < got.size(); ++moves) {
    want.push_back(moves % 2 == 0 ? "MX00200\n" : "Mx00200\n");
    want.push_back(*number_frame("PX", 5000 - 50 * (moves + 1)));
  }
  EXPECT_EQ(got, want);
  EXPECT_GT(got.size(), 6u);
  EXPECT_EQ(r.m.VitesseX.text(), str_plain(5000 - 50 * moves));
  EXPECT_EQ(r.board.x_position(), moves % 2 == 0 ? 0 : 200);
  EXPECT_EQ(r.m.Calibration.text(), "Fin calibration moteur X");
  for (Element* e : {&r.m.CommandeX_P, &r.m.CalibrerY, &r.m.CalibrerZ, &r.m.visu_detecteurs})
    EXPECT_TRUE(e->enabled()) << e->name();
  EXPECT_EQ(r.s.hors_watchdog, 0);
}

// A long pulse takes longer than the line's ordinary time-out: the wait of
// each cycle is worked out from the pulse values sent.
TEST(Calibration, LongPulsesAreNoSilence) {
  ToolsRig r(BoardOptions{false, 0, {cycle_fails(1)}});
  r.m.TempoZ.set_text("2000");  // with MaxZ 4000: six seconds a cycle
  r.m.CalibrerZ.operator_click();
  EXPECT_EQ(count(r.sent(), "cZxxxxx\n"), 4);
  EXPECT_EQ(r.m.TempoZ.text(), "2020");
  EXPECT_EQ(r.m.Label_defaut.text(), "");
  EXPECT_EQ(r.s.etat_pause, 0);
  EXPECT_EQ(r.s.delai_cycle_Z_ms, 0);
}

constexpr int R = palette::kLightRed, W = palette::kWhite, N = palette::kButtonFace;
using Lamps = std::array<int, 4>;  // Poin_B, Poin_H, Det_L, Det_T

TEST(Detectors, LampColoursFromTheReply) {
  const std::tuple<const char*, bool, Lamps> cases[] = {
      {"OOOOO", false, {R, R, R, R}}, {"OOOOO", true, {N, R, R, N}},  {"xOxOx", false, {W, R, W, R}},
      {"ooooo", false, {W, W, W, W}}, {"O O  ", false, {R, W, R, W}}, {"", false, {W, W, W, W}},
  };
  for (auto [reply, two_sensors, colours] : cases) EXPECT_EQ(couleurs_detecteurs(reply, two_sensors), colours) << reply;
}

TEST(Eeprom, SilenceEndsInWords) {
  ToolsRig r(BoardOptions{true, 0, {{"rd", 1, FaultRule::Kind::Silence, 0}, {"wr", 1, FaultRule::Kind::Silence, 0}}});
  r.m.value.set_text("42");
  r.m.eeprom_read.click();
  EXPECT_EQ(r.m.Label_defautP.text(), "Lecture EEPROM impossible : Pas de réponse de la machine");
  EXPECT_EQ(r.m.value.text(), "42");
  r.m.eeprom_write.click();
  EXPECT_EQ(r.m.Label_defautP.text(), "Ecriture EEPROM non confirmée : Pas de réponse de la machine");
}

// The feed moves 200 Y steps at a time; the stop's own handler runs inside
// the last move's wait and sends AG and ZG, the feed's end one more ZG.
TEST(ManualControl, ContinuousFeedStartAndStop) {
  ToolsRig r;
  r.m.Label_defautP.set_text("Prêt à perforer");
  r.m.Avance.set_enabled(true);
  fenetre_perforation_Click(r.c);
  bool seen = false;
  r.p.at(r.p.now() + 500, [&] {
    seen = true;
    EXPECT_EQ(r.m.Label_defautP.text(), "Avance en continu du carton");
    EXPECT_EQ(r.m.Avance.text(), "Stop");
    EXPECT_NE(r.s.hors_watchdog, 0);
  });
  r.click_later(700, r.m.Avance);
  r.m.Avance.operator_click();
  EXPECT_TRUE(seen);
  const Frames got = r.sent();
  const long moves = count(got, "MY02000\n");
  ASSERT_GT(moves, 1);
  Frames want = {"AGxxxxx\n"};
  want.insert(want.end(), moves, "MY02000\n");
  want.insert(want.end(), {"AGxxxxx\n", "ZGxxxxx\n", "ZGxxxxx\n"});
  EXPECT_EQ(got, want);
  EXPECT_EQ(r.m.Label_defautP.text(), "Prêt à perforer");
  EXPECT_EQ(r.m.Label_defautP.tooltip(), "");
  EXPECT_EQ(r.m.Avance.text(), "Avance");
  EXPECT_EQ(r.m.nb_PasY.text(), "200");
  EXPECT_EQ(r.s.compteur_Y, 200 * moves);
  EXPECT_EQ(r.s.hors_watchdog, 0);
  EXPECT_FALSE(r.s.commande_machine);
}

TEST(ManualControl, RazBeforeAndAfterTheFirstRun) {
  const std::tuple<bool, Frames, const char*> cases[] = {{false, {"ZXxxxxx\n"}, "0"}, {true, {}, "120"}};
  for (const auto& [after_first_run, frames, label_x] : cases) {
    ToolsRig r;
    r.m.nb_PasX.set_text("120");
    r.m.CommandeX_P.operator_click();
    r.s.perforation_lancee = after_first_run;
    r.m.Label_defaut.set_text("Erreur repos poinçon");
    r.m.CommandeY_M.set_enabled(false);  // as an origin search leaves it
    r.restart();
    r.m.RAZ.operator_click();
    EXPECT_EQ(r.sent(), frames);
    EXPECT_EQ(r.m.LabelX.text(), label_x);
    EXPECT_TRUE(r.m.CommandeY_M.enabled());
    EXPECT_EQ(r.s.mesure_origine != 0, !after_first_run);
  }
}

void write_file(const std::string& path, const std::string& text, bool executable = false) {
  fs::create_directories(fs::path(path).parent_path());
  std::ofstream(path) << text;
  if (executable) chmod(path.c_str(), 0755);
}

TEST(Upload, CommandFilePerBoardAndOutcomeInPlainWords) {
  const std::string uno =
      "#!/bin/sh\n"
      "cd '/d/Brivel_uploader' || exit 1\n"
      "avrdude -v -pm328p -carduino -P'/dev/ttyACM9' -b115200 -D -Uflash:w:'/d/Brivel_uploader/Binaire/"
      "Brivel.cpp.hex':i\n";
  EXPECT_EQ(fichier_commande("/d/", "/dev/ttyACM9", Carte::Uno), uno);
  EXPECT_EQ(fichier_commande("/d/", "/dev/ttyACM9", Carte::Nano),
            fichier_commande("/d/", "/dev/ttyACM9", Carte::Duemilanove));
  EXPECT_NE(fichier_commande("/d/", "p", Carte::Nano).find("-P'p' -b57600 -D -Uflash:w:'"), std::string::npos);
  EXPECT_EQ(cite_shell("l'orgue $HOME"), "'l'\\''orgue $HOME'");
  EXPECT_EQ(issue_programmation(0, false), "Programmation réussie : avrdude a terminé sans erreur.");
  EXPECT_EQ(issue_programmation(0, true),
            "Échec : avrdude s'est arrêté brutalement. Le microcontrôleur n'est peut-être pas programmé.");
}

// avrdude 7's own words for each failure a builder meets, and what the report window says of them.
TEST(Upload, WhyAvrdudeFailedInTheOperatorsWords) {
  const struct {
    const char* report;
    const char* said;  // the start of the reason; "" none
  } cases[] = {
      {"avrdude OS error: cannot open port /dev/ttyACM0: No such file or directory", "avrdude n'a pas pu ouvrir le port"},
      {"avrdude: ser_open(): can't open device \"/dev/ttyUSB0\": Permission denied", "avrdude n'a pas pu ouvrir le port"},
      {"avrdude: stk500_recv(): programmer is not responding\navrdude: stk500_getsync() attempt 1 of 10: not in sync",
       "Le chargeur de la carte ne répond pas"},
      {"avrdude: verification error, first mismatch at byte 0x0042", "La vérification a échoué"},
      {"avrdude: device signature = 0x1e9514\navrdude: expected signature for ATmega328P is 1E 95 0F",
       "La carte n'est pas un ATmega328P"},
      {"avrdude: 3810 bytes of flash verified", ""},
  };
  for (const auto& k : cases) {
    const std::string got = raison_echec(k.report);
    EXPECT_EQ(*k.said ? got.substr(0, std::string(k.said).size()) : got, k.said) << k.report;
  }
}

TEST(Upload, ProgramSearchedOnThePath) {
  const std::string dir = fs::temp_directory_path() / ("brivel-path-" + std::to_string(getpid()));
  write_file(dir + "/b/avrdude", "#!/bin/sh\n", true);
  write_file(dir + "/a/avrdude", "not executable");
  EXPECT_EQ(cherche_programme(dir + "/a:" + dir + "/b", "avrdude"), dir + "/b/avrdude");
  EXPECT_EQ(cherche_programme(dir + "/a", "avrdude"), std::nullopt);
  EXPECT_EQ(cherche_programme("", "avrdude"), std::nullopt);
  fs::remove_all(dir);
}

// A rig with avrdude on its PATH and the image in place, unless told not;
// the operator answers the confirmation with `answer`.
struct UploadRig : ToolsRig {
  explicit UploadRig(BoxAnswer answer, bool with_avrdude = true, bool with_image = true) {
    if (with_avrdude) write_file(home + "bin/avrdude", "#!/bin/sh\n", true);
    p.set_env("PATH", home + "bin");
    if (with_image) write_file(home + "Brivel_uploader/Binaire/Brivel.cpp.hex", ":00000001FF\n");
    p.sim_dialogs().box_answers.push_back(answer);
  }
};

TEST(Upload, MissingToolOrImageToldBeforeAnythingCloses) {
  const std::tuple<bool, bool, const char*> cases[] = {{false, true, "avrdude est introuvable"},
                                                       {true, false, "L'image du microprogramme est introuvable"}};
  for (auto [avrdude, image, start] : cases) {
    UploadRig r(BoxAnswer::Yes, avrdude, image);
    r.m.Prog_duemilanove.operator_click();
    EXPECT_TRUE(r.p.serial().is_open()) << start;
    EXPECT_TRUE(r.m.Upload.visible());
    EXPECT_EQ(r.m.upload_report.text().rfind(start, 0), 0u) << r.m.upload_report.text();
    EXPECT_EQ(r.m.upload_status.text(), "Programmation impossible : rien n'a été envoyé à la carte.");
    EXPECT_TRUE(r.m.upload_close.enabled());
    EXPECT_TRUE(r.p.commands_run().empty());
  }
}

}  // namespace
}  // namespace brivel::test
