#include "import/import.h"

#include "import/calcul_ponts.h"
#include "import/intermediaires.h"
#include "import/ouvre_midi.h"
#include "import/recents.h"

namespace brivel {

void install_import(Context& c) {
  Model& m = c.m;
  m.Ouvre_midi.handler = [&c] { Ouvre_midi_Click(c); };
  m.Command7.handler = [&c] { Command7_Click(c); };
  m.Calculer_ponts_Y.handler = [&c] { Calculer_ponts_Y_Click(c); };
  m.Appliquer_ponts.handler = [&c] { Appliquer_ponts_Click(c); };
  m.Def_ponts.handler = [&c] { Def_ponts_Click(c); };
  install_recents(c);
}

}  // namespace brivel
