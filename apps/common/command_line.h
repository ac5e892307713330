// What the four programs share on their command line: --help prints the
// usage on standard output and ends well, --version prints the version, and
// an unknown option is refused with the usage and status 2, before anything
// else happens (no window, no port, no file).
#pragma once

#include <optional>
#include <ostream>
#include <string>
#include <vector>

#ifndef BRIVEL_VERSION
#error "BRIVEL_VERSION must be defined by the build"
#endif

namespace brivel::cli {

inline constexpr int kArguments = 2;  // exit status of a bad command line

// --help or --version anywhere on the line: the status to end with (0),
// after the text was written to `out`. Empty when neither is there.
inline std::optional<int> aide_ou_version(const std::vector<std::string>& args, const std::string& programme,
                                          const std::string& usage, std::ostream& out) {
  for (const std::string& a : args) {
    if (a == "--help" || a == "-h") {
      out << usage;
      return 0;
    }
    if (a == "--version") {
      out << programme << " " << BRIVEL_VERSION << "\n";
      return 0;
    }
  }
  return std::nullopt;
}

// Refuses a bad command line: the reason and the usage on `err`.
inline int refuse(const std::string& programme, const std::string& pourquoi, const std::string& usage,
                  std::ostream& err) {
  err << programme << " : " << pourquoi << "\n" << usage;
  return kArguments;
}

}  // namespace brivel::cli
