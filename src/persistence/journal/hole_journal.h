// The hole journal: one line per hole that the board confirmed, appended and
// flushed to the disk as each hole is punched, beside the automatic context
// file. After a crash and a context restore it tells what was already
// punched. Lines read "12:04:31;Valse;0001234;6;108;12320": time of day,
// piece (file name without folder or extension), step of the event list,
// track k, head X and card Y in motor steps. A run that starts afresh writes
// "# Perforation de Valse 12:00:02" before its holes. A hole the operator
// punched by hand while the run was paused has ";main" behind, with the
// track under the head (0 when none). Windows-1252, CR LF.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "console/context.h"
#include "persistence/journal/durable_appender.h"

namespace brivel {

inline constexpr const char* kJournalTrous = "Journal_trous.txt";

// <dossier_appli>/Journal_trous.txt
std::string journal_path(const RunState& s);

struct JournalHole {
  int time_of_day_s = 0;
  std::string piece;
  int32_t step = 0;
  int track = 0;
  int32_t x = 0;
  int64_t y = 0;
  bool main = false;  // punched by hand in a pause, not a hole of the piece
  bool operator==(const JournalHole&) const = default;
};

std::string journal_line(const JournalHole& h);
std::string journal_start_line(const std::string& piece, int time_of_day_s);

// The holes of `piece` since its last start line, in order; a line cut short
// by a crash, lines of other pieces and hand holes are left out.
std::vector<JournalHole> holes_of_last_run(const std::string& journal_text, const std::string& piece);

// The bytes of the journal at `path`; empty when there is none.
std::string read_journal(Storage& disque, const std::string& path);

// Listens to the run's events and appends a line per confirmed hole of a
// run to <dossier_appli>/Journal_trous.txt. It writes nothing into the
// console and reads none of its captions, buttons or lamps; a line the disk
// refuses is kept for the next write and named in ecriture_en_defaut, for
// the run to suspend on.
class HoleJournal {
 public:
  explicit HoleJournal(Context& c);
  ~HoleJournal();
  HoleJournal(const HoleJournal&) = delete;
  HoleJournal& operator=(const HoleJournal&) = delete;

  std::string path() const;
  // Waits until the lines handed over are on the disk; false while a line
  // waits for a disk that refused it.
  bool healthy();

 private:
  void heard(const RunEvent& e);
  // Hands `line` over; with `now`, waits until it is on the disk.
  void write(const std::string& line, bool now);

  Context& c_;
  int subscription_ = 0;
  // The hole lines go to the disk beside the run, not in its way.
  DurableAppender writer_;
};

}  // namespace brivel
