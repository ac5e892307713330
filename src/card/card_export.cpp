#include "card/card_export.h"

#include "core/cp1252.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <vector>

namespace brivel {

namespace {

constexpr double kTileW = 190, kTileH = 277;  // mm of card on one A4 page
constexpr double kMargin = 10;                // mm of paper around the tile
constexpr double kPt = 72.0 / 25.4;           // PDF points in a millimetre
constexpr double kBandeNoms = 5;              // mm above the card for the track names

// A text for the PDF's standard font: Windows-1252, with the brackets and
// the backslash escaped and every byte beyond ASCII in octal.
std::string pdf_texte(const std::string& utf8) {
  std::string o;
  for (unsigned char ch : utf8_to_cp1252(utf8)) {
    if (ch == '(' || ch == ')' || ch == '\\') {
      o += '\\';
      o += static_cast<char>(ch);
    } else if (ch < 32 || ch > 126) {
      char b[8];
      std::snprintf(b, sizeof b, "\\%03o", ch);
      o += b;
    } else {
      o += static_cast<char>(ch);
    }
  }
  return o;
}

std::string fmt(double v) {
  char b[32];
  std::snprintf(b, sizeof b, "%.3f", v);
  std::string s = b;
  while (s.back() == '0') s.pop_back();
  if (s.back() == '.') s.pop_back();
  return s == "-0" ? "0" : s;
}

std::string xml(const std::string& s) {
  std::string o;
  for (char ch : s) {
    if (ch == '&')
      o += "&amp;";
    else if (ch == '<')
      o += "&lt;";
    else if (ch == '>')
      o += "&gt;";
    else if (ch == '"')
      o += "&quot;";
    else
      o += ch;
  }
  return o;
}

// The drawing's top, in mm of the card, and its length.
double top_mm(const CardLayout& l, CardRange r) { return l.y_mm(r.from); }
double length_mm(const CardLayout& l, CardRange r) {
  return std::max(1.0, l.y_mm(r.to) - l.y_mm(r.from) + l.punch_mm + 5);
}

}  // namespace

CardRange whole_card(const CardLayout& l) { return {0, static_cast<double>(l.last_step)}; }

CardRange run_bounds(const CardLayout& l) {
  return {std::max(0.0, l.start_step), std::min(static_cast<double>(l.last_step), l.end_step)};
}

std::string card_svg(const CardLayout& l, CardRange r) {
  const double top = top_mm(l, r), len = length_mm(l, r), w = l.width_mm;
  std::string o = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
  // The names stand in a band above the card, every other one lower, so
  // that no hole covers them and no two run together.
  o += "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" + fmt(w) + "mm\" height=\"" + fmt(len + kBandeNoms) +
       "mm\" viewBox=\"0 " + fmt(-kBandeNoms) + " " + fmt(w) + " " + fmt(len + kBandeNoms) + "\">\n";
  if (!l.title.empty()) o += "<title>" + xml(l.title) + "</title>\n";
  o += "<rect class=\"carton\" x=\"0\" y=\"0\" width=\"" + fmt(w) + "\" height=\"" + fmt(len) +
       "\" fill=\"#f4ecd8\" stroke=\"#806040\" stroke-width=\"0.2\"/>\n";
  auto shade = [&](double y0, double y1) {
    y0 = std::max(0.0, y0 - top);
    y1 = std::min(len, y1 - top);
    if (y1 > y0)
      o += "<rect class=\"hors-bornes\" x=\"0\" y=\"" + fmt(y0) + "\" width=\"" + fmt(w) + "\" height=\"" +
           fmt(y1 - y0) + "\" fill=\"#808080\" fill-opacity=\"0.25\"/>\n";
  };
  shade(top, l.y_mm(l.start_step));
  shade(l.y_mm(l.end_step) + l.punch_mm, top + len);
  for (size_t i = 0; i < l.tracks.size(); ++i) {
    const CardTrack& t = l.tracks[i];
    o += "<line class=\"piste\" x1=\"" + fmt(t.x_mm) + "\" y1=\"0\" x2=\"" + fmt(t.x_mm) + "\" y2=\"" + fmt(len) +
         "\" stroke=\"#c0b090\" stroke-width=\"0.1\"/>\n";
    o += "<text class=\"nom\" x=\"" + fmt(t.x_mm) + "\" y=\"" + (i % 2 ? "-0.6" : "-2.8") +
         "\" font-size=\"1.6\" text-anchor=\"middle\">" + xml(t.name) + "</text>\n";
  }
  const auto [a, b] = l.holes_between(r.from, r.to);
  for (size_t i = a; i < b; ++i) {
    const CardLayout::Rect h = l.rect(l.holes[i]);
    o += "<rect class=\"trou\" x=\"" + fmt(h.x) + "\" y=\"" + fmt(h.y - top) + "\" width=\"" + fmt(h.w) +
         "\" height=\"" + fmt(h.h) + "\"/>\n";
  }
  o += "</svg>\n";
  return o;
}

int card_pdf_pages(const CardLayout& l, CardRange r) {
  const int cols = std::max(1, static_cast<int>(std::ceil(l.width_mm / kTileW)));
  const int rows = std::max(1, static_cast<int>(std::ceil(length_mm(l, r) / kTileH)));
  return cols * rows;
}

std::string card_pdf(const CardLayout& l, CardRange r) {
  const int cols = std::max(1, static_cast<int>(std::ceil(l.width_mm / kTileW)));
  const int pages = card_pdf_pages(l, r);
  const double top = top_mm(l, r), len = length_mm(l, r);
  const double page_h = 297;
  // PDF draws upwards from the bottom left, in points.
  auto X = [](double mm) { return fmt((kMargin + mm) * kPt); };
  auto Y = [&](double mm) { return fmt((page_h - kMargin - mm) * kPt); };

  std::vector<std::string> contents;
  for (int p = 0; p < pages; ++p) {
    const int row = p / cols, col = p % cols;
    const double x0 = col * kTileW, y0 = row * kTileH;
    const double tw = std::min(kTileW, l.width_mm - x0), th = std::min(kTileH, len - y0);
    std::string s = "0.5 w 0.5 G\n";
    // The tile's edge of card and the crosses at its corners, to lay the
    // pages edge to edge.
    s += X(0) + " " + Y(th) + " " + fmt(tw * kPt) + " " + fmt(th * kPt) + " re S\n";
    for (double cx : {0.0, tw})
      for (double cy : {0.0, th}) {
        s += X(cx - 4) + " " + Y(cy) + " m " + X(cx + 4) + " " + Y(cy) + " l S\n";
        s += X(cx) + " " + Y(cy - 4) + " m " + X(cx) + " " + Y(cy + 4) + " l S\n";
      }
    s += "0.2 w 0.75 G\n";
    for (const CardTrack& t : l.tracks)
      if (t.x_mm >= x0 && t.x_mm <= x0 + tw)
        s += X(t.x_mm - x0) + " " + Y(0) + " m " + X(t.x_mm - x0) + " " + Y(th) + " l S\n";
    s += "0 g\n";
    // The track names above the first row of pages, in the paper's margin.
    if (row == 0)
      for (size_t i = 0; i < l.tracks.size(); ++i) {
        const CardTrack& t = l.tracks[i];
        if (t.x_mm < x0 || t.x_mm > x0 + tw || t.name.empty()) continue;
        s += "BT /F1 5 Tf " + X(t.x_mm - x0 - 1.2) + " " + Y(i % 2 ? -1.5 : -4.5) + " Td (" + pdf_texte(t.name) +
             ") Tj ET\n";
      }
    // Holes whose rectangle touches the tile, clipped to it.
    const auto [a, b] = l.holes_between(l.step_at(top + y0 - l.punch_mm), l.step_at(top + y0 + th));
    for (size_t i = a; i < b; ++i) {
      CardLayout::Rect h = l.rect(l.holes[i]);
      double hx = h.x - x0, hy = h.y - top - y0;
      double hx1 = std::min(hx + h.w, tw), hy1 = std::min(hy + h.h, th);
      hx = std::max(hx, 0.0);
      hy = std::max(hy, 0.0);
      if (hx1 <= hx || hy1 <= hy) continue;
      s += X(hx) + " " + Y(hy1) + " " + fmt((hx1 - hx) * kPt) + " " + fmt((hy1 - hy) * kPt) + " re f\n";
    }
    char label[96];
    std::snprintf(label, sizeof label, "Page %d / %d (rang\\351e %d, colonne %d)", p + 1, pages, row + 1, col + 1);
    const std::string titre = l.title.empty() ? std::string() : pdf_texte(l.title) + " - ";
    s += "BT /F1 9 Tf " + fmt(kMargin * kPt) + " " + fmt(4 * kPt) + " Td (" + titre + label + ") Tj ET\n";
    contents.push_back(std::move(s));
  }

  // Objects: 1 catalogue, 2 page tree, 3 font, then a page and its content
  // for each page.
  std::string o = "%PDF-1.4\n%\xE2\xE3\xCF\xD3\n";
  std::vector<size_t> offsets;
  auto object = [&](const std::string& body) {
    offsets.push_back(o.size());
    o += std::to_string(offsets.size()) + " 0 obj\n" + body + "\nendobj\n";
  };
  object("<< /Type /Catalog /Pages 2 0 R >>");
  std::string kids;
  for (int p = 0; p < pages; ++p) kids += std::to_string(4 + 2 * p) + " 0 R ";
  object("<< /Type /Pages /Kids [" + kids + "] /Count " + std::to_string(pages) + " >>");
  object("<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica /Encoding /WinAnsiEncoding >>");
  for (int p = 0; p < pages; ++p) {
    object("<< /Type /Page /Parent 2 0 R /MediaBox [0 0 " + fmt(210 * kPt) + " " + fmt(297 * kPt) +
           "] /Resources << /Font << /F1 3 0 R >> >> /Contents " + std::to_string(5 + 2 * p) + " 0 R >>");
    object("<< /Length " + std::to_string(contents[p].size()) + " >>\nstream\n" + contents[p] + "endstream");
  }
  object("<< /Title (" + pdf_texte(l.title.empty() ? "Carton" : l.title) + ") /Creator (Brivel) >>");
  const size_t info = offsets.size();
  const size_t xref = o.size();
  o += "xref\n0 " + std::to_string(offsets.size() + 1) + "\n0000000000 65535 f \n";
  for (size_t off : offsets) {
    char b[24];
    std::snprintf(b, sizeof b, "%010zu 00000 n \n", off);
    o += b;
  }
  o += "trailer\n<< /Size " + std::to_string(offsets.size() + 1) + " /Root 1 0 R /Info " + std::to_string(info) +
       " 0 R >>\nstartxref\n" +
       std::to_string(xref) + "\n%%EOF\n";
  return o;
}

}  // namespace brivel
