// Command line of brivel-board-sim.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace brivel::boardsim {

struct SimOptions {
  std::string link;         // symlink to make to the pty's slave; empty: none
  std::string log;          // log file; empty: none
  std::string faults;       // fault script file; empty: none
  bool instant = true;
  std::string sensors;    // five of 'O' (unmasked) or '.', by position; empty: all masked
  double duration_s = 0;  // 0: run until SIGTERM or SIGINT
};

// Reads argv[1..]. On a bad command line: empty, with a French message in `error`.
std::optional<SimOptions> parse_options(const std::vector<std::string>& args, std::string* error);

extern const char* const kUsage;

}  // namespace brivel::boardsim
