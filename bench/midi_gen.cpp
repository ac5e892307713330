#include "midi_gen.h"

#include <algorithm>
#include <map>

namespace brivel::gen {

namespace {

void vlq(std::string& out, uint32_t v) {
  char buf[5];
  int n = 0;
  buf[n++] = static_cast<char>(v & 0x7F);
  while (v >>= 7) buf[n++] = static_cast<char>((v & 0x7F) | 0x80);
  while (n) out.push_back(buf[--n]);
}

void chunk(std::string& out, const char* tag, const std::string& body) {
  out += tag;
  for (int s : {24, 16, 8, 0}) out.push_back(static_cast<char>((body.size() >> s) & 0xFF));
  out += body;
}

struct Ev {
  uint32_t tick;
  int order;  // offs before tempi before ons at one tick
  std::string bytes;
};

std::string track_body(std::vector<Ev> evs) {
  std::stable_sort(evs.begin(), evs.end(),
                   [](const Ev& a, const Ev& b) { return a.tick != b.tick ? a.tick < b.tick : a.order < b.order; });
  std::string body;
  uint32_t now = 0;
  uint8_t status = 0;
  for (const Ev& e : evs) {
    vlq(body, e.tick - now);
    now = e.tick;
    auto st = static_cast<uint8_t>(e.bytes[0]);
    if (st == status && st < 0xF0)
      body.append(e.bytes, 1);  // running status
    else
      body += e.bytes;
    status = st < 0xF0 ? st : 0;
  }
  body += std::string("\x00\xFF\x2F\x00", 4);
  return body;
}

Ev tempo_event(const Tempo& t) {
  std::string b = "\xFF\x51\x03";
  b.push_back(static_cast<char>((t.us_per_quarter >> 16) & 0xFF));
  b.push_back(static_cast<char>((t.us_per_quarter >> 8) & 0xFF));
  b.push_back(static_cast<char>(t.us_per_quarter & 0xFF));
  return {t.tick, 1, b};
}

}  // namespace

std::string write_smf(const Piece& p) {
  std::vector<std::vector<Ev>> tracks;
  if (p.format == 1) {
    std::vector<Ev> conductor;
    for (const Tempo& t : p.tempi) conductor.push_back(tempo_event(t));
    tracks.push_back(conductor);
  }
  for (std::size_t i = 0; i < p.tracks.size(); ++i) {
    // Format 0 has one track: every note goes into it.
    if (p.format != 0 || tracks.empty()) tracks.emplace_back();
    std::vector<Ev>& evs = tracks.back();
    if (p.format != 1 && i == 0)
      for (const Tempo& t : p.tempi) evs.push_back(tempo_event(t));
    for (const Note& n : p.tracks[i]) {
      char on = static_cast<char>(0x90 | (n.channel & 0x0F));
      evs.push_back({n.start_tick, 2, std::string{on, static_cast<char>(n.key), static_cast<char>(n.velocity)}});
      evs.push_back({n.start_tick + n.length_ticks, 0, std::string{on, static_cast<char>(n.key), 0}});
    }
  }
  std::string out = "MThd";
  out += std::string("\x00\x00\x00\x06", 4);
  const int header[3] = {p.format, static_cast<int>(tracks.size()), p.division};
  for (int v : header) {
    out.push_back(static_cast<char>((v >> 8) & 0xFF));
    out.push_back(static_cast<char>(v & 0xFF));
  }
  for (const auto& t : tracks) chunk(out, "MTrk", track_body(t));
  return out;
}

Piece make_piece(std::size_t target_bytes, int tracks, int tempi, int format) {
  static const uint8_t scale[] = {48, 50, 53, 55, 57, 60, 62, 64, 65, 66, 67, 69, 70, 71, 72,
                                  73, 74, 75, 76, 77, 78, 79, 80, 81, 82, 83, 84, 86, 68};
  Piece p;
  p.format = format;
  p.tracks.resize(std::max(1, tracks));
  // About 4 bytes per note event pair under running status, 2 events per note.
  const std::size_t notes = std::max<std::size_t>(1, target_bytes / 7);
  const uint32_t beat = static_cast<uint32_t>(p.division);
  for (std::size_t i = 0; i < notes; ++i) {
    const uint32_t b = static_cast<uint32_t>(i / 3);  // three notes per beat: a chord
    auto& track = p.tracks[(i / 3) % p.tracks.size()];
    const uint8_t key = scale[(b * 5 + (i % 3) * 4) % 29];
    const bool held = (b % 4 == 0) && (i % 3 == 0);
    track.push_back({b * beat, held ? beat * 4 - 10 : beat / 2, key, static_cast<uint8_t>(64 + i % 60),
                     static_cast<uint8_t>(i % 3)});
  }
  const uint32_t beats = static_cast<uint32_t>(notes / 3 + 1);
  const uint32_t every = std::max<uint32_t>(1, beats / static_cast<uint32_t>(std::max(1, tempi)));
  for (uint32_t b = 0; b < beats && static_cast<int>(p.tempi.size()) < tempi; b += every)
    p.tempi.push_back({b * beat, 400000 + (b * 7919) % 300000});
  return p;
}

}  // namespace brivel::gen
