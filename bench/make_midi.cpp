// brivel-make-midi: writes a generated MIDI file.
//   brivel-make-midi OUT.mid BYTES [TRACKS [TEMPI]]
#include <cstdlib>
#include <fstream>
#include <iostream>

#include "midi_gen.h"

int main(int argc, char** argv) {
  if (argc < 3) {
    std::cerr << "usage: brivel-make-midi OUT.mid BYTES [TRACKS [TEMPI]]\n";
    return 2;
  }
  const std::size_t bytes = std::strtoull(argv[2], nullptr, 10);
  const int tracks = argc > 3 ? std::atoi(argv[3]) : 16;
  const int tempi = argc > 4 ? std::atoi(argv[4]) : 500;
  std::ofstream(argv[1], std::ios::binary) << brivel::gen::write_smf(brivel::gen::make_piece(bytes, tracks, tempi));
  return 0;
}
