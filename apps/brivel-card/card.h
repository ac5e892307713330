// brivel-card [--set FILE.set] [--events OUT] [--rows OUT] [--svg OUT] [--pdf OUT]
//             [--transpositions] PIECE.mid
//
// Opens the piece on a console without a window, on the simulated platform
// (its virtual clock makes the two-second wait of an opening free), with the
// instrument of the .set file or the console's defaults, exactly as the
// operator would from the menu. Writes the text event file and the rows of
// the event list if asked, the card drawn at 1:1 as SVG or PDF, the table of
// transpositions, and one line of JSON on `out`.
#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace brivel {

// Exit status: 0 the piece was imported, 1 it could not be (a file that is
// no readable MIDI file of at most 64 MB included), 2 bad arguments (the
// reason on `err`, with the usage for a bad command line), 3 an output file
// could not be written.
int brivel_card(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);

// A JSON string literal, quotes included.
std::string json_texte(const std::string& s);

}  // namespace brivel
