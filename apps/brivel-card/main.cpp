#include <iostream>

#include "card.h"

int main(int argc, char** argv) {
  std::vector<std::string> args(argv + 1, argv + argc);
  return brivel::brivel_card(args, std::cout, std::cerr);
}
