// The decoder on generated format-1 files of 1 MB and 10 MB: many tracks,
// hundreds of tempo changes, running status.
#include <benchmark/benchmark.h>

#include "import/vertalen.h"
#include "midi_gen.h"

namespace {

void BM_Vertalen(benchmark::State& state) {
  const std::string file =
      brivel::gen::write_smf(brivel::gen::make_piece(static_cast<std::size_t>(state.range(0)), 16, 500));
  for (auto _ : state) {
    auto r = brivel::vertalen(file, "bench.mid");
    if (r.midi_erreur_code != 0) state.SkipWithError(r.midi_erreur_texte.c_str());
    benchmark::DoNotOptimize(r.text.data());
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(file.size()));
}
BENCHMARK(BM_Vertalen)->Arg(1 << 20)->Arg(10 << 20)->Unit(benchmark::kMillisecond);

}  // namespace
