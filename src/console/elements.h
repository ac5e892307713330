// The kinds of named elements of the console. An element is at once a piece
// of the program's data and of the screen: the logic reads and writes them,
// the window mirrors them.
//
// The event rule: writing a value that differs from the present one runs the
// element's handler at once, inside the write, whoever writes it. Writing the
// same value runs nothing. Handlers may write other elements, or the same
// one, and may give the event loop turns: the write returns when its handler
// returns.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

namespace brivel {

class Model;

enum class Kind {
  Form,          // a window of the program
  TextField,     // text; change handler
  Label,         // caption; change handler where the system has one; may be clickable
  CheckBox,      // value 0, 1 or 2 (greyed); click handler on a change of value
  OptionButton,  // on or off; click handler
  Button,        // caption; click handler
  List,          // ordered text rows, indices from 0; some keep their rows sorted
  Frame,         // caption; a hidden frame hides what it holds
  Lamp,          // a colour of the 16-colour palette
  Gauge,         // a progress bar: value and maximum
  MenuEntry,     // caption, shortcut; click handler
  Timer,         // running or stopped, interval; tick handler
};

const char* kind_name(Kind k);

// Which property of an element changed, for the observers (the window).
enum class Prop { Text, Value, Enabled, Visible, Color, ToolTip, Rows, Selection, Geometry, Running };

// Colours of the 16-colour palette that the system uses by number.
namespace palette {
constexpr int kNone = -1;          // no colour of its own (a lamp before first use)
constexpr int kLightGreen = 10;
constexpr int kLightRed = 12;
constexpr int kLightMagenta = 13;
constexpr int kWhite = 15;
constexpr int kWindow = 100;       // the window background colour of the system
constexpr int kMenu = 101;         // the menu background colour of the system
constexpr int kButtonFace = 102;   // neutral colour of a lamp that is off or unused
}  // namespace palette

class Element {
 public:
  Element(Kind kind, std::string name) : kind_(kind), name_(std::move(name)) {}
  Element(const Element&) = delete;
  Element& operator=(const Element&) = delete;
  virtual ~Element() = default;

  Kind kind() const { return kind_; }
  const std::string& name() const { return name_; }
  // The frame, form or menu that holds the element ("" for the main window).
  const std::string& parent() const { return parent_; }

  // Text of a text field; caption of anything else that has one.
  const std::string& text() const { return text_; }
  // Writes the text. For text fields and labels a different text runs the
  // change handler inside the write; for other kinds it is only a caption.
  void set_text(const std::string& t);

  bool enabled() const { return enabled_; }
  void set_enabled(bool on);
  bool visible() const { return visible_; }
  void set_visible(bool on);
  const std::string& tooltip() const { return tooltip_; }
  void set_tooltip(const std::string& t);
  // Background colour (text fields: the note state), fill colour of a lamp.
  int color() const { return color_; }
  void set_color(int c);

  // Static texts the window shows around the element: the label before it and
  // the unit after it. They never change.
  const std::string& label() const { return label_; }
  const std::string& unit() const { return unit_; }
  // Horizontal place in twips, for the few frames that stand beyond the edge
  // of the narrow window; the window shows those only when it is wide enough.
  int x_twips() const { return x_twips_; }

  // The handler: change of a text field or label, click of a check box,
  // option, button, menu entry or clickable label, tick of a timer.
  std::function<void()> handler;

  // A click by the program: runs the handler whatever the state.
  void click();
  // A click by the operator, through the window or a script. Refused (false)
  // when the element is disabled or hidden, or has nothing to click. A check
  // box toggles; an option button turns on.
  bool operator_click();

  // --- kind-specific state, meaningful for the kinds named ------------------
  // CheckBox: 0, 1, 2. OptionButton: 0 or 1. Gauge: the value.
  int value() const { return value_; }
  void set_value(int v);
  int max() const { return max_; }  // Gauge
  void set_max(int m);
  const std::string& shortcut() const { return shortcut_; }  // MenuEntry
  int interval() const { return interval_; }                // Timer
  bool clickable() const { return clickable_; }             // Label
  int width() const { return width_; }                      // Form, twips
  int height() const { return height_; }
  void set_size(int w, int h);

  // List rows. A sorted list places each new row by the order of its bytes
  // (blank, "#", digits, capitals); identical rows all stay. Sorting is done
  // lazily, so filling a long list costs n log n and not n squared.
  bool sorted() const { return sorted_; }
  int count() const { return static_cast<int>(rows_.size()); }
  const std::string& row(int i) const;
  const std::vector<std::string>& rows() const;
  void add_row(const std::string& r);
  void clear_rows();
  void set_rows(std::vector<std::string> rows);
  int selected() const { return selected_; }  // -1: none
  void set_selected(int i);

 protected:
  friend class Model;
  void notify(Prop p);

  Kind kind_;
  std::string name_;
  std::string parent_;
  std::string text_;
  std::string tooltip_;
  std::string label_, unit_;
  std::string shortcut_;
  bool enabled_ = true;
  bool visible_ = true;
  bool clickable_ = false;
  int color_ = palette::kNone;
  int value_ = 0;
  int max_ = 100;
  int interval_ = 0;
  int width_ = 0, height_ = 0;
  int x_twips_ = 0;
  bool sorted_ = false;
  mutable std::vector<std::string> rows_;
  mutable std::size_t sorted_upto_ = 0;  // rows_[0, sorted_upto_) are in order
  int selected_ = -1;
  Model* model_ = nullptr;
};

// An array of elements under one name, "Note(3)", with the indices the
// system gives them.
class ElementArray {
 public:
  Element& operator()(int index);
  const Element& operator()(int index) const;
  bool has(int index) const { return items_.count(index) > 0; }
  const std::map<int, Element*>& items() const { return items_; }

 private:
  friend class Model;
  std::map<int, Element*> items_;
};

}  // namespace brivel
