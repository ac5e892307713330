// Opening a piece at the row limit of the event list: 16383 notes, 32766
// rows, read from a text event file and placed in the sorted List3 with the
// intermediate steps and the analysis. The two-second wait of an opening
// is not in it.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <filesystem>
#include <string>

#include "app/console_app.h"
#include "import/ouvre_midi.h"
#include "import/refus_import.h"
#include "platform/sim/sim_platform.h"

namespace {

std::string piece_at_the_limit() {
  std::string file;
  char buf[80];
  for (int i = 0; i < 16383; ++i) {
    // One short note every 100 ms over 40 keys: two rows each and no
    // intermediate step, which would take the list past its limit.
    std::snprintf(buf, sizeof buf, "NOTE %07d 000000 00001 %05d %05d 00100 C3\r\n", i * 100, 48 + i % 40, 0);
    file += buf;
  }
  return file;
}

void BM_ImportAtTheRowLimit(benchmark::State& state) {
  const std::string file = piece_at_the_limit();
  const std::string home = (std::filesystem::temp_directory_path() / "brivel-bench-import/").string();
  brivel::SimPlatform p;
  p.set_env("BRIVEL_HOME", home);
  brivel::ConsoleApp app(p, brivel::ConsoleOptions{home, true});
  app.Form_Load();
  const brivel::ReglagesImport r = *brivel::prepare_import(brivel::champs_import(app.m)).reglages;
  for (auto _ : state) {
    brivel::importe_evenements(app.c, file, r);
    benchmark::DoNotOptimize(app.m.List3.rows().data());
  }
  state.counters["rows"] = app.m.List3.count();
  std::error_code ec;
  std::filesystem::remove_all(home, ec);
}
BENCHMARK(BM_ImportAtTheRowLimit)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
