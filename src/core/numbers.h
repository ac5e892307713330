// Number and text rules of the console.
//
// Every numeric parameter of the console lives as text in a field and is
// turned into a number by its reader at the moment it is needed. Three
// rounding rules are in use and must not be mixed up:
//   - half to even: every conversion of a number to an integer (cint, clng);
//   - halves away from zero: a number written through a picture ("00000");
//   - floor: where a reader says so, with std::floor.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace brivel {

// The decimal mark of the machine's locale, used by pictures, by the strict
// conversion and by the decimal text of a number. The numeric-prefix rule
// (val) always takes "." whatever this says.
char decimal_mark();

// Numeric-prefix rule: blanks (space, tab, CR, LF) are skipped wherever they
// stand, an optional sign and a leading number with "." as the only decimal
// mark are taken, parsing stops at the first other character, and a text
// without a leading number gives 0. val("12.5abc") == 12.5, val("") == 0.
double val(std::string_view text);

// Round to a whole number, halves to the even neighbour (2.5 -> 2, 3.5 -> 4).
double round_half_even(double x);

// Half-to-even conversion to a 16-bit or 32-bit integer. Empty when the
// rounded value does not fit (or is not a number).
std::optional<int16_t> cint(double x);
std::optional<int32_t> clng(double x);

// The same, held at the nearest bound when the value doesn't fit: the
// position counters, which must never wrap.
int16_t cint_borne(double x);
int32_t clng_borne(double x);

// The strict conversion of a whole text to a number, by the locale: leading
// and trailing blanks are allowed, anything else that is no number (empty
// text included) gives an empty result.
std::optional<double> to_number_strict(std::string_view text);

// A number through a picture of zeros: "00000", "0000000", "0.00", "00.000".
// The count of zeros before the mark is the minimum count of integer digits,
// the count after it the fixed count of decimals. Halves go away from zero,
// taken on the number's 15-digit decimal form, so 2.675 with "0.00" is
// "2.68". A negative number gets a leading "-".
std::string format_picture(double x, std::string_view picture);

// The decimal text of a number, without a blank: "12", "-1", "0.5".
// Whole numbers have no decimals; others show up to 15 significant digits.
std::string str_plain(double x);

// The number form: one blank in front of a number that isn't negative,
// the sign in front of one that is (" 12", "-1", " 16.6").
std::string str_num(double x);

}  // namespace brivel
