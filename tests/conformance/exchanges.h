// The table of exchanges that the board model and the firmware answer
// alike (exchanges.txt beside this file), read for the tests of both.
#pragma once

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace brivel::test {

struct Exchange {
  bool send = false;  // '>' a line to write; '<' a reply awaited
  std::string bytes;  // with its line feed when sent; the reply's bytes ("?" any)
  int line = 0;
  bool reset = false;  // '!' the board restarts (the port opened again)
};

inline std::vector<Exchange> read_exchanges(const std::string& path) {
  std::vector<Exchange> out;
  std::ifstream in(path);
  int n = 0;
  for (std::string l; std::getline(in, l);) {
    ++n;
    if (l.empty() || l[0] == '#') continue;
    const std::string rest = l.size() > 2 ? l.substr(2) : "";
    if (l[0] == '>') out.push_back({true, rest == "LF" ? "\n" : rest + "\n", n});
    if (l[0] == '<') {
      std::string want = rest;
      for (const auto& [name, byte] : {std::pair<std::string, char>{"<ESC>", '\x1b'}, {"<LF>", '\n'}})
        for (size_t at; (at = want.find(name)) != std::string::npos;) want.replace(at, name.size(), 1, byte);
      out.push_back({false, want, n});
    }
    if (l[0] == '!') out.push_back({false, "", n, true});
  }
  return out;
}

inline bool reply_matches(const std::string& want, const std::string& got) {
  if (want.size() != got.size()) return false;
  for (size_t i = 0; i < want.size(); ++i)
    if (want[i] != '?' && want[i] != got[i]) return false;
  return true;
}

inline std::string exchanges_path() { return std::string(BRIVEL_SOURCE_DIR) + "/tests/conformance/exchanges.txt"; }

}  // namespace brivel::test
