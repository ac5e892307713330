// The two-way tie between console elements and widgets.
//
// The binder watches the model and, on each change, updates the one widget
// that shows the element concerned; widgets write the model only from the
// operator's own gestures (typing, clicks), never from a change the model
// pushed into them, so a write cannot come back as an echo. The console's
// event rule stays the model's: a keystroke in a field is a change of its
// text and runs its handler inside the write.
#pragma once

#include <QPointer>
#include <QWidget>

#include <functional>
#include <unordered_map>
#include <vector>

#include "console/model.h"

class QLabel;
class QGroupBox;

namespace brivel::gui {

class Binder {
 public:
  explicit Binder(Model& m);
  ~Binder();
  Binder(const Binder&) = delete;
  Binder& operator=(const Binder&) = delete;

  Model& model() { return m_; }

  // The widget that shows `e`, by its kind: text field -> QLineEdit, label ->
  // QLabel (a link when the label is clickable), check box -> QCheckBox,
  // option -> QRadioButton, button -> QPushButton, list -> QListWidget, lamp
  // -> Lamp, gauge -> QProgressBar, frame -> QGroupBox. Its object name is
  // the element's name. The widget is hidden at once when the element is not
  // shown; give it a parent (or a layout) before the window is shown.
  QWidget* make(Element& e, QWidget* parent = nullptr);
  QGroupBox* frame(Element& e, QWidget* parent = nullptr);

  // A static text that goes with `e`: it shows, hides and greys with it.
  QLabel* caption(Element& e, const QString& text);
  // The label and the unit the console prints before and after `e`.
  QLabel* label_of(Element& e) { return caption(e, QString::fromStdString(e.label())); }
  QLabel* unit_of(Element& e) { return caption(e, QString::fromStdString(e.unit())); }

  // Ties any object to an element; `update` gets every change of it. Used for
  // the windows and menu entries. One tie per element.
  void bind(Element& e, QObject* obj, std::function<void(Prop)> update);

  // The widget (or object) that shows `e`, null if none does.
  QObject* object(const Element& e) const;
  QWidget* widget(const Element& e) const { return qobject_cast<QWidget*>(object(e)); }

  // Whether the element's own widget stands on screen for the model: shown
  // by its own flag, and not beyond the edge of the window's width.
  bool in_view(const Element& e) const;

  // Runs after a change of what is shown (page switch, Calc_ponts in or
  // out, width of the window), once the widgets concerned are updated.
  std::function<void()> on_layout_changed;

 private:
  struct Tie {
    QPointer<QObject> obj;
    std::vector<QPointer<QWidget>> followers;
    std::function<void(Prop)> update;
  };
  void changed(Element& e, Prop p);
  // Enabled, visible and tool tip of a widget and its followers.
  void common(Element& e, Prop p);
  void bind_widget(Element& e, QWidget* w, std::function<void(Prop)> update);

  Model& m_;
  int subscription_ = 0;
  std::unordered_map<const Element*, Tie> ties_;
  std::vector<Element*> beyond_edge_;  // elements placed by x_twips
};

}  // namespace brivel::gui
