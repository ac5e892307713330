// What a punch run does (and what the console does with its piece), told as
// it happens, for the features that stand
// beside it (the hole journal, the card view). They listen to these events,
// never to the run's captions, button states or lamp colours, so that a
// reworded message or a recoloured lamp changes nothing they record.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>

namespace brivel {

struct RunEvent {
  enum class Kind {
    SetUp,      // "Perforer" begins: the working sequence, the origin search
    Started,    // the origin is found: the run walks its list (each file of a chain)
    Hole,       // a hole the board confirmed
    Fault,      // the run is suspended by a fault (`text`: its caption)
    Paused,     // the operator suspended it
    Resumed,    // "Continuer" took it up again
    ChainNext,  // the card feeds to the next file of a chain
    Ended,      // the list is walked to its end (each file of a chain)
    DeferredFailed,  // a deferred start could not start the run (`text`: why)
    Row,        // the run is done with a row of its list (`step`: the row's index)
    PieceChanged,  // an opening ended: a piece opened, or none is left (refused)
  };
  RunEvent(Kind k) : kind(k) {}  // NOLINT: an event is its kind, told at once
  Kind kind;
  int32_t step = 0;         // Hole: compteur_Y, the step of the list
  int32_t x = 0;            // Hole: compteur_X, the head's X in motor steps
  bool by_hand = false;     // Hole: punched by the operator in a pause
  bool again = false;       // Hole: the hole at which the run held, punched once more
  bool in_chain = false;    // Started: a later file of a chain
  std::string text;         // Fault: the caption; DeferredFailed: what was said
};

// One observer interface for every listener: subscribe, and hear each event
// in the order the run makes them.
class RunEvents {
 public:
  using Listener = std::function<void(const RunEvent&)>;
  int subscribe(Listener l) {
    listeners_[next_] = std::move(l);
    return next_++;
  }
  void unsubscribe(int id) { listeners_.erase(id); }
  void tell(const RunEvent& e) const {
    // A copy: a listener may subscribe or leave while it hears.
    const auto listeners = listeners_;
    for (const auto& [id, l] : listeners) l(e);
  }

 private:
  std::map<int, Listener> listeners_;
  int next_ = 0;
};

}  // namespace brivel
