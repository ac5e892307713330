// brivel-make-midi: writes a generated MIDI file.
//   brivel-make-midi OUT.mid BYTES [TRACKS [TEMPI [FORMAT]]]
// BYTES is the rough size; TRACKS note tracks (default 16), TEMPI tempo
// changes (default 500, at most 998), FORMAT 0 or 1 (default 1).
#include <cstdlib>
#include <fstream>
#include <iostream>

#include "midi_gen.h"

int main(int argc, char** argv) {
  if (argc < 3) {
    std::cerr << "usage: brivel-make-midi OUT.mid BYTES [TRACKS [TEMPI [FORMAT]]]\n";
    return 2;
  }
  const std::size_t bytes = std::strtoull(argv[2], nullptr, 10);
  const int tracks = argc > 3 ? std::atoi(argv[3]) : 16;
  const int tempi = argc > 4 ? std::atoi(argv[4]) : 500;
  const int format = argc > 5 ? std::atoi(argv[5]) : 1;
  if (format != 0 && format != 1) {
    std::cerr << "brivel-make-midi: FORMAT is 0 or 1\n";
    return 2;
  }
  std::ofstream out(argv[1], std::ios::binary);
  out << brivel::gen::write_smf(brivel::gen::make_piece(bytes, tracks, tempi, format));
  if (!out) {
    std::cerr << "brivel-make-midi: cannot write " << argv[1] << "\n";
    return 1;
  }
  return 0;
}
