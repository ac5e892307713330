// The machine tools in the window: the motor page while a calibration runs,
// and the upload's report window, each grabbed to a picture.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <filesystem>
#include <fstream>

#include "console/pages.h"
#include "gui/main_window.h"
#include "gui/side_windows.h"
#include "support/sim_console.h"

namespace brivel::gui {
bool save_picture(QWidget& w, const char* name);
namespace {

struct ToolsWindow : ::testing::Test {
  test::SimConsole desk;
  Model& m = desk.m;
  MainWindow w{desk.c, [] {}};
  void SetUp() override {
    w.show();
    m.fenetre_moteurs.click();
    EXPECT_TRUE(desk.connect(10));
    QApplication::processEvents();
  }
  template <class W>
  W* find(QWidget* in, const char* name) {
    auto* x = in->findChild<W*>(QString::fromLatin1(name));
    EXPECT_NE(x, nullptr) << name;
    return x;
  }
};

TEST_F(ToolsWindow, MotorPageDuringACalibration) {
  bool grabbed = false;
  desk.p.at(desk.p.now() + 1500, [&] {
    QApplication::processEvents();
    auto* state = find<QLineEdit>(&w, "Calibration");
    EXPECT_EQ(state->text().toStdString(), "Calibration moteur X en cours");
    EXPECT_FALSE(find<QPushButton>(&w, "CommandeX_P")->isEnabled());
    EXPECT_EQ(find<QLineEdit>(&w, "VitesseX")->text().toStdString(), m.VitesseX.text());
    EXPECT_NE(m.VitesseX.text(), "5000");
    grabbed = save_picture(w, "calibration-moteurs.png");
    m.Stop_cal.operator_click();
  });
  m.CalibrerX.operator_click();
  EXPECT_TRUE(grabbed);
  EXPECT_EQ(find<QLineEdit>(&w, "Calibration")->text().toStdString(), "Fin calibration moteur X");
}

TEST_F(ToolsWindow, UploadReportWindow) {
  namespace fs = std::filesystem;
  fs::create_directories(desk.home + "bin");
  std::ofstream(desk.home + "bin/avrdude") << "#!/bin/sh\n";
  chmod((desk.home + "bin/avrdude").c_str(), 0755);
  desk.p.set_env("PATH", desk.home + "bin");
  fs::create_directories(desk.home + "Brivel_uploader/Binaire");
  std::ofstream(desk.home + "Brivel_uploader/Binaire/Brivel.cpp.hex") << ":00000001FF\n";
  desk.p.sim_dialogs().box_answers.push_back(BoxAnswer::Yes);
  m.Prog_uno_rev3.operator_click();
  ASSERT_EQ(desk.p.commands_run().size(), 1u);
  auto& run = desk.p.commands_run()[0];
  FormWindow* box = w.upload_window();
  ASSERT_TRUE(box && box->isVisible());
  auto* close = find<QPushButton>(box, "Upload.close");
  EXPECT_FALSE(close->isEnabled());
  run.report.on_output("avrdude: port /dev/sim/com10, 115200 bauds\n");
  run.report.on_output("avrdude: la carte ne répond pas (essai 1 sur 10)\n");
  run.report.on_end(1, false);
  QApplication::processEvents();
  auto* report = find<QPlainTextEdit>(box, "Upload.report");
  EXPECT_EQ(report->toPlainText().toStdString(), m.upload_report.text());
  EXPECT_NE(find<QLabel>(box, "Upload.status")->text().toStdString().find("Échec de la programmation"),
            std::string::npos);
  EXPECT_TRUE(close->isEnabled());
  EXPECT_TRUE(save_picture(*box, "televersement.png"));
  close->click();
  EXPECT_FALSE(m.Upload.visible());
  EXPECT_FALSE(box->isVisible());
}

}  // namespace
}  // namespace brivel::gui
