// The card on paper, at 1:1: an SVG drawing of the whole card or of the
// run's bounds, and a PDF of the same tiled on A4 pages with alignment marks
// and page numbers, for checking a card or punching it by hand. The card
// window and brivel-card both call these.
#pragma once

#include <string>

#include "card/card_layout.h"

namespace brivel {

// The stretch of card drawn, in steps of the event list.
struct CardRange {
  double from = 0, to = 0;
};
CardRange whole_card(const CardLayout& l);
CardRange run_bounds(const CardLayout& l);

// SVG with width and height in millimetres and a viewBox in millimetres:
// one <rect class="trou"> per hole, the tracks as thin lines with their note
// names, the stretches outside the run's bounds shaded.
std::string card_svg(const CardLayout& l, CardRange r);

// A4 portrait pages of 190 by 277 mm of card each, columns across the card
// first; each page carries crosses at the four corners of its tile and
// "Page n / N (rangée r, colonne c)".
std::string card_pdf(const CardLayout& l, CardRange r);
// How many pages card_pdf makes.
int card_pdf_pages(const CardLayout& l, CardRange r);

}  // namespace brivel
