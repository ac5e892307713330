// brivel-vertalen: the decoder alone, file in, text event file on stdout,
// for timing it against other converters in one run.
#include <cstdio>
#include <string>

#include "import/fichier_midi.h"
#include "import/vertalen.h"

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: brivel-vertalen FILE.mid > OUT\n");
    return 2;
  }
  brivel::SourceFichier in(argv[1]);
  if (!in.ouvert()) return 2;
  auto r = brivel::vertalen(in, argv[1], [](std::string_view piece) {
    return std::fwrite(piece.data(), 1, piece.size(), stdout) == piece.size();
  });
  return r.midi_erreur_code == 0 ? 0 : 1;
}
