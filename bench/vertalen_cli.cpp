// brivel-vertalen: the decoder alone, file in, text event file on stdout,
// for timing it against other converters in one run.
#include <cstdio>
#include <string>

#include "import/vertalen.h"

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: brivel-vertalen FILE.mid > OUT\n");
    return 2;
  }
  std::FILE* in = std::fopen(argv[1], "rb");
  if (!in) return 2;
  std::string bytes;
  std::fseek(in, 0, SEEK_END);
  bytes.resize(static_cast<std::size_t>(std::ftell(in)));
  std::fseek(in, 0, SEEK_SET);
  std::size_t got = std::fread(bytes.data(), 1, bytes.size(), in);
  std::fclose(in);
  bytes.resize(got);
  auto r = brivel::vertalen(bytes, argv[1], [](std::string_view piece) {
    std::fwrite(piece.data(), 1, piece.size(), stdout);
  });
  return r.midi_erreur_code == 0 ? 0 : 1;
}
