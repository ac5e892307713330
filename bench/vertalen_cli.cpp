// brivel-vertalen: the decoder alone, file in, text event file on stdout,
// for timing it against other converters in one run.
#include <fstream>
#include <iostream>
#include <iterator>

#include "import/vertalen.h"

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: brivel-vertalen FILE.mid > OUT\n";
    return 2;
  }
  std::ifstream in(argv[1], std::ios::binary);
  std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  auto r = brivel::vertalen(bytes, argv[1]);
  std::cout.write(r.text.data(), static_cast<std::streamsize>(r.text.size()));
  return r.midi_erreur_code == 0 ? 0 : 1;
}
