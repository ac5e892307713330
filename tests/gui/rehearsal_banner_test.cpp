// The window says when the console is connected to the rehearsal machine.
#include <gtest/gtest.h>

#include <QApplication>
#include <QLabel>

#include "gui/main_window.h"
#include "platform/qt/rehearsal_port.h"
#include "support/sim_console.h"

namespace brivel::gui {
namespace {

TEST(RehearsalBanner, ShownOnlyWhileConnectedToTheRehearsalMachine) {
  test::SimConsole r({}, {10, kPortRepetition});
  MainWindow w{r.c, [] {}};
  w.show();
  auto banner = [&w] { return w.findChild<QLabel*>(QStringLiteral("machine_simulee")); };
  auto lamp_tip = [&w] { return w.findChild<QWidget*>(QStringLiteral("Shape1"))->toolTip(); };
  struct Case {
    int port;
    bool simulated;
  };
  for (const Case& c : {Case{10, false}, Case{kPortRepetition, true}, Case{10, false}}) {
    SCOPED_TRACE(c.port);
    ASSERT_TRUE(r.connect(c.port));
    QApplication::processEvents();
    EXPECT_EQ(banner()->isVisible(), c.simulated);
    EXPECT_EQ(lamp_tip().contains(QStringLiteral("Machine simulée")), c.simulated) << lamp_tip().toStdString();
  }
}

}  // namespace
}  // namespace brivel::gui
