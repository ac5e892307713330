// Every byte that goes down the line is built here.
//
// A frame is eight bytes: a two-letter code (case matters: "MX", "mX", "Mx"
// and "mx" are four commands), a five-character field and a line feed. The
// field is either five decimal digits or the letters "xxxxx". A bare line
// feed is a signal of its own in the counted dialogues.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "core/run_state.h"

namespace brivel {

inline constexpr char kLF = '\n';
inline constexpr std::string_view kBareLF = "\n";

// The five digits of a number field: rounded to a whole number with halves
// away from zero, padded with zeros ("00000" picture). 12.5 gives "00013",
// 0 gives "00000". Empty when the rounded value is negative or needs a
// sixth digit: the board reads five digits and no sign.
std::optional<std::string> number_field(double value);

// code + number_field(value) + LF; empty when the field is refused.
std::optional<std::string> number_frame(std::string_view code, double value);
// The same from a field's text, read by the numeric-prefix rule.
std::optional<std::string> number_frame_from_text(std::string_view code, std::string_view text);

// code + "xxxxx" + LF.
std::string fixed_frame(std::string_view code);

// The service-line text for a refused number field.
std::string refusal_text(std::string_view code, double value);

// What our firmware writes once it has started, after every reset: ESC,
// "BRIVEL", line feed. No reply of the dialogues begins with ESC, and an
// EEPROM cell that holds it is read with the greeting's watch off.
inline constexpr std::string_view kSalutCarte = "\x1b" "BRIVEL\n";

// The step durations our firmware drives ("PX", "PY", microseconds): a
// shorter one is ignored, a longer one driven at the longest.
inline constexpr int kPasMinUs = 20;
inline constexpr int kPasMaxUs = 32000;

// Receive side, single-character mode: clears the five reply flags, then
// raises the one that `ch` stands for ("A" to "D", exactly), or stores it in
// car_autre with rep_autre.
void note_single_reply(RunState& s, char ch);

// A counted reply as it is kept in rep_5car: five characters, blank-padded
// on the right when fewer came.
std::string counted_reply(std::string_view received);

}  // namespace brivel
