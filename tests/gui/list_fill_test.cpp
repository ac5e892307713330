// Lists that a handler fills row by row: the window shows every row, in the
// model's order, without redrawing the whole list at each one.
#include <gtest/gtest.h>

#include <QApplication>
#include <QListWidget>

#include "gui/binder.h"

namespace brivel::gui {
namespace {

// The window's rows against the model's, compared whole.
QStringList shown(const QListWidget* w) {
  QStringList out;
  for (int i = 0; i < w->count(); ++i) out << w->item(i)->text();
  return out;
}

TEST(ListFill, RowsAddedOneByOneShowWholeAndInOrder) {
  struct Case {
    const char* list;
    int rows;
  };
  // Liste_pont keeps its rows sorted; File1 keeps them as they come.
  for (const Case& c : {Case{"Liste_pont", 6848}, Case{"File1", 500}}) {
    SCOPED_TRACE(c.list);
    Model m;
    Binder b(m);
    Element& e = m.get(c.list);
    auto* w = static_cast<QListWidget*>(b.make(e));
    int refills = 0;
    QObject::connect(w->model(), &QAbstractItemModel::modelReset, [&refills] { ++refills; });
    // A handler's filling: no turn of the event loop between the rows, which
    // come in no order.
    e.clear_rows();
    for (int i = 0; i < c.rows; ++i) e.add_row(std::to_string((i * 7919) % c.rows + 100000));
    QApplication::processEvents();
    QStringList want;
    for (const std::string& row : e.rows()) want << QString::fromStdString(row);
    EXPECT_EQ(shown(w), want);
    EXPECT_LE(refills, 2) << "the whole list redrawn at each row";
    // Emptied, then one row: both seen.
    e.clear_rows();
    QApplication::processEvents();
    EXPECT_EQ(w->count(), 0);
    e.add_row("x");
    QApplication::processEvents();
    EXPECT_EQ(shown(w), QStringList{QStringLiteral("x")});
    delete w;
  }
}

}  // namespace
}  // namespace brivel::gui
