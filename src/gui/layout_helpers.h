// Small helpers shared by the page builders: a row of label, field and unit
// in a grid, fields sized to what they hold, the red of fault captions.
#pragma once

#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>

#include "gui/binder.h"

namespace brivel::gui {

// Makes `e`'s widget and puts its label, the widget and its unit on `row` of
// `g`, from column `col` (three columns). Check boxes whose caption is their
// own text take their label into the first column. Returns the widget.
QWidget* field_row(Binder& b, QGridLayout* g, int row, Element& e, int col = 0);

// Fixes the width of a text field to about `chars` digits.
void size_for_chars(QWidget* w, int chars);

// Fault captions are red.
void mark_fault(QWidget* w);

// `w` shows `e`'s text in red while it tells of a fault, in the usual colour
// otherwise; it follows each change of the text.
void colour_by_kind(Model& m, Element& e, QLabel* w);

// A bold caption.
void embolden(QWidget* w);

}  // namespace brivel::gui
