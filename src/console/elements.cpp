#include "console/elements.h"

#include <algorithm>
#include <stdexcept>

#include "console/model.h"

namespace brivel {

const char* kind_name(Kind k) {
  switch (k) {
    case Kind::Form: return "form";
    case Kind::TextField: return "text";
    case Kind::Label: return "label";
    case Kind::CheckBox: return "check";
    case Kind::OptionButton: return "option";
    case Kind::Button: return "button";
    case Kind::List: return "list";
    case Kind::Frame: return "frame";
    case Kind::Lamp: return "lamp";
    case Kind::Gauge: return "gauge";
    case Kind::MenuEntry: return "menu";
    case Kind::Timer: return "timer";
  }
  return "?";
}

void Element::notify(Prop p) {
  if (model_) model_->changed(*this, p);
}

void Element::set_text(const std::string& t) {
  if (t == text_) return;
  text_ = t;
  notify(Prop::Text);
  if ((kind_ == Kind::TextField || kind_ == Kind::Label) && handler) handler();
}

void Element::set_enabled(bool on) {
  if (on == enabled_) return;
  enabled_ = on;
  notify(kind_ == Kind::Timer ? Prop::Running : Prop::Enabled);
}

void Element::set_visible(bool on) {
  if (on == visible_) return;
  visible_ = on;
  notify(Prop::Visible);
}

void Element::set_tooltip(const std::string& t) {
  if (t == tooltip_) return;
  tooltip_ = t;
  notify(Prop::ToolTip);
}

void Element::set_color(int c) {
  if (c == color_) return;
  color_ = c;
  notify(Prop::Color);
}

void Element::set_value(int v) {
  if (v == value_) return;
  value_ = v;
  notify(Prop::Value);
  if (handler && (kind_ == Kind::CheckBox || (kind_ == Kind::OptionButton && v != 0))) handler();
}

void Element::set_max(int m) {
  if (m == max_) return;
  max_ = m;
  notify(Prop::Value);
}

void Element::set_size(int w, int h) {
  if (w == width_ && h == height_) return;
  width_ = w;
  height_ = h;
  notify(Prop::Geometry);
}

void Element::click() {
  if (handler) handler();
}

bool Element::operator_click() {
  if (!enabled_ || !visible_) return false;
  if (model_ && !model_->reachable(*this)) return false;
  switch (kind_) {
    case Kind::CheckBox:
      set_value(value_ == 1 ? 0 : 1);
      return true;
    case Kind::OptionButton:
      if (value_ == 0)
        set_value(1);
      else
        click();
      return true;
    case Kind::Button:
    case Kind::MenuEntry:
      if (text_ == "-") return false;
      click();
      return true;
    case Kind::Label:
      if (!clickable_) return false;
      click();
      return true;
    default:
      return false;
  }
}

const std::string& Element::row(int i) const {
  const auto& r = rows();
  if (i < 0 || i >= static_cast<int>(r.size())) throw std::out_of_range(name_ + ": no row " + std::to_string(i));
  return r[i];
}

const std::vector<std::string>& Element::rows() const {
  if (sorted_ && sorted_upto_ < rows_.size()) {
    auto mid = rows_.begin() + static_cast<std::ptrdiff_t>(sorted_upto_);
    std::sort(mid, rows_.end());
    std::inplace_merge(rows_.begin(), mid, rows_.end());
    sorted_upto_ = rows_.size();
  }
  return rows_;
}

void Element::add_row(const std::string& r) {
  rows_.push_back(r);
  if (!sorted_) sorted_upto_ = rows_.size();
  notify(Prop::Rows);
}

void Element::clear_rows() {
  rows_.clear();
  sorted_upto_ = 0;
  if (selected_ != -1) {
    selected_ = -1;
    notify(Prop::Selection);
  }
  notify(Prop::Rows);
}

void Element::set_rows(std::vector<std::string> rows) {
  rows_ = std::move(rows);
  sorted_upto_ = sorted_ ? 0 : rows_.size();
  selected_ = -1;
  notify(Prop::Rows);
}

void Element::set_selected(int i) {
  if (i < -1 || i >= count()) i = -1;
  if (i == selected_) return;
  selected_ = i;
  notify(Prop::Selection);
}

Element& ElementArray::operator()(int index) {
  auto it = items_.find(index);
  if (it == items_.end()) throw std::out_of_range("no element at index " + std::to_string(index));
  return *it->second;
}

const Element& ElementArray::operator()(int index) const {
  auto it = items_.find(index);
  if (it == items_.end()) throw std::out_of_range("no element at index " + std::to_string(index));
  return *it->second;
}

}  // namespace brivel
