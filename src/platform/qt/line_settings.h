// The settings string of the serial line, in the form the older serial
// controls took: "baud,parity,data bits,stop bits", e.g. "57600,n,8,1".
#pragma once

#include <optional>
#include <string_view>

namespace brivel {

struct LineSettings {
  int baud = 57600;
  char parity = 'n';   // n none, e even, o odd, m mark, s space (lower case)
  int data_bits = 8;   // 5 to 8
  int stop_halves = 2; // stop bits in halves: 2 one, 3 one and a half, 4 two
};

// The settings of the text, or nothing when it is not of that form; the
// port then keeps its present settings, as the older controls refused a bad
// string without touching the line. Letters may be of either case and
// blanks around the parts are allowed.
std::optional<LineSettings> parse_line_settings(std::string_view text);

}  // namespace brivel
