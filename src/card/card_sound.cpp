#include "card/card_sound.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <map>

#include "core/numbers.h"

namespace brivel {

std::vector<SoundingNote> card_notes(const CardLayout& l, double from_step, double to_step) {
  // Per track, the punches in step order: a punch that starts before the
  // last one's end lengthens the note, a gap ends it.
  const double punch_steps = l.step_mm > 0 ? l.punch_mm / l.step_mm : 0;
  std::map<int, std::vector<int32_t>> per_track;
  auto [a, b] = l.holes_between(from_step, to_step);
  for (size_t i = a; i < b; ++i) per_track[l.holes[i].track].push_back(l.holes[i].step);
  std::vector<SoundingNote> out;
  for (auto& [track, steps] : per_track) {
    if (track < 1 || track > static_cast<int>(l.tracks.size())) continue;
    std::sort(steps.begin(), steps.end());
    const int note = l.tracks[static_cast<size_t>(track - 1)].note;
    double start = steps.front(), end = steps.front() + punch_steps;
    auto close = [&] { out.push_back({track, note, start * l.ms_per_step, end * l.ms_per_step}); };
    for (size_t i = 1; i < steps.size(); ++i) {
      if (steps[i] > end) {
        close();
        start = steps[i];
      }
      end = std::max(end, steps[i] + punch_steps);
    }
    close();
  }
  std::sort(out.begin(), out.end(), [](const SoundingNote& x, const SoundingNote& y) {
    return x.on_ms != y.on_ms ? x.on_ms < y.on_ms : x.note < y.note;
  });
  return out;
}

std::vector<SoundingNote> piece_notes_ms(std::string_view text) {
  std::vector<SoundingNote> out;
  size_t at = 0;
  while (at < text.size()) {
    size_t end = text.find('\n', at);
    if (end == std::string_view::npos) end = text.size();
    const std::string_view line = text.substr(at, end - at);
    at = end + 1;
    // "NOTE 0001000 000000 00001 00060 00500 00100 C3": start, track,
    // channel, key, duration, velocity.
    if (line.size() < 36 || line.substr(0, 5) != "NOTE ") continue;
    const double start = val(line.substr(5, 7)), key = val(line.substr(26, 5)), duree = val(line.substr(32, 5));
    out.push_back({0, static_cast<int>(key), start, start + duree});
  }
  std::stable_sort(out.begin(), out.end(), [](const SoundingNote& x, const SoundingNote& y) { return x.on_ms < y.on_ms; });
  return out;
}

namespace {

constexpr int kDivision = 480;
constexpr double kMsPerTick = 500.0 / kDivision;  // 120 beats a minute

void be(std::string& o, uint32_t v, int bytes) {
  for (int i = bytes - 1; i >= 0; --i) o += static_cast<char>((v >> (8 * i)) & 0xFF);
}

void delta(std::string& o, uint32_t v) {
  char buf[5];
  int n = 0;
  buf[n++] = static_cast<char>(v & 0x7F);
  while (v >>= 7) buf[n++] = static_cast<char>(0x80 | (v & 0x7F));
  while (n) o += buf[--n];
}

std::string chunk(const char* id, const std::string& body) {
  std::string o = id;
  be(o, static_cast<uint32_t>(body.size()), 4);
  return o + body;
}

std::string meta_text(uint8_t type, const std::string& text) {
  std::string o;
  delta(o, 0);
  o += '\xFF';
  o += static_cast<char>(type);
  delta(o, static_cast<uint32_t>(text.size()));
  return o + text;
}

std::string end_of_track() { return std::string("\x00\xFF\x2F\x00", 4); }

// One track of notes: name, programme, the notes on channel 1.
std::string note_track(const std::vector<const SoundingNote*>& notes, const std::string& name, int programme) {
  struct Ev {
    uint32_t tick;
    bool on;
    int note;
  };
  std::vector<Ev> evs;
  for (const SoundingNote* n : notes) {
    const auto on = static_cast<uint32_t>(std::llround(n->on_ms / kMsPerTick));
    const auto off = std::max(on + 1, static_cast<uint32_t>(std::llround(n->off_ms / kMsPerTick)));
    evs.push_back({on, true, n->note});
    evs.push_back({off, false, n->note});
  }
  // At one tick the ends come before the starts: a note struck again is heard.
  std::stable_sort(evs.begin(), evs.end(),
                   [](const Ev& x, const Ev& y) { return x.tick != y.tick ? x.tick < y.tick : (!x.on && y.on); });
  std::string o = meta_text(0x03, name);
  delta(o, 0);
  o += '\xC0';
  o += static_cast<char>(std::clamp(programme, 0, 127));
  uint32_t now = 0;
  for (const Ev& e : evs) {
    delta(o, e.tick - now);
    now = e.tick;
    o += e.on ? '\x90' : '\x80';
    o += static_cast<char>(std::clamp(e.note, 0, 127));
    o += e.on ? '\x64' : '\x40';
  }
  return chunk("MTrk", o + end_of_track());
}

}  // namespace

std::string card_midi(const std::vector<SoundingNote>& notes, const std::vector<std::string>& names, int programme,
                      bool one_track) {
  std::map<int, std::vector<const SoundingNote*>> tracks;
  for (const SoundingNote& n : notes) tracks[one_track ? 0 : n.track].push_back(&n);
  std::string tempo = meta_text(0x03, "Carton");
  tempo += std::string("\x00\xFF\x51\x03\x07\xA1\x20", 7);  // 500 000 µs a quarter
  std::string body = chunk("MTrk", tempo + end_of_track());
  for (const auto& [track, list] : tracks) {
    std::string name = one_track ? "Toutes les notes" : "Piste " + std::to_string(track);
    if (!one_track && track >= 1 && track <= static_cast<int>(names.size()) && !names[static_cast<size_t>(track - 1)].empty())
      name = names[static_cast<size_t>(track - 1)];
    body += note_track(list, name, programme);
  }
  std::string head;
  be(head, 1, 2);
  be(head, static_cast<uint32_t>(1 + tracks.size()), 2);
  be(head, kDivision, 2);
  return chunk("MThd", head) + body;
}

std::string wav_file(const std::vector<int16_t>& stereo, int rate) {
  auto le = [](std::string& o, uint32_t v, int bytes) {
    for (int i = 0; i < bytes; ++i) o += static_cast<char>((v >> (8 * i)) & 0xFF);
  };
  const auto data = static_cast<uint32_t>(stereo.size() * 2);
  std::string o = "RIFF";
  le(o, 36 + data, 4);
  o += "WAVEfmt ";
  le(o, 16, 4);
  le(o, 1, 2);  // PCM
  le(o, 2, 2);  // stereo
  le(o, static_cast<uint32_t>(rate), 4);
  le(o, static_cast<uint32_t>(rate) * 4, 4);
  le(o, 4, 2);
  le(o, 16, 2);
  o += "data";
  le(o, data, 4);
  o.reserve(o.size() + data);
  for (int16_t s : stereo) le(o, static_cast<uint16_t>(s), 2);
  return o;
}

std::vector<SoundingNote> at_speed(const std::vector<SoundingNote>& notes, double from_ms, double speed_percent) {
  const double f = 100.0 / std::clamp(speed_percent, 1.0, 1000.0);
  std::vector<SoundingNote> out;
  for (const SoundingNote& n : notes) {
    if (n.off_ms <= from_ms) continue;
    out.push_back({n.track, n.note, std::max(0.0, n.on_ms - from_ms) * f, (n.off_ms - from_ms) * f});
  }
  return out;
}

}  // namespace brivel
