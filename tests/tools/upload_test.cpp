#include "tools/upload.h"

#include <sys/stat.h>

#include <filesystem>
#include <fstream>

#include "tools/tools_rig.h"

namespace brivel::test {
namespace {

namespace fs = std::filesystem;

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

// A rig with avrdude on its PATH and the image in place, unless told not.
struct UploadRig : ToolsRig {
  explicit UploadRig(bool with_avrdude = true, bool with_image = true) {
    if (with_avrdude) write_file(home + "bin/avrdude", "#!/bin/sh\n", true);
    p.set_env("PATH", home + "bin");
    if (with_image) write_file(home + "Brivel_uploader/Binaire/Brivel.cpp.hex", ":00000001FF\n");
  }
  std::string script() const { return read_file("Temp/temp_com_fich.sh"); }
};

TEST(Upload, NoLeavesThePortOpenAndTheFileWritten) {
  UploadRig r;
  r.p.sim_dialogs().box_answers.push_back(BoxAnswer::No);
  r.m.Prog_uno_rev3.operator_click();
  EXPECT_EQ(r.p.sim_dialogs().boxes,
            std::vector<std::string>{"Voulez-vous vraiment reprogrammer le microcontroleur ?\r\n"});
  EXPECT_EQ(r.script(), fichier_commande(r.home, "/dev/sim/com10", Carte::Uno));
  EXPECT_TRUE(r.p.serial().is_open());
  EXPECT_EQ(r.m.Shape1.color(), palette::kLightGreen);
  EXPECT_TRUE(r.p.commands_run().empty());
  EXPECT_FALSE(r.m.Upload.visible());
}

TEST(Upload, PortClosedAsksForAValidPort) {
  SimConsole sc;
  sc.p.sim_dialogs().box_answers.push_back(BoxAnswer::Yes);
  sc.m.Prog_nano.operator_click();
  EXPECT_EQ(sc.p.sim_dialogs().boxes.back(), "Définir un numéro de port valide\r\n");
  EXPECT_EQ(sc.m.Label_defautP.text(), "Relancer Brivel avant de poursuivre");
  EXPECT_TRUE(sc.p.commands_run().empty());
  EXPECT_NE(sc.read_file("Temp/temp_com_fich.sh").find(" -b57600 "), std::string::npos);
}

TEST(Upload, MissingToolOrImageToldBeforeAnythingCloses) {
  struct Case {
    bool avrdude, image;
    const char* start;
  } cases[] = {{false, true, "avrdude est introuvable"}, {true, false, "L'image du microprogramme est introuvable"}};
  for (const auto& c : cases) {
    UploadRig r(c.avrdude, c.image);
    r.p.sim_dialogs().box_answers.push_back(BoxAnswer::Yes);
    r.m.Prog_duemilanove.operator_click();
    EXPECT_TRUE(r.p.serial().is_open()) << c.start;
    EXPECT_TRUE(r.m.Upload.visible());
    EXPECT_EQ(r.m.upload_report.text().rfind(c.start, 0), 0u) << r.m.upload_report.text();
    EXPECT_EQ(r.m.upload_status.text(), "Programmation impossible : rien n'a été envoyé à la carte.");
    EXPECT_TRUE(r.m.upload_close.enabled());
    EXPECT_TRUE(r.p.commands_run().empty());
  }
}

TEST(Upload, ReportShownLiveWithItsOutcome) {
  UploadRig r;
  r.p.sim_dialogs().box_answers.push_back(BoxAnswer::Yes);
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
