#include "card/card_synth.h"

#include <fluidsynth.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

namespace brivel {

namespace {

// FluidSynth's own messages go nowhere: the operator reads ours.
void silence(int, const char*, void*) {}

struct Event {
  double ms;
  bool on;
  int note;
};

std::vector<Event> events_of(const std::vector<SoundingNote>& notes) {
  std::vector<Event> evs;
  evs.reserve(notes.size() * 2);
  for (const SoundingNote& n : notes) {
    evs.push_back({n.on_ms, true, n.note});
    evs.push_back({std::max(n.off_ms, n.on_ms + 1), false, n.note});
  }
  // At one time the ends first: a note struck again sounds again.
  std::stable_sort(evs.begin(), evs.end(),
                   [](const Event& a, const Event& b) { return a.ms != b.ms ? a.ms < b.ms : (!a.on && b.on); });
  return evs;
}

void quiet_logs() {
  static const bool done = [] {
    for (int level : {FLUID_PANIC, FLUID_ERR, FLUID_WARN, FLUID_INFO, FLUID_DBG}) fluid_set_log_function(level, silence, nullptr);
    return true;
  }();
  (void)done;
}

}  // namespace

std::string default_soundfont() {
  std::error_code ec;
  for (const char* p : {"/usr/share/sounds/sf2/TimGM6mb.sf2", "/usr/share/sounds/sf2/default-GM.sf2",
                        "/usr/share/sounds/sf2/FluidR3_GM.sf2"})
    if (std::filesystem::is_regular_file(p, ec)) return p;
  return {};
}

std::string soundfont_refusal(const std::string& path) {
  quiet_logs();
  if (path.empty())
    return "Aucune police de sons (SoundFont .sf2) : en installer une (paquet timgm6mb-soundfont) ou en choisir une";
  std::error_code ec;
  if (!std::filesystem::is_regular_file(path, ec)) return "Police de sons introuvable : " + path;
  if (!fluid_is_soundfont(path.c_str())) return "« " + path + " » n'est pas une police de sons SoundFont (.sf2)";
  return {};
}

const std::vector<Programme>& programmes() {
  static const std::vector<Programme> list = {
      {19, "Orgue d'église"}, {20, "Harmonium"},        {21, "Accordéon"},  {16, "Orgue à tirettes"},
      {17, "Orgue percussif"}, {22, "Harmonica"},       {0, "Piano"},       {11, "Vibraphone"},
      {73, "Flûte"},          {52, "Chœur"},
  };
  return list;
}

// A synthesiser with its SoundFont loaded and its programme chosen.
struct detail::FluidHandle {
  fluid_settings_t* settings = nullptr;
  fluid_synth_t* synth = nullptr;
  fluid_audio_driver_t* driver = nullptr;
  std::string error;
  double latency_ms = 0;  // from a note sent to its sound at the output

