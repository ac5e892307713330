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

TEST(Calibration, StepDurationFallsBy50DownToTheFloor) {
  const double cases[][2] = {{5000, 4950}, {175, 125}, {150, 100}, {120, 100}, {100, 100}, {60, 60}, {-5, -5}};
  for (const auto& c : cases) EXPECT_EQ(duree_pas_suivante(c[0]), c[1]) << c[0];
}

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

// Y goes forward by nb_PasY until Stop_cal; meanwhile the other tools are out
// of reach and the line is taken.
TEST(Calibration, YGivesNbpasYBackAndKeepsTheLastSpeed) {
  ToolsRig r;
  r.m.nb_PasY.set_text("30");
  bool checked = false;
  r.p.at(r.p.now() + 600, [&] {
    checked = true;
    for (Element* e : {&r.m.CommandeX_P, &r.m.OrigineX_M, &r.m.CalibrerX, &r.m.CalibrerZ, &r.m.visu_detecteurs})
      EXPECT_FALSE(e->enabled()) << e->name();
    EXPECT_EQ(r.m.Calibration.text(), "Calibration moteur Y en cours");
    EXPECT_NE(r.s.hors_watchdog, 0);
    r.m.Perfoman.click();  // not in the block, but the line is taken
    EXPECT_EQ(r.m.Label_defautP.text(), "Commande refusée : la machine exécute déjà une commande");
  });
  r.click_later(2000, r.m.Stop_cal);
  r.m.CalibrerY.operator_click();
  EXPECT_TRUE(checked);
  const Frames got = r.sent();
  const long moves = count(got, "MY00030\n");  // 30 Y steps of one motor step, always forward
  ASSERT_GT(moves, 2);
  EXPECT_EQ(moves, static_cast<long>(got.size()) - 2 - moves) << "one PY behind each move, nothing else";
  EXPECT_EQ(r.m.NbpasY.text(), "10");
  EXPECT_EQ(r.m.VitesseY.text(), str_plain(7500 - 50 * moves));
  EXPECT_EQ(r.m.Calibration.text(), "Fin calibration moteur Y");
  EXPECT_EQ(r.board.y_position(), 30 * moves);
}

TEST(Calibration, SpeedStopsAtTheFloor) {
  ToolsRig r;
  r.m.VitesseX.set_text("220");
  r.restart();
  r.click_later(1500, r.m.Stop_cal);
  r.m.CalibrerX.operator_click();
  const Frames got = r.sent();
  EXPECT_EQ(count(got, "PX00170\n") + count(got, "PX00120\n") + count(got, "PX00100\n"), 3);
  EXPECT_EQ(r.m.VitesseX.text(), "100");
  EXPECT_EQ(r.m.Label_defautP.text(), "Durée de pas minimale atteinte : 100 µs (Vitesse X)");
}

TEST(Calibration, RefusedWithoutANumber) {
  const std::tuple<const char*, const char*, Element Model::*, const char*> cases[] = {
      {"VitesseX", "5O00", &Model::CalibrerX, "Calibration impossible : Vitesse X \"5O00\" n'est pas un nombre"},
      {"VitesseY", "", &Model::CalibrerY, "Calibration impossible : Vitesse Y \"\" n'est pas un nombre"},
      {"TempoZ", "2 ms", &Model::CalibrerZ, "Calibration impossible : Impulsion Z \"2 ms\" n'est pas un nombre"},
  };
  for (auto [field, text, button, message] : cases) {
    ToolsRig r;
    r.m.get(field).set_text(text);
    r.restart();
    (r.m.*button).operator_click();
    EXPECT_TRUE(r.sent().empty()) << field;
    EXPECT_EQ(r.m.Label_defautP.text(), message);
    EXPECT_TRUE(r.m.CommandeX_P.enabled());
  }
}

