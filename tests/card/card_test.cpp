// The card drawn from a piece: its holes in the SVG, the PDF's pages, the
// transposition table, and what the live view learns while a run punches.
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

#include <filesystem>
#include <regex>

#include "card/card_export.h"
#include "card/live_run.h"
#include "support/punch_rig.h"

namespace brivel::test {
namespace {

// A held note 60 (steps 74 to 107), a chord 62 + 64 (147 to 151) and a short
// note 65 at 219, on the default console: 0.83 mm a step, punch 3 mm, X
// steps of 0.21 mm, tracks 4.2 mm apart, first track 6.3 mm from the edge.
const std::string kPiece = fichier_evenements(
    {note_line(1000, 60, 500), note_line(2000, 62, 100), note_line(2000, 64, 100), note_line(3000, 65, 0)}, 3100);

struct SvgRect {
  double x, y, w, h;
};

std::vector<SvgRect> holes_in(const std::string& svg) {
  std::vector<SvgRect> out;
  static const std::regex re(
      R"re(<rect class="trou" x="([-0-9.]+)" y="([-0-9.]+)" width="([0-9.]+)" height="([0-9.]+)"/>)re");
  for (auto it = std::sregex_iterator(svg.begin(), svg.end(), re); it != std::sregex_iterator(); ++it)
    out.push_back({std::stod((*it)[1]), std::stod((*it)[2]), std::stod((*it)[3]), std::stod((*it)[4])});
  return out;
}

TEST(CardDrawing, SvgHolesInMillimetres) {
  PunchRig r;
  ASSERT_TRUE(r.load(kPiece));
  const CardLayout l = lay_out_card(card_input(r.c));
  const std::string svg = card_svg(l, whole_card(l));
  // Widest track 490 X steps: 102.9 mm, plus the 6.3 mm of the edge.
  EXPECT_NE(svg.find(R"(width="109.2mm")"), std::string::npos);
  // 219 steps of 0.83 mm, the punch's 3 mm and 5 mm of margin; above the
  // card, 5 mm for the names, in two rows where holes can't cover them.
  EXPECT_NE(svg.find(R"(height="194.77mm" viewBox="0 -5 109.2 194.77")"), std::string::npos);
  EXPECT_NE(svg.find(R"(<text class="nom" x="5.25" y="-2.8")"), std::string::npos);
  EXPECT_NE(svg.find(R"(<text class="nom" x="8.82" y="-0.6")"), std::string::npos);
  EXPECT_EQ(std::regex_replace(svg, std::regex(R"(<text class="nom"[^>]*>[^<]*</text>\n)"), "").find("<text"),
            std::string::npos)
      << "every name closed";
  const auto holes = holes_in(svg);
  ASSERT_EQ(holes.size(), 19u);
  struct Case {
    size_t i;
    double x, y;  // left and top, mm
  };
  // Left: Position x 0.21 less half of the 2.1 mm hole. Top: step x 0.83.
  const Case cases[] = {{0, 108 * 0.21 - 1.05, 74 * 0.83},   {1, 108 * 0.21 - 1.05, 77 * 0.83},
                        {11, 108 * 0.21 - 1.05, 107 * 0.83}, {12, 125 * 0.21 - 1.05, 147 * 0.83},
                        {14, 141 * 0.21 - 1.05, 150 * 0.83}, {18, 158 * 0.21 - 1.05, 219 * 0.83}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.i);
    EXPECT_NEAR(holes[c.i].x, c.x, 1e-3);
    EXPECT_NEAR(holes[c.i].y, c.y, 1e-3);
    EXPECT_DOUBLE_EQ(holes[c.i].w, 2.1);
    EXPECT_DOUBLE_EQ(holes[c.i].h, 3);
  }
  // A held note is a row of touching holes: 3 steps of 0.83 mm under a 3 mm
  // punch overlap, so no card stands between them.
  EXPECT_LE(holes[1].y, holes[0].y + holes[0].h);

