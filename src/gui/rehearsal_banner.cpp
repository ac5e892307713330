#include "gui/rehearsal_banner.h"

#include <QLabel>
#include <QMainWindow>
#include <QStatusBar>

#include "core/numbers.h"
#include "gui/binder.h"
#include "platform/qt/rehearsal_port.h"

namespace brivel::gui {

void watch_rehearsal(Context& c, Binder& b, QMainWindow* window) {
  // The status bar is made only when first needed: with a real machine the
  // window stays as it always was.
  auto* banner = new QLabel(QStringLiteral("Machine simulée (port %1) : répétition sans machine, aucun trou n'est "
                                           "percé")
                                .arg(kPortRepetition),
                            window);
  banner->setObjectName(QStringLiteral("machine_simulee"));
  banner->setStyleSheet(QStringLiteral("QLabel { color: #a04000; font-weight: bold; }"));
  banner->hide();
  const QString lamp_tip = QStringLiteral("Machine simulée : la liaison va à la machine de répétition");
  auto show = [&c, &b, banner, window, lamp_tip] {
    const bool on = val(c.m.AdressePort.text()) == kPortRepetition && c.p.serial().is_open();
    if (on && banner->parentWidget() == window) window->statusBar()->addPermanentWidget(banner);
    banner->setVisible(on);
    for (Element* lamp : {&c.m.Shape1, &c.m.Shape2})
      if (QWidget* w = b.widget(*lamp)) w->setToolTip(on ? lamp_tip : QString::fromStdString(lamp->tooltip()));
  };
  // Runs after the binder's own update of the lamps, which subscribed first.
  const int id = c.m.subscribe([&c, show](Element& e, Prop p) {
    if ((&e == &c.m.AdressePort && p == Prop::Text) ||
        ((&e == &c.m.Shape1 || &e == &c.m.Shape2) && (p == Prop::Color || p == Prop::ToolTip)))
      show();
  });
  QObject::connect(banner, &QObject::destroyed, [&m = c.m, id] { m.unsubscribe(id); });
  show();
}

}  // namespace brivel::gui
