// The card window's redraw at the row limit, and how close the remaining
// time of a run comes on the sample piece with the realistic board.
//
//   bench_card [benchmark options]      the redraw, Google Benchmark
//   bench_card --remaining data/sample.mid   the remaining-time table
#include <benchmark/benchmark.h>

#include <QApplication>
#include <QImage>
#include <QPainter>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include "app/console_app.h"
#include "board/board_model.h"
#include "card/live_run.h"
#include "console/model.h"
#include "geometry/note_names.h"
#include "gui/card_canvas.h"
#include "link/connection.h"
#include "platform/sim/board_peer.h"
#include "platform/sim/sim_platform.h"

namespace {

using namespace brivel;

// A piece of `rows` rows: chords of three on the 29 tracks of the default
// scale, one every 6 steps, and the card 4 mm a step apart.
CardLayout piece(int rows) {
  CardInput in;
  for (const DefaultTrack& t : kDefaultScale) {
    in.plan.notes.push_back(t.note);
    in.plan.positions.push_back(t.position);
  }
  int step = 10;
  for (int i = 0; static_cast<int>(in.plan.rows.size()) + 6 <= rows; ++i, step += 6) {
    char b[40];
    for (int j = 0; j < 3; ++j) {
      std::snprintf(b, sizeof b, "%07d %05d NOTE %07d", step, kDefaultScale[(i * 7 + j * 5) % 29].note, step + 3);
      in.plan.rows.push_back(b);
    }
    for (int j = 0; j < 3; ++j) {
      std::snprintf(b, sizeof b, "%07d %05d NTOF ", step + 3, kDefaultScale[(i * 7 + j * 5) % 29].note);
      in.plan.rows.push_back(b);
    }
  }
  std::sort(in.plan.rows.begin(), in.plan.rows.end());
  return lay_out_card(in);
}

// One full view, 900 by 700 pixels at the window's zoom, in the middle of
// the card.
void BM_CardRedraw(benchmark::State& state) {
  const CardLayout l = piece(static_cast<int>(state.range(0)));
  QImage img(900, 700, QImage::Format_ARGB32_Premultiplied);
  gui::CardView v;
  v.top_mm = l.length_mm / 2;
  for (auto _ : state) {
    QPainter p(&img);
    gui::paint_card(p, img.size(), l, nullptr, v);
  }
  state.counters["rows"] = static_cast<double>(state.range(0));
  state.counters["holes"] = static_cast<double>(l.holes.size());
}
BENCHMARK(BM_CardRedraw)->Arg(60)->Arg(32767)->Unit(benchmark::kMillisecond);

// Lays out a piece at the row limit: done once per opening.
void BM_CardLayout(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(piece(32767));
}
BENCHMARK(BM_CardLayout)->Unit(benchmark::kMillisecond);

// Punches `midi` on the simulated platform with the realistic board and
// prints, at points of the run, the estimate against the time the run took
// from there, beside a per-row average for comparison.
int remaining_table(const char* midi) {
  const std::string home = (std::filesystem::temp_directory_path() / "brivel-bench-card/").string();
  std::filesystem::create_directories(home);
  SimPlatform p;
  p.set_env("BRIVEL_HOME", home);
  BoardOptions realistic;
  realistic.instant = false;
  BoardModel board(realistic);
  BoardPeer peer(p, board);
  p.sim_serial().add_port(10, &peer);
  ConsoleApp app(p, ConsoleOptions{home, true});
  app.Form_Load();
  if (app.m.AdressePort.text() != "10")
    app.m.AdressePort.set_text("10");
  else
    ouvre_port(app.c);
  charge_noms_notes(app.c);
  p.sim_dialogs().open_answers.push_back(std::filesystem::absolute(midi).string());
  app.m.Ouvre_midi.set_enabled(true);
  app.m.Ouvre_midi.click();
  if (!app.m.Command11.enabled()) {
    std::fprintf(stderr, "%s : %s\n", midi, app.m.Label_defautP.text().c_str());
    return 1;
  }
  LiveRun live(app.c);
  struct Sample {
    int64_t at;
    double estimate, per_row;
  };
  std::vector<Sample> samples;
  live.on_change = [&] {
    if (!live.running() || !live.remaining_ms()) return;
    const double done = app.m.gauge1.value(), rows = app.m.List3.count();
    const double per_row = done > 0 ? live.elapsed_ms() / done * (rows - done) : 0;
    samples.push_back({p.now(), *live.remaining_ms(), per_row});
  };
  app.m.Command11.click();
  const int64_t end = p.now();
  if (samples.empty()) {
    std::fprintf(stderr, "%s : %s\n", midi, app.m.Label_defautP.text().c_str());
    return 1;
  }
  const int64_t start = samples.front().at;
  const double total = static_cast<double>(end - start);
  std::printf("%s : %d trous en %.1f s (horloge virtuelle)\n", midi, live.punched_count(), total / 1000);
  std::printf("%8s %10s %10s %10s %9s %9s\n", "à (s)", "réel (s)", "estimé", "par ligne", "écart", "par ligne");
  double worst = 0, worst_row = 0;
  for (double frac : {0.02, 0.05, 0.1, 0.2, 0.3, 0.4, 0.5, 0.6, 0.7, 0.8, 0.9}) {
    const int64_t t = start + static_cast<int64_t>(total * frac);
    auto it = std::lower_bound(samples.begin(), samples.end(), t, [](const Sample& s, int64_t v) { return s.at < v; });
    if (it == samples.end()) break;
    const double real = static_cast<double>(end - it->at);
    const double err = (it->estimate - real) / real * 100, err_row = (it->per_row - real) / real * 100;
    std::printf("%8.1f %10.1f %10.1f %10.1f %8.1f%% %8.1f%%\n", (it->at - start) / 1000.0, real / 1000,
                it->estimate / 1000, it->per_row / 1000, err, err_row);
    if (it->at - start >= 60000) {
      worst = std::max(worst, std::fabs(err));
      worst_row = std::max(worst_row, std::fabs(err_row));
    }
  }
  std::printf("Écart le plus grand après la première minute : %.1f %% (moyenne par ligne : %.1f %%)\n", worst,
              worst_row);
  std::filesystem::remove_all(home);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  qputenv("QT_QPA_PLATFORM", "offscreen");
  QApplication qapp(argc, argv);
  if (argc == 3 && std::strcmp(argv[1], "--remaining") == 0) return remaining_table(argv[2]);
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
