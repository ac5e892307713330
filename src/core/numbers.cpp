#include "core/numbers.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>

namespace brivel {

char decimal_mark() { return '.'; }

namespace {

bool is_blank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }
bool is_digit(char c) { return c >= '0' && c <= '9'; }

// 15 significant decimal digits of |x| and the power of ten of the first one:
// |x| == 0.d1d2...d15 * 10^(exp10).
void decimal_digits(double x, std::string& digits, int& exp10) {
  char buf[40];
  std::snprintf(buf, sizeof buf, "%.14e", std::fabs(x));
  // buf: d.dddddddddddddde[+-]XX
  digits.clear();
  digits.push_back(buf[0]);
  const char* p = buf + 2;
  while (is_digit(*p)) digits.push_back(*p++);
  ++p;  // 'e'
  exp10 = std::atoi(p) + 1;
}

}  // namespace

double val(std::string_view text) {
  // Gather the leading number, blanks left out, as a literal for strtod so
  // that "0.083" is read as the same double as the literal 0.083.
  std::string literal;
  bool seen_sign = false, seen_mark = false, seen_digit = false;
  for (char c : text) {
    if (is_blank(c)) continue;
    if ((c == '-' || c == '+') && !seen_sign && !seen_mark && !seen_digit) {
      seen_sign = true;
    } else if (c == '.' && !seen_mark) {
      seen_mark = true;
    } else if (is_digit(c)) {
      seen_digit = true;
    } else {
      break;
    }
    literal.push_back(c);
  }
  if (!seen_digit) return 0;
  return std::strtod(literal.c_str(), nullptr);
}

double round_half_even(double x) {
  // Plain arithmetic, not the rounding mode of the floating-point
  // environment: cheap enough for the decoder's millions of times.
  if (!std::isfinite(x)) return x;
  double r = std::round(x);
  if (std::fabs(x - std::trunc(x)) == 0.5) r = 2.0 * std::round(x / 2.0);
  return r;
}

std::optional<int16_t> cint(double x) {
  double r = round_half_even(x);
  if (!(r >= std::numeric_limits<int16_t>::min() && r <= std::numeric_limits<int16_t>::max()))
    return std::nullopt;
  return static_cast<int16_t>(r);
}

std::optional<int32_t> clng(double x) {
  double r = round_half_even(x);
  if (!(r >= std::numeric_limits<int32_t>::min() && r <= std::numeric_limits<int32_t>::max()))
    return std::nullopt;
  return static_cast<int32_t>(r);
}

std::optional<double> to_number_strict(std::string_view text) {
  std::size_t b = 0, e = text.size();
  while (b < e && is_blank(text[b])) ++b;
  while (e > b && is_blank(text[e - 1])) --e;
  std::string s(text.substr(b, e - b));
  if (s.empty()) return std::nullopt;
  // Accept: [sign] digits [mark digits] [E [sign] digits], at least one digit.
  std::string c;
  std::size_t i = 0;
  if (s[i] == '-' || s[i] == '+') c.push_back(s[i++]);
  std::size_t digits = 0;
  while (i < s.size() && is_digit(s[i])) { c.push_back(s[i++]); ++digits; }
  if (i < s.size() && s[i] == decimal_mark()) {
    c.push_back('.');
    ++i;
    while (i < s.size() && is_digit(s[i])) { c.push_back(s[i++]); ++digits; }
  }
  if (digits == 0) return std::nullopt;
  if (i < s.size() && (s[i] == 'e' || s[i] == 'E')) {
    c.push_back('e');
    ++i;
    if (i < s.size() && (s[i] == '-' || s[i] == '+')) c.push_back(s[i++]);
    std::size_t exp_digits = 0;
    while (i < s.size() && is_digit(s[i])) { c.push_back(s[i++]); ++exp_digits; }
    if (exp_digits == 0) return std::nullopt;
  }
  if (i != s.size()) return std::nullopt;
  double v = std::strtod(c.c_str(), nullptr);
  if (!std::isfinite(v)) return std::nullopt;
  return v;
}

std::string format_picture(double x, std::string_view picture) {
  std::size_t mark = picture.find('.');
  int int_zeros = static_cast<int>(mark == std::string_view::npos ? picture.size() : mark);
  int decimals = mark == std::string_view::npos ? 0 : static_cast<int>(picture.size() - mark - 1);
  if (!std::isfinite(x)) x = 0;

  std::string digits;
  int exp10 = 0;
  std::string int_part, frac_part;
  bool negative = x < 0;
  if (x == 0) {
    int_part = "0";
    frac_part.assign(decimals, '0');
    negative = false;
  } else {
    decimal_digits(x, digits, exp10);
    // Keep the digits up to `decimals` places behind the mark.
    int keep = exp10 + decimals;
    std::string kept;
    if (keep >= 0) {
      if (keep < static_cast<int>(digits.size())) {
        kept = digits.substr(0, keep);
        bool up = digits[keep] >= '5';
        if (up) {
          int k = keep - 1;
          while (k >= 0 && kept[k] == '9') kept[k--] = '0';
          if (k >= 0)
            ++kept[k];
          else {
            kept.insert(kept.begin(), '1');
            ++exp10;
          }
        }
      } else {
        kept = digits + std::string(keep - digits.size(), '0');
      }
    } else {
      kept = "";
    }
    // kept holds the digits of value * 10^decimals, its first digit at 10^(exp10-1).
    int int_len = exp10;
    std::string all = kept;
    if (int_len <= 0) {
      all = std::string(-int_len, '0') + all;
      int_len = 0;
    }
    int_part = all.substr(0, std::min<std::size_t>(int_len, all.size()));
    if (static_cast<int>(int_part.size()) < int_len) int_part.append(int_len - int_part.size(), '0');
    frac_part = all.size() > static_cast<std::size_t>(int_len) ? all.substr(int_len) : "";
    frac_part.resize(decimals, '0');
    std::size_t nz = int_part.find_first_not_of('0');
    int_part = nz == std::string::npos ? "" : int_part.substr(nz);
    if (int_part.empty() && frac_part.find_first_not_of('0') == std::string::npos) negative = false;
  }
  if (static_cast<int>(int_part.size()) < int_zeros) int_part.insert(0, int_zeros - int_part.size(), '0');
  std::string out = negative ? "-" : "";
  out += int_part;
  if (decimals > 0) {
    out.push_back(decimal_mark());
    out += frac_part;
  }
  return out;
}

std::string str_plain(double x) {
  if (!std::isfinite(x)) return "0";
  if (x == std::floor(x) && std::fabs(x) < 1e15) {
    char buf[32];
    std::snprintf(buf, sizeof buf, "%.0f", x);
    std::string s = buf;
    return s == "-0" ? "0" : s;
  }
  char buf[40];
  std::snprintf(buf, sizeof buf, "%.15g", x);
  std::string s = buf;
  for (char& c : s)
    if (c == '.') c = decimal_mark();
  return s;
}

std::string str_num(double x) {
  std::string s = str_plain(x);
  return s[0] == '-' ? s : " " + s;
}

}  // namespace brivel

namespace brivel {

int16_t cint_borne(double x) {
  if (auto r = cint(x)) return *r;
  return x < 0 ? INT16_MIN : INT16_MAX;
}

int32_t clng_borne(double x) {
  if (auto r = clng(x)) return *r;
  return x < 0 ? INT32_MIN : INT32_MAX;
}

}  // namespace brivel