  // The bounds, 2 s to the end: 2000 ms over 13.83 ms a step is step 144,
  // where the drawing starts; the chord's first holes are 3 steps below.
  r.m.Deb_perf_sec.set_text("2");
  const CardLayout b = lay_out_card(card_input(r.c));
  const auto bounded = holes_in(card_svg(b, run_bounds(b)));
  ASSERT_EQ(bounded.size(), 7u);
  EXPECT_NEAR(bounded[0].y, 3 * 0.83, 1e-3);
}

TEST(CardDrawing, PdfPagesOfALongPiece) {
  // A note every 10 steps over 100 000 steps: 83 km... of card at 0.83 mm a
  // step is 83 m, one column of A4 tiles of 277 mm.
  CardInput in;
  for (int s = 10; s <= 100000; s += 10) {
    char b[64];
    std::snprintf(b, sizeof b, "%07d 00060 NOTE %07d", s, s);
    in.plan.rows.push_back(b);
    std::snprintf(b, sizeof b, "%07d 00060 NTOF ", s);
    in.plan.rows.push_back(b);
  }
  in.plan.notes = {60, 62};
  in.plan.positions = {30, 50};
  in.names = {"Do3", "Ré3"};
  in.title = "Valse été - Orgue";
  const CardLayout l = lay_out_card(in);
  struct Case {
    const char* name;
    CardRange range;
    int pages;
  };
  const Case cases[] = {
      // 83 000 mm + 3 + 5 over 277 mm a page.
      {"whole card", whole_card(l), 300},
      // 1000 steps from 0: 830 + 8 mm.
      {"first 1000 steps", {0, 1000}, 4},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const std::string pdf = card_pdf(l, c.range);
    EXPECT_EQ(card_pdf_pages(l, c.range), c.pages);
    EXPECT_NE(pdf.find("/Count " + std::to_string(c.pages) + " >>"), std::string::npos);
    size_t n = 0;
    for (size_t at = pdf.find("/Type /Page /Parent"); at != std::string::npos;
         at = pdf.find("/Type /Page /Parent", at + 1))
      ++n;
    EXPECT_EQ(n, static_cast<size_t>(c.pages));
    EXPECT_NE(pdf.find(" - Page " + std::to_string(c.pages) + " / " + std::to_string(c.pages)), std::string::npos);
    EXPECT_EQ(pdf.substr(pdf.size() - 6), "%%EOF\n");
    EXPECT_NE(pdf.find("/Title (Valse \\351t\\351 - Orgue)"), std::string::npos);
    EXPECT_NE(pdf.find("Td (Valse \\351t\\351 - Orgue - Page 1 / " + std::to_string(c.pages) +
                       " (rang\\351e 1, colonne 1)) Tj"),
              std::string::npos);
    EXPECT_NE(pdf.find("Td (Do3) Tj"), std::string::npos) << "the names above the first pages";
    // A4 pages; the first tile 277 mm high, 10 mm in from the paper's
    // corner, with 4 mm crosses at its corners to lay the pages edge to edge.
    EXPECT_NE(pdf.find("/MediaBox [0 0 595.276 841.89]"), std::string::npos);
    EXPECT_TRUE(std::regex_search(pdf, std::regex(R"(\n28\.346 28\.346 [0-9.]+ 785\.197 re S\n)")));
    EXPECT_NE(pdf.find("\n17.008 813.543 m 39.685 813.543 l S\n28.346 824.882 m 28.346 802.205 l S\n"),
              std::string::npos);
    // Each kid of the page tree is a page object.
    const size_t kids = pdf.find("/Kids [") + 7;
    std::istringstream in(pdf.substr(kids, pdf.find(']', kids) - kids));
    for (int obj, gen; in >> obj >> gen;) {
      std::string r;
      in >> r;
      EXPECT_NE(pdf.find("\n" + std::to_string(obj) + " 0 obj\n<< /Type /Page /Parent"), std::string::npos) << obj;
    }
  }
  // A card wider than the paper takes two columns.
  in.plan.positions = {30, 1000};  // 210 mm
  const CardLayout wide = lay_out_card(in);
  EXPECT_EQ(card_pdf_pages(wide, {0, 1000}), 8);
  const std::string tiles = card_pdf(wide, {0, 1000});
  for (const char* label : {"Page 2 / 8 (rang\\351e 1, colonne 2)", "Page 3 / 8 (rang\\351e 2, colonne 1)"})
    EXPECT_NE(tiles.find(label), std::string::npos) << label;
}

TEST(CardDrawing, TranspositionTable) {
  const std::vector<int> scale = {60, 62, 64, 65, 67};
  const std::vector<int> piece = {60, 62, 64, 65, 66};
  const auto table = transpositions(piece, scale);
  ASSERT_EQ(table.size(), 25u);
  const std::pair<int, int> cases[] = {{-12, 5}, {-2, 2}, {-1, 3}, {0, 1}, {1, 3}, {2, 2}, {12, 5}};
  for (auto [shift, outside] : cases) {
    EXPECT_EQ(table[shift + 12].shift, shift);
    EXPECT_EQ(table[shift + 12].outside, outside) << shift;
  }
  const auto best = best_transpositions(table, 3);
  ASSERT_EQ(best.size(), 3u);
  EXPECT_EQ(best[0].shift, 0);
  EXPECT_EQ(std::abs(best[1].shift), 2);
  EXPECT_EQ(std::abs(best[2].shift), 2);
}

TEST(LiveRun, RemainingTimeOfAChainAndToADeferredStart) {
  // Three files of two held notes, chained, started ten minutes on. The
  // later files are read from their MIDI files to count their work; the
  // estimate at the first hole is held against the chain's real end.
  BoardOptions realistic;
  realistic.instant = false;
  PunchRig r(realistic);
  r.open_chain_of_three();
  ASSERT_TRUE(r.m.Command11.enabled()) << r.m.Label_defautP.text();
  LiveRun live(r.c);
  EXPECT_FALSE(live.deferred_start_ms());
  r.p.set_time_of_day(12 * 3600 - static_cast<int>(r.p.now() / 1000));
  r.p.sim_dialogs().input_answers.push_back("12:10");
  r.m.perfo_retard.click();
  ASSERT_TRUE(live.deferred_start_ms());
  EXPECT_NEAR(*live.deferred_start_ms(), 601000, 1000);
  // The three files at the durations sent, the two feeds and openings: a
  // lower bound, near the time from the first row to the chain's end.
  const double planned = live.planned_ms();
  r.p.run_for(300000);
  EXPECT_NEAR(*live.deferred_start_ms(), 301000, 1000) << "counts down";

  std::optional<std::pair<int64_t, double>> first;  // (virtual ms, chain estimate)
  std::optional<int64_t> walking;                    // the first file's first row
  live.on_change = [&] {
    if (live.running() && !walking) walking = r.p.now();
    if (auto chain = live.chain_remaining_ms()) {
      if (!first && live.punched_count() == 1) first = {r.p.now(), *chain};
    }
  };
  r.p.run_until([&] { return r.s.perforation_lancee; }, 700000);
  r.p.run_until([&] { return !r.s.run_on_stack; }, 3600000);
  EXPECT_EQ(r.board.holes().size(), 36u);
  ASSERT_TRUE(first);
  const double real = static_cast<double>(r.p.now() - first->first);
  EXPECT_NEAR(first->second, real, 0.03 * real);
  ASSERT_TRUE(walking);
  const double total = static_cast<double>(r.p.now() - *walking);
  EXPECT_LT(planned, total);
  EXPECT_GT(planned, 0.9 * total);
  EXPECT_FALSE(live.chain_remaining_ms()) << "no file left behind the last";
  EXPECT_FALSE(live.deferred_start_ms());
  // The chain's total and each file's; between files the line said which
  // one came next.
  EXPECT_EQ(std::regex_replace(live.summary(), std::regex("en .* - "), "en - "),
            "Chaîne terminée en - 36 trous : a 12, b 12, c 12");
  for (const char* next : {"b.mid (2 sur 3)", "c.mid (3 sur 3)"})
    EXPECT_NE(std::find(r.service.begin(), r.service.end(), std::string("Avance du carton - fichier suivant : ") + next),
              r.service.end())
        << next;
}

// What the card view counts agrees with what the run punches: a piece
// opened while the view redraws at every change, a pause that leaves the
// time to go where it stood, a bounded run's bar from 0 to 100 %, and the
// end that tells the hole punched again apart.
TEST(LiveRun, NumbersAgree) {
  const std::string longer = fichier_evenements(
      {note_line(1000, 60, 2500), note_line(5000, 62, 100), note_line(6000, 64, 900), note_line(8000, 65, 0)}, 8100);
  PunchRig r;
  LiveRun live(r.c);
  live.on_change = [&] { live.layout(); };  // the view redraws at each change
  // Its last hole stands in the fraction of a second past the end field.
  const std::string piece = fichier_evenements(
      {note_line(1000, 60, 500), note_line(2000, 62, 100), note_line(2000, 64, 100), note_line(3040, 65, 0)}, 3100);
  ASSERT_TRUE(r.load(longer));
  ASSERT_TRUE(r.load(piece));
  LiveRun fresh(r.c);
  EXPECT_EQ(live.layout().run_holes.size(), fresh.layout().run_holes.size());
  EXPECT_EQ(live.layout().holes.size(), fresh.layout().holes.size());
  // Bounded to its second half, paused at its third row done.
  r.m.Deb_perf_sec.set_text("2");
  std::vector<int> bar;
  std::optional<double> before_pause, after_pause;
  bool paused = false;
  r.m.subscribe([&](Element& e, Prop p) {
    if (&e == &r.m.gauge1 && p == Prop::Value) bar.push_back(e.value() * 100 / std::max(1, r.m.gauge1.max()));
  });
  r.s.evenements.subscribe([&](const RunEvent& e) {
    if (e.kind == RunEvent::Kind::Hole && !paused && live.punched_count() == 2) {
      paused = true;
      before_pause = live.remaining_ms();
      r.m.Command12.operator_click();
    } else if (e.kind == RunEvent::Kind::Hole && e.again) {
      after_pause = live.remaining_ms();
    }
  });
  r.continue_after(5000);
  r.punch();
  EXPECT_EQ(r.m.Label_defautP.text(), "Perforation terminée");
  ASSERT_FALSE(bar.empty());
  EXPECT_LE(bar.front(), 20) << "the bar starts at the start bound";
  EXPECT_EQ(bar.back(), 100);
  EXPECT_TRUE(std::is_sorted(bar.begin(), bar.end()));
  ASSERT_TRUE(before_pause && after_pause);
  EXPECT_LE(*after_pause, *before_pause) << "no jump at Continuer";
  EXPECT_GT(*after_pause, *before_pause - 1000);
  EXPECT_EQ(static_cast<int>(live.layout().run_holes.size()), r.s.trous_confirmes - r.s.trous_repetes);
  EXPECT_EQ(std::regex_replace(live.summary(), std::regex("en .* - "), "en - "),
            "Perforation terminée en - " + std::to_string(live.layout().run_holes.size()) + " trous (et 1 refait)");
}

}  // namespace
}  // namespace brivel::test
