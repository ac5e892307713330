#include "gui/binder.h"

#include <QApplication>
#include <QCheckBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QSignalBlocker>
#include <QTimer>
#include <algorithm>
#include <memory>

#include "gui/clickable_label.h"
#include "gui/lamp.h"
#include "gui/palette16.h"

namespace brivel::gui {

namespace {

QString qs(const std::string& s) { return QString::fromStdString(s); }

Qt::CheckState check_state(int value) {
  return value == 1 ? Qt::Checked : value == 2 ? Qt::PartiallyChecked : Qt::Unchecked;
}

void fill_list(QListWidget* w, const Element& e) {
  QSignalBlocker block(w);
  w->clear();
  for (const std::string& r : e.rows()) w->addItem(qs(r));
  w->setCurrentRow(e.selected());
}

// A list that a handler fills row by row notifies at every row. Redrawn whole
// each time, 6848 rows of a bridge calculation cost 6848 refills.
struct ListFill {
  bool pending = false;
};

// Rows added at the end of a list that keeps its order of arrival are only
// appended. A sorted list places a new row anywhere: it is refilled whole at
// the next turn of the event loop, once for all the rows a handler added
// before it gave a turn.
void rows_changed(QListWidget* w, const Element& e, const std::shared_ptr<ListFill>& fill) {
  const int shown = w->count();
  if (!e.sorted() && shown <= e.count() && (shown == 0 || w->item(shown - 1)->text() == qs(e.row(shown - 1)))) {
    QSignalBlocker block(w);
    for (int i = shown; i < e.count(); ++i) w->addItem(qs(e.row(i)));
    return;
  }
  if (!e.sorted() || e.count() == 0) {
    fill_list(w, e);
    return;
  }
  if (fill->pending) return;
  fill->pending = true;
  QTimer::singleShot(0, w, [w, &e, fill] {
    fill->pending = false;
    fill_list(w, e);
  });
}

// A text field's background: the note state during a run, the menu colour
// of a field switched off.
void paint_field(QLineEdit* w, int color) {
  QPalette pal = QApplication::palette(w);
  QColor c = console_color(color, pal);
  if (c.isValid()) {
    pal.setColor(QPalette::Base, c);
    pal.setColor(QPalette::Text, c.lightness() < 110 ? Qt::white : Qt::black);
  }
  w->setPalette(pal);
}

}  // namespace

Binder::Binder(Model& m) : m_(m) {
  subscription_ = m_.subscribe([this](Element& e, Prop p) { changed(e, p); });
}

Binder::~Binder() { m_.unsubscribe(subscription_); }

QObject* Binder::object(const Element& e) const {
  auto it = ties_.find(&e);
  return it == ties_.end() ? nullptr : it->second.obj.data();
}

bool Binder::in_view(const Element& e) const { return e.visible() && e.x_twips() < m_.Brivel.width(); }

void Binder::bind(Element& e, QObject* obj, std::function<void(Prop)> update) {
  Tie& t = ties_[&e];
  t.obj = obj;
  t.update = std::move(update);
}

void Binder::bind_widget(Element& e, QWidget* w, std::function<void(Prop)> update) {
  w->setObjectName(qs(e.name()));
  bind(e, w, std::move(update));
  if (e.x_twips() > 0) beyond_edge_.push_back(&e);
  w->setEnabled(e.enabled());
  if (!e.tooltip().empty()) w->setToolTip(qs(e.tooltip()));
  if (!in_view(e)) w->hide();
}

QLabel* Binder::caption(Element& e, const QString& text) {
  auto* l = new QLabel(text);
  l->setToolTip(qs(e.tooltip()));
  l->setEnabled(e.enabled());
  if (!in_view(e)) l->hide();
  ties_[&e].followers.emplace_back(l);
  return l;
}

void Binder::common(Element& e, Prop p) {
  auto it = ties_.find(&e);
  if (it == ties_.end()) return;
  auto* w = qobject_cast<QWidget*>(it->second.obj.data());
  std::vector<QWidget*> all;
  if (w) all.push_back(w);
  for (auto& f : it->second.followers)
    if (f) all.push_back(f.data());
  for (QWidget* x : all) {
    switch (p) {
      case Prop::Enabled:
        x->setEnabled(e.enabled());
        break;
      case Prop::Visible:
        x->setVisible(in_view(e));
        break;
      case Prop::ToolTip:
        x->setToolTip(qs(e.tooltip()));
        break;
      default:
        break;
    }
  }
}

void Binder::changed(Element& e, Prop p) {
  if (&e == &m_.Brivel && p == Prop::Geometry) {
    // The window's width decides whether the frames beyond the edge show.
    for (Element* b : beyond_edge_) common(*b, Prop::Visible);
  }
  auto it = ties_.find(&e);
  if (it != ties_.end()) {
    if (e.kind() != Kind::Form && e.kind() != Kind::MenuEntry) common(e, p);
    if (it->second.update) it->second.update(p);
  }
  if ((p == Prop::Visible && e.kind() != Kind::Form) || (&e == &m_.Brivel && p == Prop::Geometry)) {
    if (on_layout_changed) on_layout_changed();
  }
}

QGroupBox* Binder::frame(Element& e, QWidget* parent) {
  auto* g = new QGroupBox(qs(e.text()), parent);
  bind_widget(e, g, [g, &e](Prop p) {
    if (p == Prop::Text) g->setTitle(qs(e.text()));
  });
  return g;
}

QWidget* Binder::make(Element& e, QWidget* parent) {
  Element* el = &e;
  switch (e.kind()) {
    case Kind::Frame:
      return frame(e, parent);

    case Kind::TextField: {
      auto* w = new QLineEdit(qs(e.text()), parent);
      paint_field(w, e.color());
      QObject::connect(w, &QLineEdit::textEdited, w, [el](const QString& t) { el->set_text(t.toStdString()); });
      bind_widget(e, w, [w, el](Prop p) {
        if (p == Prop::Text && w->text() != qs(el->text())) w->setText(qs(el->text()));
        if (p == Prop::Color) paint_field(w, el->color());
      });
      return w;
    }

    case Kind::Label: {
      QLabel* w;
      if (e.clickable()) {
        auto* c = new ClickableLabel(parent);
        c->on_click = [el] { el->operator_click(); };
        w = c;
      } else {
        w = new QLabel(parent);
      }
      w->setText(qs(e.text()));
      w->setTextFormat(Qt::PlainText);
      bind_widget(e, w, [w, el](Prop p) {
        if (p == Prop::Text) w->setText(qs(el->text()));
      });
      return w;
    }

    case Kind::CheckBox: {
      // A greyed box (value 2) shows as partly checked. The operator's click
      // goes to the model, which decides the new value; the box then shows it.
      auto* w = new QCheckBox(qs(e.text().empty() ? e.label() : e.text()), parent);
      w->setCheckState(check_state(e.value()));
      QObject::connect(w, &QCheckBox::clicked, w, [w, el] {
        el->operator_click();
        QSignalBlocker block(w);
        w->setCheckState(check_state(el->value()));
      });
      bind_widget(e, w, [w, el](Prop p) {
        QSignalBlocker block(w);
        if (p == Prop::Value) w->setCheckState(check_state(el->value()));
        if (p == Prop::Text && !el->text().empty()) w->setText(qs(el->text()));
      });
      return w;
    }

    case Kind::OptionButton: {
      auto* w = new QRadioButton(qs(e.text()), parent);
      w->setAutoExclusive(false);
      w->setChecked(e.value() != 0);
      QObject::connect(w, &QRadioButton::clicked, w, [w, el] {
        el->operator_click();
        QSignalBlocker block(w);
        w->setChecked(el->value() != 0);
      });
      bind_widget(e, w, [w, el](Prop p) {
        QSignalBlocker block(w);
        if (p == Prop::Value) w->setChecked(el->value() != 0);
        if (p == Prop::Text) w->setText(qs(el->text()));
      });
      return w;
    }

    case Kind::Button: {
      auto* w = new QPushButton(qs(e.text()), parent);
      w->setAutoDefault(false);
      QObject::connect(w, &QPushButton::clicked, w, [el] { el->operator_click(); });
      bind_widget(e, w, [w, el](Prop p) {
        if (p == Prop::Text) w->setText(qs(el->text()));
      });
      return w;
    }

    case Kind::List: {
      // A click picks the row, then runs the list's handler (File1 loads
      // the parameter file picked).
      auto* w = new QListWidget(parent);
      fill_list(w, e);
      auto fill = std::make_shared<ListFill>();
      QObject::connect(w, &QListWidget::currentRowChanged, w, [el](int row) { el->set_selected(row); });
      QObject::connect(w, &QListWidget::itemClicked, w, [w, el](QListWidgetItem* item) {
        el->set_selected(w->row(item));
        if (el->handler && el->enabled()) el->click();
      });
      bind_widget(e, w, [w, el, fill](Prop p) {
        if (p == Prop::Rows) rows_changed(w, *el, fill);
        if (p == Prop::Selection && w->currentRow() != el->selected()) {
          QSignalBlocker block(w);
          w->setCurrentRow(el->selected());
        }
      });
      return w;
    }

    case Kind::Lamp: {
      auto* w = new Lamp(parent);
      w->set_color_index(e.color());
      bind_widget(e, w, [w, el](Prop p) {
        if (p == Prop::Color) w->set_color_index(el->color());
      });
      return w;
    }

    case Kind::Gauge: {
      auto* w = new QProgressBar(parent);
      // Its "50 %" wholly inside the bar, whatever the style draws around it.
      w->setAlignment(Qt::AlignCenter);
      w->setMinimumHeight(w->fontMetrics().height() + 8);
      auto show = [w, el] {
        w->setRange(0, std::max(el->max(), 1));
        w->setValue(std::clamp(el->value(), 0, std::max(el->max(), 1)));
      };
      show();
      bind_widget(e, w, [show](Prop p) {
        if (p == Prop::Value) show();
      });
      return w;
    }

    case Kind::Form:
    case Kind::MenuEntry:
    case Kind::Timer:
      break;
  }
  return nullptr;
}

}  // namespace brivel::gui
