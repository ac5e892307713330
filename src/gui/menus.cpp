#include "gui/menus.h"

#include <QAction>
#include <QKeySequence>
#include <QMenu>

#include <map>
#include <vector>

namespace brivel::gui {

namespace {

using Children = std::map<std::string, std::vector<Element*>>;

void tie(Binder& b, Element& e, QAction* a) {
  a->setObjectName(QString::fromStdString(e.name()));
  a->setEnabled(e.enabled());
  a->setVisible(e.visible());
  Element* el = &e;
  b.bind(e, a, [a, el](Prop p) {
    if (p == Prop::Enabled) a->setEnabled(el->enabled());
    if (p == Prop::Visible) a->setVisible(el->visible());
    if (p == Prop::Text && el->text() != "-") a->setText(QString::fromStdString(el->text()));
  });
}

void fill(Binder& b, QMenu* menu, const std::string& parent, const Children& kids) {
  auto it = kids.find(parent);
  if (it == kids.end()) return;
  for (Element* e : it->second) {
    if (e->text() == "-") {
      tie(b, *e, menu->addSeparator());
    } else if (kids.count(e->name())) {
      QMenu* sub = menu->addMenu(QString::fromStdString(e->text()));
      tie(b, *e, sub->menuAction());
      fill(b, sub, e->name(), kids);
    } else {
      QAction* a = menu->addAction(QString::fromStdString(e->text()));
      if (!e->shortcut().empty()) a->setShortcut(QKeySequence(QString::fromStdString(e->shortcut())));
      tie(b, *e, a);
      QObject::connect(a, &QAction::triggered, a, [e] { e->operator_click(); });
    }
  }
}

}  // namespace

void build_menus(Binder& b, QMenuBar* bar) {
  Children kids;
  for (Element* e : b.model().all())
    if (e->kind() == Kind::MenuEntry) kids[e->parent()].push_back(e);
  for (Element* top : kids[""]) {
    if (kids.count(top->name())) {
      QMenu* menu = bar->addMenu(QString::fromStdString(top->text()));
      tie(b, *top, menu->menuAction());
      fill(b, menu, top->name(), kids);
    } else {
      // A top-row entry without a menu: it acts as soon as it is chosen.
      QAction* a = bar->addAction(QString::fromStdString(top->text()));
      tie(b, *top, a);
      QObject::connect(a, &QAction::triggered, a, [top] { top->operator_click(); });
    }
  }
}

}  // namespace brivel::gui
