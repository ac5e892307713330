// The board's log as text, one entry a line, for files a test can compare
// byte for byte:
//
//   <ms> <dir> <bytes>
//
// <ms> is the decimal time in milliseconds, <dir> one of '>' (from the
// program), '<' (from the board), '*' (a confirmed hole, "X=<x> Y=<y>" in
// motor steps) or '#' (a note of the board: "reset", "dialogue dropped",
// "rule <script line>"). The bytes are shown as the link's traffic report
// shows them, so that none is lost or ambiguous: printable ASCII as it
// stands, "<LF>" for a line feed, "<CR>" for a carriage return, "<xHH>" (two
// upper-case hex digits) for any other byte and for "<" itself. The line ends
// with one line feed.
#pragma once

#include <string>
#include <string_view>

#include "board/board_model.h"

namespace brivel {

std::string escape_bytes(std::string_view bytes);
std::string format_log_entry(const BoardLogEntry& e);

}  // namespace brivel