// Replies A, C, A, C, A, A: the first A counts for nothing, the second C
// resets nothing, and the sixth cycle ends the routine.
TEST(Calibration, ZEndsAtTheThirdGoodCycleAfterTheFirstFailure) {
  ToolsRig r(BoardOptions{true, 0, {cycle_fails(2), cycle_fails(4)}});
  ASSERT_EQ(r.m.Check2.value(), 1);
  r.m.CalibrerZ.operator_click();
  Frames want = {"AGxxxxx\n"};
  for (int pass = 1; pass <= 6; ++pass) {
    want.push_back("cZxxxxx\n");
    want.push_back(*number_frame("IZ", 2 + 5 * pass));
    want.push_back(*number_frame("MZ", 2 * (2 + 5 * pass)));
  }
  want.push_back("ZGxxxxx\n");
  EXPECT_EQ(r.sent(), want);
  EXPECT_EQ(r.m.TempoZ.text(), "32");
  EXPECT_EQ(r.m.MaxZ.text(), "64");
  EXPECT_EQ(r.m.Check2.value(), 0);
  EXPECT_TRUE(r.m.TempoZ.enabled());
  EXPECT_EQ(r.m.Calibration.text(), "Fin calibration Z. Penser à sauvegarder!");
  EXPECT_EQ(r.s.etat_pause, 0) << "a failed cycle is a measurement here";
  EXPECT_EQ(r.s.calibration_Z_active, 0);
  EXPECT_EQ(r.board.holes().size(), 4u);
  // Later punch cycles are faults again, and the fixed cycle stays.
  r.restart();
  r.m.CommandeZ_M.operator_click();
  EXPECT_EQ(r.sent(), (Frames{"AGxxxxx\n", "cZxxxxx\n", "ZGxxxxx\n"}));
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

TEST(Calibration, ZWithoutFailureRunsUntilStopWhichClosesTwice) {
  ToolsRig r;
  r.click_later(2000, r.m.Stop_cal);
  r.m.CalibrerZ.operator_click();
  EXPECT_EQ(count(r.sent(), "ZGxxxxx\n"), 2);
  EXPECT_EQ(r.sent().back(), "ZGxxxxx\n");
  EXPECT_EQ(r.m.MaxZ.text(), str_plain(2 * val(r.m.TempoZ.text())));
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

// With Check1 the reply OOOOO lights only Poin_H and Det_L.
TEST(Detectors, ViewPollsUntilSwitchedOffOrTheMachineGoes) {
  ToolsRig r;
  const auto lamps = [&r] {
    return Lamps{r.m.Poin_B.color(), r.m.Poin_H.color(), r.m.Det_L(4).color(), r.m.Det_T(3).color()};
  };
  for (int i = 0; i < 5; ++i) r.board.set_sensor(i, true);
  r.m.Check1.set_value(1);
  r.restart();
  r.m.visu_detecteurs.operator_click();
  EXPECT_TRUE(r.s.visu_active);
  EXPECT_FALSE(r.m.reachable(r.m.CommandeX_P) || r.m.reachable(r.m.CalibrerX));
  r.p.run_for(350);
  EXPECT_EQ(lamps(), (Lamps{N, R, R, N}));
  const Frames got = r.sent();
  ASSERT_GE(got.size(), 4u);
  EXPECT_EQ(Frames(got.begin(), got.begin() + 4), (Frames{"VDxxxxx\n", "\n", "VDxxxxx\n", "\n"}));
  EXPECT_EQ(got.size() % 2, 0u) << "no closing line feed in this dialogue";
  r.m.Check1.set_value(0);
  r.board.set_sensor(0, false);
  r.p.run_for(250);
  EXPECT_EQ(lamps(), (Lamps{W, R, R, R}));
  // Another page stops the poll but leaves the view on; back, it polls again.
  fenetre_notes_Click(r.c);
  const auto quiet = r.mark();
  r.p.run_for(500);
  EXPECT_EQ(r.mark(), quiet);
  fenetre_moteurs_Click(r.c);
  r.p.run_for(250);
  EXPECT_GT(r.mark(), quiet);
  r.m.visu_detecteurs.operator_click();
  EXPECT_FALSE(r.s.visu_active);
  EXPECT_TRUE(r.m.reachable(r.m.CommandeX_P));
  EXPECT_EQ(lamps(), (Lamps{N, N, N, N}));
  const auto off = r.mark();
  r.p.run_for(500);
  EXPECT_EQ(r.mark(), off);
  // On again, then the machine goes.
  r.m.visu_detecteurs.operator_click();
  r.p.run_for(300);
  r.p.sim_serial().close();
  r.p.run_for(300);
  EXPECT_FALSE(r.s.visu_active);
  EXPECT_TRUE(r.m.reachable(r.m.CommandeX_P));
  EXPECT_EQ(r.m.Label_defautP.text(), "Visualisation des détecteurs arrêtée : machine non connectée");
}

// The reply is one raw byte; the codes of A to D reach the reply flags and
// are read as their codes all the same.
TEST(Eeprom, ReadGivesTheCellsCode) {
  const std::pair<int, const char*> cases[] = {
      {200, ""},
      {0, ""},
      {255, ""},
      {65,
       "Lecture EEPROM : la carte a répondu \"A\", lu comme la valeur 65 (les valeurs 65 à 68 arrivent "
       "comme les réponses A à D)"},
      {68,
       "Lecture EEPROM : la carte a répondu \"D\", lu comme la valeur 68 (les valeurs 65 à 68 arrivent "
       "comme les réponses A à D)"},
  };
  for (auto [cell, service] : cases) {
    ToolsRig r;
    r.m.Label_defautP.set_text("");
    r.board.eeprom()[12] = static_cast<uint8_t>(cell);
    r.m.adress.set_text("12");
    r.m.eeprom_read.click();
    EXPECT_EQ(r.sent(), (Frames{"NUxxxxx\n", "rd00012\n", "\n"})) << cell;
    EXPECT_EQ(r.m.value.text(), std::to_string(cell));
    EXPECT_EQ(r.m.Label_defautP.text(), service);
  }
}

TEST(Eeprom, WriteEndsOnAAndLandsInTheCellLastRead) {
  ToolsRig r;
  r.m.adress.set_text("12");
  r.m.eeprom_read.click();
  r.restart();
  r.m.value.set_text("7");
  const int64_t t0 = r.p.now();
  r.m.eeprom_write.click();
  EXPECT_EQ(r.sent(), (Frames{"NUxxxxx\n", "wr00007\n"}));
  EXPECT_GE(r.p.now() - t0, 300);
  EXPECT_EQ(r.board.eeprom()[12], 7);
  EXPECT_EQ(r.board.log().back().text, "A");
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

TEST(ManualControl, EachCommandIsOneWorkingSequence) {
  // The button, Demipas, the frames, and LabelY: the card's place in steps
  // of the list (200 motor steps are 20 steps of 10).
  const std::tuple<Element Model::*, int, Frames, const char*> cases[] = {
      {&Model::CommandeX_P, 0, {"AGxxxxx\n", "MX00200\n", "ZGxxxxx\n"}, "0"},
      {&Model::CommandeX_M, 1, {"AGxxxxx\n", "mx00200\n", "ZGxxxxx\n"}, "0"},
      {&Model::CommandeY_M, 1, {"AGxxxxx\n", "MY00200\n", "ZGxxxxx\n"}, "20"},
      {&Model::CommandeZ_M, 1, {"AGxxxxx\n", "CZxxxxx\n", "ZGxxxxx\n"}, "0"},
      {&Model::OrigineX_M, 0, {"AGxxxxx\n", "ONxxxxx\n", "ORxxxxx\n", "\n", "\n", "ZGxxxxx\n"}, "0"},
  };
  for (const auto& [button, demipas, frames, label_y] : cases) {
    ToolsRig r;
    r.m.Demipas.set_value(demipas);
    r.restart();
    ASSERT_TRUE((r.m.*button).operator_click());
    SCOPED_TRACE((r.m.*button).name());
    EXPECT_EQ(r.sent(), frames);
    EXPECT_EQ(r.m.NbpasY.text(), "10") << "the Y move gives NbpasY back";
    EXPECT_EQ(r.m.LabelY.text(), label_y);
  }
}

// Every machine tool asks for the machine first: with the port closed it
// sends nothing and says so. The EEPROM buttons lie on another window: the
// program clicks them.
TEST(MachineTools, RefusedWithThePortClosed) {
  const std::pair<Element Model::*, bool> cases[] = {{&Model::CommandeX_P, true},
                                                     {&Model::CalibrerZ, true},
                                                     {&Model::visu_detecteurs, true},
                                                     {&Model::eeprom_read, false},
                                                     {&Model::eeprom_write, false}};
  for (auto [button, by_hand] : cases) {
    ToolsRig r({}, false);
    Element& e = r.m.*button;
    EXPECT_TRUE(by_hand ? e.operator_click() : (e.click(), true)) << e.name();
    EXPECT_TRUE(r.p.line().empty()) << e.name();
    EXPECT_NE(r.m.Label_defautP.text().find("Machine non connectée"), std::string::npos) << e.name();
    EXPECT_FALSE(r.s.visu_active);
  }
}

// A second command while one waits on the machine would share its reply
// flags: it is refused and sends nothing.
TEST(ManualControl, SecondCommandRefusedWhileOneWaits) {
  ToolsRig r(BoardOptions{false, 0, {}});  // moves take their time
  r.m.Demipas.set_value(0);
  r.m.nb_PasX.set_text("1000");
  r.click_later(400, r.m.CommandeZ_M);
  r.click_later(600, r.m.OrigineX_M);
  r.m.CommandeX_P.operator_click();
  EXPECT_EQ(r.sent(), (Frames{"AGxxxxx\n", "MX01000\n", "ZGxxxxx\n"}));
  EXPECT_EQ(r.m.Label_defautP.text(), "Commande refusée : la machine exécute déjà une commande");
  EXPECT_EQ(r.m.LabelX.text(), "1000");
  r.restart();
  r.m.CommandeZ_M.operator_click();
  EXPECT_EQ(r.sent().size(), 3u) << "free again afterwards";
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

TEST(ManualControl, FeedEndsWhenThePortGoes) {
  ToolsRig r;
  r.m.Avance.set_enabled(true);
  fenetre_perforation_Click(r.c);
  r.p.at(r.p.now() + 600, [&] { r.p.sim_serial().remove_port(10); });
  r.m.Avance.operator_click();
  EXPECT_FALSE(r.s.avance_continue);
  EXPECT_EQ(r.m.Avance.text(), "Avance");
  EXPECT_EQ(r.m.Shape1.color(), palette::kLightRed);
  EXPECT_NE(r.m.Label_defautP.text().find("Liaison série perdue"), std::string::npos);
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

// Frame1's step fields in millimetres: X at 0.23 mm a step, Y at pas_Y_mm
// (NbpasY 10 of PasmotY 0.083 on the motor page).
TEST(ManualControl, StepFieldsShownInMillimetres) {
  const std::tuple<const char*, const char*, int, const char*> cases[] = {{"Text2", "200", 0, " 46"},
                                                                          {"Text2", "-10", 0, "-2.3"},
                                                                          {"Text2", "abc", 0, " 0"},
                                                                          {"Text4", "30", 1, " 24.9"},
                                                                          {"Text4", "3x", 1, " 2.49"}};
  for (auto [field, text, caption, mm] : cases) {
    ToolsRig r({}, false);
    r.m.get(field).set_text(text);
    EXPECT_EQ(r.m.Label1(caption).text(), mm) << field << " " << text;
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

TEST(Upload, NoLeavesThePortOpenAndTheFileWritten) {
  UploadRig r(BoxAnswer::No);
  r.m.Prog_uno_rev3.operator_click();
  EXPECT_EQ(r.p.sim_dialogs().boxes,
            std::vector<std::string>{"Voulez-vous vraiment reprogrammer le microcontroleur ?\r\n"});
  EXPECT_EQ(r.read_file("Temp/temp_com_fich.sh"), fichier_commande(r.home, "/dev/sim/com10", Carte::Uno));
  EXPECT_TRUE(r.p.serial().is_open());
  EXPECT_EQ(r.m.Shape1.color(), palette::kLightGreen);
  EXPECT_TRUE(r.p.commands_run().empty());
  EXPECT_FALSE(r.m.Upload.visible());
}

TEST(Upload, PortClosedAsksForAValidPort) {
  ToolsRig r({}, false);
  r.p.sim_dialogs().box_answers.push_back(BoxAnswer::Yes);
  r.m.Prog_nano.operator_click();
  EXPECT_EQ(r.p.sim_dialogs().boxes.back(), "Définir un numéro de port valide\r\n");
  EXPECT_EQ(r.m.Label_defautP.text(), "Relancer Brivel avant de poursuivre");
  EXPECT_TRUE(r.p.commands_run().empty());
  EXPECT_NE(r.read_file("Temp/temp_com_fich.sh").find(" -b57600 "), std::string::npos);
}

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

TEST(Upload, ReportShownLiveWithItsOutcome) {
  UploadRig r(BoxAnswer::Yes);
  const int64_t t0 = r.p.now();
  r.m.Prog_uno_rev3.operator_click();
  EXPECT_GE(r.p.now() - t0, 1000) << "the board gets a second after the port closes";
  EXPECT_FALSE(r.p.serial().is_open());
  EXPECT_EQ(r.m.Shape1.color(), palette::kLightRed);
  EXPECT_EQ(r.m.Label_defautP.text(), "Relancer Brivel avant de poursuivre");
  ASSERT_EQ(r.p.commands_run().size(), 1u);
  auto& run = r.p.commands_run()[0];
  EXPECT_EQ(run.path, r.home + "Temp/temp_com_fich.sh");
  EXPECT_TRUE(r.m.Upload.visible());
  EXPECT_FALSE(r.m.upload_close.enabled());
  run.report.on_output("avrdude: Version 7\r\nWriting | ###");
  run.report.on_output("### | 100%\r\n");
  EXPECT_EQ(r.m.upload_report.text(), "avrdude: Version 7\nWriting | ###### | 100%\n");
  EXPECT_EQ(r.m.upload_status.text(), "Programmation en cours : ne pas débrancher la carte.");
  run.report.on_end(1, false);
  EXPECT_EQ(
      r.m.upload_status.text(),
      "Échec de la programmation : avrdude a terminé en erreur (code 1). Le rapport ci-dessous en donne la raison.");
  EXPECT_TRUE(r.m.upload_close.enabled());
  r.m.upload_close.operator_click();
  EXPECT_FALSE(r.m.Upload.visible());
}

}  // namespace
}  // namespace brivel::test
