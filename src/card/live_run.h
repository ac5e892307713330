// What the card view shows of a run under way, learnt by watching the
// console: the punch lamp E(7) going out with the board's "A" is a hole
// confirmed at the head's X and the card's Y; gauge1 says which row the run
// has reached; etat_pause that it waits. It writes nothing into the console,
// so the run is the same with or without it.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "card/card_layout.h"
#include "run/engine/remaining_time.h"

namespace brivel {

class LiveRun {
 public:
  explicit LiveRun(Context& c);
  ~LiveRun();
  LiveRun(const LiveRun&) = delete;
  LiveRun& operator=(const LiveRun&) = delete;

  // The card of the piece now open, laid out again after the list, the note
  // table or the bounds changed.
  const CardLayout& layout();

  bool running() const { return running_; }
  bool paused() const { return paused_; }
  // Per hole of layout().holes: confirmed by the board in this run.
  const std::vector<char>& punched() const { return punched_; }
  int punched_count() const { return punched_count_; }
  // Holes the operator punched by hand in a pause of this run: the head's X
  // in mm and the card's step, as they stood.
  struct HandHole {
    double x_mm = 0;
    int32_t step = 0;
  };
  const std::vector<HandHole>& hand_holes() const { return hand_holes_; }
  // Index into layout().holes of the hole the run punches next; during a
  // pause or a fault, of the hole where it stands and that it punches again.
  std::optional<size_t> next_hole() const;
  std::optional<size_t> last_hole() const { return last_hole_; }
  double head_x_mm() const;
  double card_step() const { return card_step_; }
  // Milliseconds of the run still to go, once the run is walking the list:
  // the last estimate, counted down by the running time since it was made.
  std::optional<double> remaining_ms() const;
  // The same to the end of a chain: this file's rest, then each later file
  // read from its MIDI file, fed, opened and set up at the pace of this run.
  // Empty when no later file waits.
  std::optional<double> chain_remaining_ms() const;
  // Milliseconds until a deferred start; empty when none is set.
  std::optional<double> deferred_start_ms() const;
  // The time the run, and the chain behind it, will take at the durations
  // sent to the board: what a deferred start waits to do.
  double planned_ms();
  // The run's running time so far, pauses left out, ms.
  double elapsed_ms() const;
  // After the end of a run: its time and the piece's holes, with the holes
  // punched again and by hand named apart; after a chain, its total and
  // each file's.
  const std::string& summary() const { return summary_; }

  // Runs after each change worth a redraw.
  std::function<void()> on_change;

 private:
  void changed(Element& e, Prop p);
  void heard(const RunEvent& e);
  void start();
  void hole_done();
  // The run walks its list again after a pause: the time it stood is left out.
  void going_on();
  void forget_last_run();
  void mark(int32_t step, int track);
  void mark_from_journal();
  void row_done(int row);
  MachinePace pace() const;
  void estimate_chain();
  // A file's work, and the X where its last hole leaves the head: the next
  // file's origin search travels back from there.
  struct FileWork {
    MachineWork work;
    int64_t last_x = 0;
  };
  std::optional<FileWork> file_work(const std::string& path);
  int32_t now() { return c_.p.tick_ms(); }

  Context& c_;
  int subscription_ = 0, events_ = 0;
  bool dirty_ = true;
  CardLayout layout_;
  bool running_ = false, paused_ = false;
  std::vector<char> punched_;
  int punched_count_ = 0;
  std::vector<HandHole> hand_holes_;
  int restored_count_ = 0;  // the piece's holes the journal gave a restored run
  size_t run_index_ = 0;  // holes of layout_.run_holes confirmed so far
  std::optional<size_t> last_hole_;
  bool last_failed_ = false;  // the last punch cycle got no "A"
  double card_step_ = 0;
  std::optional<double> remaining_;
  double estimated_at_ = 0;  // elapsed_ms() when remaining_ was worked out
  double per_frame_ = 0;     // the line's share of each frame, measured so far
  // The chain: work of each later file (read once per run), the card feed
  // between files, and the set-up the first file took before its first row.
  std::vector<MachineWork> later_;
  std::map<std::string, std::optional<FileWork>> file_work_;
  MachineWork feed_;
  std::optional<int32_t> asked_at_;  // when "Perforer" began, until the origin is found
  double setup_ms_ = 0;
  int32_t started_ = 0, paused_at_ = 0;
  // The files of the chain walked so far: name and holes of the piece.
  std::vector<std::pair<std::string, int>> chain_files_;
  double chain_ms_ = 0;
  int chain_again_ = 0, chain_by_hand_ = 0;
  double paused_ms_ = 0;
  std::string summary_;
};

}  // namespace brivel
