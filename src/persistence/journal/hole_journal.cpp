#include "persistence/journal/hole_journal.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "core/cp1252.h"
#include "core/numbers.h"
#include "persistence/files/text_file.h"

namespace brivel {

namespace {

std::string heure(int s) {
  char b[16];
  std::snprintf(b, sizeof b, "%02d:%02d:%02d", s / 3600 % 24, s / 60 % 60, s % 60);
  return b;
}

std::optional<int> lit_heure(const std::string& t) {
  int h, m, s;
  char tail;
  if (std::sscanf(t.c_str(), "%2d:%2d:%2d%c", &h, &m, &s, &tail) != 3) return std::nullopt;
  return h * 3600 + m * 60 + s;
}

std::vector<std::string> champs(const std::string& line) {
  std::vector<std::string> out(1);
  for (char ch : line) {
    if (ch == ';')
      out.emplace_back();
    else
      out.back() += ch;
  }
  return out;
}

std::optional<long long> entier(const std::string& t) {
  if (t.empty()) return std::nullopt;
  char* end = nullptr;
  errno = 0;
  const long long v = std::strtoll(t.c_str(), &end, 10);
  if (errno || *end) return std::nullopt;
  return v;
}

}  // namespace

std::string journal_line(const JournalHole& h) {
  char nums[80];
  std::snprintf(nums, sizeof nums, ";%07d;%d;%d;%lld", h.step, h.track, h.x, static_cast<long long>(h.y));
  return heure(h.time_of_day_s) + ";" + h.piece + nums + (h.main ? ";main" : "");
}

std::string journal_start_line(const std::string& piece, int time_of_day_s) {
  return "# Perforation de " + piece + " " + heure(time_of_day_s);
}

std::vector<JournalHole> holes_of_last_run(const std::string& journal_text, const std::string& piece) {
  std::vector<JournalHole> out;
  const std::string start = "# Perforation de " + piece + " ";
  for (const std::string& raw : split_cp1252_lines(journal_text)) {
    const std::string line = cp1252_to_utf8(raw);
    if (line.rfind(start, 0) == 0 && line.size() == start.size() + 8) {
      out.clear();
      continue;
    }
    const auto f = champs(line);
    if (f.size() != 6 || f[1] != piece) continue;  // hand holes have a seventh field
    const auto t = lit_heure(f[0]);
    const auto step = entier(f[2]), track = entier(f[3]), x = entier(f[4]), y = entier(f[5]);
    if (!t || !step || !track || !x || !y) continue;
    out.push_back({*t, piece, static_cast<int32_t>(*step), static_cast<int>(*track), static_cast<int32_t>(*x), *y});
  }
  return out;
}

std::string read_journal(Storage& disque, const std::string& path) {
  return disque.read(path, std::size_t{1} << 30).value_or(std::string());
}

HoleJournal::HoleJournal(Context& c) : c_(c), writer_(c.p.storage()) {
  subscription_ = c_.s.evenements.subscribe([this](const RunEvent& e) { heard(e); });
}

HoleJournal::~HoleJournal() { c_.s.evenements.unsubscribe(subscription_); }

std::string journal_path(const RunState& s) { return s.dossier_appli + kJournalTrous; }

std::string HoleJournal::path() const { return journal_path(c_.s); }

void HoleJournal::heard(const RunEvent& e) {
  const Model& m = c_.m;
  const RunState& s = c_.s;
  switch (e.kind) {
    case RunEvent::Kind::Started:
      // A run restored from its context goes on in the journal's last run;
      // a later file of a chain goes on in its chain's.
      if (s.reprise_contexte || e.in_chain) return;
      write(journal_start_line(s.nom_midi_court, c_.p.time_of_day_s()), true);
      return;
    case RunEvent::Kind::Ended:
      // The run's end: its last hole on the disk before anything else happens.
      writer_.flush();
      return;
    case RunEvent::Kind::DeferredFailed:
      write("# " + heure(c_.p.time_of_day_s()) + " " + e.text, true);
      return;
    case RunEvent::Kind::Hole: {
      int track = 0;
      const int n = std::clamp(static_cast<int>(val(m.NBTouches.text())), 0, Model::kNotes);
      for (int k = 1; k <= n && !track; ++k)
        if (val(m.Position(k).text()) == e.x) track = k;
      const int16_t demi = static_cast<int16_t>(round_half_even(s.pas_poincon / 2.0));
      JournalHole h{c_.p.time_of_day_s(), s.nom_midi_court,
                    e.step,               track,
                    e.x,                  static_cast<int64_t>(std::llround((e.step - demi) * val(m.NbpasY.text()))),
                    e.by_hand};
      write(journal_line(h), false);
      return;
    }
    default:
      return;
  }
}

void HoleJournal::write(const std::string& line, bool now) {
  writer_.append(path(), line);
  if (now) writer_.flush();
  // The line before this one (or this one, when waited for) was refused.
  if (const int err = writer_.take_error())
    c_.s.ecriture_en_defaut = std::string(kJournalTrous) + " : " + texte_erreur_disque(err);
}

bool HoleJournal::healthy() { return writer_.waiting() == 0; }

}  // namespace brivel
