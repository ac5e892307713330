// One command at a time on the machine. Every command that waits on a reply
// takes the line for as long as it runs; a second one clicked meanwhile
// would clear and read the same reply flags, so it is refused with a word on
// the service line. The stop buttons (Stop_cal, the second click of Avance)
// and RAZ take nothing: they must get through while a command runs.
#pragma once

#include "console/context.h"

namespace brivel {

inline constexpr const char* kCommandeRefusee = "Commande refusée : la machine exécute déjà une commande";

class Occupation {
 public:
  // Takes the line when the port is open and nobody holds it; otherwise
  // tells the operator why not (port_pret's text or kCommandeRefusee).
  explicit Occupation(Context& c);
  ~Occupation();
  Occupation(const Occupation&) = delete;
  Occupation& operator=(const Occupation&) = delete;

  explicit operator bool() const { return pris_; }

 private:
  Context& c_;
  bool pris_ = false;
};

}  // namespace brivel
