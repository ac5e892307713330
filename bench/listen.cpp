// Listening to the sample's card: how fast a whole card renders to WAV
// against its playing time, and what the live player costs.
//
//   brivel-listen-bench PIECE.mid [SECONDS]
//
// Prints the render's speed against real time, then plays the card for
// SECONDS (default 10) through FluidSynth's file output (a sound card's
// pace, no device needed) and prints the player's CPU against its wall
// time, and how far the reading bar stands from the samples the output has
// written, in ms and in steps of the card.
#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <thread>

#include "app/console_app.h"
#include "card/card_layout.h"
#include "card/card_sound.h"
#include "card/card_synth.h"
#include "platform/sim/sim_platform.h"

namespace {
double cpu_s() {
  rusage u{};
  getrusage(RUSAGE_SELF, &u);
  return static_cast<double>(u.ru_utime.tv_sec + u.ru_stime.tv_sec) + (u.ru_utime.tv_usec + u.ru_stime.tv_usec) / 1e6;
}
}  // namespace

int main(int argc, char** argv) {
  using namespace brivel;
  if (argc < 2) {
    std::fprintf(stderr, "usage: brivel-listen-bench PIECE.mid [SECONDS]\n");
    return 2;
  }
  const double seconds = argc > 2 ? std::atof(argv[2]) : 10;
  const std::string home = (std::filesystem::temp_directory_path() / "brivel-listen-bench").string();
  std::filesystem::create_directories(home);
  SimPlatform p;
  p.set_env("BRIVEL_HOME", home);
  ConsoleApp app(p, ConsoleOptions{home, true});
  app.Form_Load();
  p.sim_dialogs().open_answers.push_back(argv[1]);
  app.m.Ouvre_midi.click();
  const CardLayout l = lay_out_card(card_input(app.c));
  const auto notes = card_notes(l, 0, l.last_step);
  if (notes.empty()) {
    std::fprintf(stderr, "no note on the card: %s\n", app.m.Label_defautP.text().c_str());
    return 1;
  }
  const double music_s = notes.back().off_ms / 1000;

  auto t0 = std::chrono::steady_clock::now();
  const Rendering r = render_notes(notes, default_soundfont(), 19);
  const double render_s = std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
  if (!r.error.empty()) {
    std::fprintf(stderr, "%s\n", r.error.c_str());
    return 1;
  }
  std::printf("%s: %zu notes, %.1f s of music (and 1 s of release) rendered in %.3f s: %.0f times real time\n", argv[1],
              notes.size(), music_s, render_s, (music_s + 1) / render_s);

  const std::string out = home + "/ecoute.wav";
  setenv("BRIVEL_SORTIE_AUDIO", "file", 1);
  setenv("BRIVEL_FICHIER_AUDIO", out.c_str(), 1);
  CardPlayer player;
  const double cpu0 = cpu_s();
  t0 = std::chrono::steady_clock::now();
  if (const std::string why = player.play(notes, default_soundfont(), 19); !why.empty()) {
    std::fprintf(stderr, "%s\n", why.c_str());
    return 1;
  }
  while (player.playing() && std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count() < seconds)
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
  const double wall = std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
  const double cpu = cpu_s() - cpu0;
  // What the reading bar showed when each note was heard: the output's
  // samples are the listener's clock; the bar stands at the time sent less
  // the output's buffer.
  const double latency = player.position_ms() > 0 ? wall * 1000 - player.position_ms() : 0;
  player.stop();
  std::printf("live player: CPU %.2f s of %.1f s wall = %.1f %% of one core\n", cpu, wall, 100 * cpu / wall);
  std::ifstream in(out, std::ios::binary);
  const std::string wav((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  std::vector<int> peak;
  for (size_t i = 44; i + 3 < wav.size(); i += 4) {
    const size_t ms = (i - 44) / 4 * 1000 / kRenderRate;
    if (peak.size() <= ms) peak.push_back(0);
    const int left = static_cast<int16_t>(static_cast<uint8_t>(wav[i]) | static_cast<uint8_t>(wav[i + 1]) << 8);
    peak[ms] = std::max(peak[ms], std::abs(left));
  }
  double worst = 0;
  int heard = 0;
  std::vector<double> gaps;
  double last_on = -1000;
  for (const SoundingNote& n : notes) {
    // Notes that start alone, the sound before them died away.
    const double gap = n.on_ms - last_on;
    last_on = n.on_ms;
    if (gap < 100 || n.on_ms + 200 > wall * 1000) continue;
    const auto at = static_cast<size_t>(n.on_ms + latency);
    if (at < 30 || at + 50 >= peak.size()) continue;
    int before = 0;
    for (size_t t = at - 25; t < at - 5; ++t) before = std::max(before, peak[t]);
    size_t t = at - 25;
    while (t < at + 50 && peak[t] <= before + 20) ++t;
    if (t >= at + 50) continue;
    worst = std::max(worst, std::abs(static_cast<double>(t) - (n.on_ms + latency)));
    gaps.push_back(std::abs(static_cast<double>(t) - (n.on_ms + latency)));
    if (std::getenv("DETAIL")) std::printf("  note at %.0f ms: heard %+.1f ms from the bar\n", n.on_ms, static_cast<double>(t) - (n.on_ms + latency));
    ++heard;
  }
  std::sort(gaps.begin(), gaps.end());
  const double median = gaps.empty() ? 0 : gaps[gaps.size() / 2];
  std::printf("output buffer %.1f ms; reading bar against the sound of %d notes: median %.1f ms = %.2f step, at most "
              "%.1f ms = %.2f step (a step is %.1f ms)\n",
              latency, heard, median, median / l.ms_per_step, worst, worst / l.ms_per_step, l.ms_per_step);
  return 0;
}