  FluidHandle(const std::string& soundfont, int programme, bool offline) {
    quiet_logs();
    error = soundfont_refusal(soundfont);
    if (!error.empty()) return;
    settings = new_fluid_settings();
    fluid_settings_setnum(settings, "synth.sample-rate", kRenderRate);
    fluid_settings_setnum(settings, "synth.gain", 0.5);
    if (offline) fluid_settings_setint(settings, "synth.cpu-cores", 1);
    synth = new_fluid_synth(settings);
    if (!synth || fluid_synth_sfload(synth, soundfont.c_str(), 1) == FLUID_FAILED) {
      error = "« " + soundfont + " » n'est pas une police de sons SoundFont (.sf2)";
      return;
    }
    fluid_synth_program_change(synth, 0, std::clamp(programme, 0, 127));
  }
  ~FluidHandle() {
    if (driver) delete_fluid_audio_driver(driver);
    if (synth) delete_fluid_synth(synth);
    if (settings) delete_fluid_settings(settings);
  }
  // The desktop's output: PipeWire, PulseAudio or ALSA, whichever answers.
  // BRIVEL_SORTIE_AUDIO names another of FluidSynth's drivers ("file", with
  // BRIVEL_FICHIER_AUDIO: a WAV written at the pace of a sound card, for a
  // machine without one).
  bool open_output() {
    std::vector<std::string> names = {"pipewire", "pulseaudio", "alsa"};
    if (const char* chosen = std::getenv("BRIVEL_SORTIE_AUDIO")) names = {chosen};
    if (const char* file = std::getenv("BRIVEL_FICHIER_AUDIO")) fluid_settings_setstr(settings, "audio.file.name", file);
    // Short buffers: the reading bar on the card stays near what is heard.
    fluid_settings_setint(settings, "audio.period-size", 256);
    fluid_settings_setint(settings, "audio.periods", 2);
    for (const std::string& name : names) {
      if (fluid_settings_setstr(settings, "audio.driver", name.c_str()) != FLUID_OK) continue;
      driver = new_fluid_audio_driver(settings, synth);
      if (!driver) continue;
      int size = 0, periods = 0;
      fluid_settings_getint(settings, "audio.period-size", &size);
      fluid_settings_getint(settings, "audio.periods", &periods);
      latency_ms = 1000.0 * size * periods / kRenderRate;
      return true;
    }
    error = "Aucune sortie audio : le carton ne peut pas être écouté sur cet ordinateur (l'export WAV reste possible)";
    return false;
  }
};

Rendering render_notes(const std::vector<SoundingNote>& notes, const std::string& soundfont, int programme) {
  Rendering r;
  detail::FluidHandle s(soundfont, programme, true);
  if (!s.error.empty()) {
    r.error = s.error;
    return r;
  }
  const std::vector<Event> evs = events_of(notes);
  const double end_ms = (evs.empty() ? 0 : evs.back().ms) + 1000;  // the sound dies away
  const auto frames_at = [](double ms) { return static_cast<int64_t>(ms * kRenderRate / 1000.0); };
  r.stereo.resize(static_cast<size_t>(frames_at(end_ms)) * 2);
  int64_t done = 0;
  auto write_to = [&](int64_t frame) {
    while (done < frame) {
      const int n = static_cast<int>(std::min<int64_t>(frame - done, 4096));
      int16_t* out = r.stereo.data() + done * 2;
      fluid_synth_write_s16(s.synth, n, out, 0, 2, out, 1, 2);
      done += n;
    }
  };
  for (const Event& e : evs) {
    write_to(std::min(frames_at(e.ms), frames_at(end_ms)));
    if (e.on)
      fluid_synth_noteon(s.synth, 0, e.note, 100);
    else
      fluid_synth_noteoff(s.synth, 0, e.note);
  }
  write_to(frames_at(end_ms));
  return r;
}

CardPlayer::CardPlayer() = default;

CardPlayer::~CardPlayer() { stop(); }

std::string CardPlayer::play(const std::vector<SoundingNote>& notes, const std::string& soundfont, int programme) {
  stop();
  synth_ = std::make_unique<detail::FluidHandle>(soundfont, programme, false);
  if (synth_->error.empty()) synth_->open_output();
  if (!synth_->error.empty()) {
    std::string why = synth_->error;
    synth_.reset();
    return why;
  }
  stop_ = false;
  playing_ = true;
  latency_ms_ = synth_->latency_ms;
  using clock = std::chrono::steady_clock;
  const clock::time_point t0 = clock::now();
  started_ns_ = t0.time_since_epoch().count();
  thread_ = std::thread([this, evs = events_of(notes), t0] {
    fluid_synth_t* synth = synth_->synth;
    for (const Event& e : evs) {
      const auto at = t0 + std::chrono::microseconds(static_cast<int64_t>(e.ms * 1000));
      // Short sleeps: a stop is heard within 20 ms.
      while (!stop_ && clock::now() < at) std::this_thread::sleep_until(std::min(at, clock::now() + std::chrono::milliseconds(20)));
      if (stop_) break;
      if (e.on)
        fluid_synth_noteon(synth, 0, e.note, 100);
      else
        fluid_synth_noteoff(synth, 0, e.note);
    }
    fluid_synth_all_notes_off(synth, 0);
    playing_ = false;
  });
  return {};
}

void CardPlayer::stop() {
  stop_ = true;
  if (thread_.joinable()) thread_.join();
  synth_.reset();
  playing_ = false;
}

double CardPlayer::position_ms() const {
  const auto now = std::chrono::steady_clock::now().time_since_epoch().count();
  // What is heard now was sent one output buffer ago.
  return std::max(0.0, static_cast<double>(now - started_ns_) / 1e6 - latency_ms_);
}

}  // namespace brivel
