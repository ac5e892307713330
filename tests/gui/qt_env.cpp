// One QApplication for the whole test program, on whatever platform the
// environment names (ctest sets QT_QPA_PLATFORM=offscreen).
#include <gtest/gtest.h>

#include <QApplication>
#include <QDir>
#include <QStyleFactory>
#include <QWidget>
#include <cstdio>

namespace {

// The offscreen platform warns at each resize and raise that it has no
// window manager; nothing to see for these tests.
void quiet_offscreen(QtMsgType type, const QMessageLogContext& ctx, const QString& msg) {
  if (type == QtWarningMsg && msg.startsWith(QStringLiteral("This plugin does not support"))) return;
  std::fprintf(stderr, "%s\n", qPrintable(qFormatLogMessage(type, ctx, msg)));
}

class QtEnvironment : public ::testing::Environment {
 public:
  void SetUp() override {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    qInstallMessageHandler(quiet_offscreen);
    static int argc = 1;
    static char name[] = "test_gui";
    static char* argv[] = {name, nullptr};
    app_ = new QApplication(argc, argv);
    if (QStyle* fusion = QStyleFactory::create(QStringLiteral("Fusion"))) QApplication::setStyle(fusion);
  }
  void TearDown() override { delete app_; }

 private:
  QApplication* app_ = nullptr;
};

[[maybe_unused]] ::testing::Environment* const kQtEnv = ::testing::AddGlobalTestEnvironment(new QtEnvironment);

}  // namespace

namespace brivel::gui {

// The window tests' pictures go to BRIVEL_TEST_OUT (the README shows some).
bool save_picture(QWidget& w, const char* name) {
  QString dir = qEnvironmentVariable("BRIVEL_TEST_OUT");
  if (dir.isEmpty()) dir = QDir::temp().absoluteFilePath(QStringLiteral("brivel-test-output"));
  QDir().mkpath(dir);
  QApplication::processEvents();
  return w.grab().save(QDir(dir).absoluteFilePath(QString::fromLatin1(name)), "PNG");
}

}  // namespace brivel::gui
