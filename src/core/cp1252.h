// Text files on disk are in Windows-1252 with CR LF line ends, so that they
// move freely between this program and machines of the older generation;
// inside the program every text is UTF-8.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace brivel {

// UTF-8 to Windows-1252. A character that the code page lacks becomes "?".
// Invalid UTF-8 bytes are taken as Windows-1252 bytes already.
std::string utf8_to_cp1252(std::string_view utf8);

// Windows-1252 to UTF-8. The five unassigned bytes map to U+FFFD.
std::string cp1252_to_utf8(std::string_view bytes);

// Splits a file's bytes into lines at CR LF, LF or a lone CR, converting each
// to UTF-8. A final line end does not open a further line.
std::vector<std::string> split_cp1252_lines(std::string_view bytes);

// The text with its control bytes made visible for the operator: "<LF>",
// "<CR>", and the others by their code ("<01>").
std::string visible_bytes(std::string_view text);

}  // namespace brivel
