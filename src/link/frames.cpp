#include "link/frames.h"

#include <cmath>

#include "core/numbers.h"

namespace brivel {

std::optional<std::string> number_field(double value) {
  if (!std::isfinite(value)) return std::nullopt;
  std::string digits = format_picture(value, "00000");
  // A value that rounds to zero from below shows as "-00000": that is no
  // move at all, and the board reads it as zero.
  if (!digits.empty() && digits[0] == '-') {
    if (digits.find_first_not_of("-0") != std::string::npos) return std::nullopt;
    digits.erase(0, 1);
  }
  if (digits.size() != 5) return std::nullopt;
  return digits;
}

std::optional<std::string> number_frame(std::string_view code, double value) {
  auto field = number_field(value);
  if (!field) return std::nullopt;
  std::string frame(code);
  frame += *field;
  frame += kLF;
  return frame;
}

std::optional<std::string> number_frame_from_text(std::string_view code, std::string_view text) {
  return number_frame(code, val(text));
}

std::string fixed_frame(std::string_view code) {
  std::string frame(code);
  frame += "xxxxx";
  frame += kLF;
  return frame;
}

std::string refusal_text(std::string_view code, double value) {
  return "Valeur " + str_plain(value) + " refusée pour la commande " + std::string(code) +
         " : la machine n'accepte que 0 à 99999 - rien n'a été envoyé";
}

void note_single_reply(RunState& s, char ch) {
  s.rep_A = s.rep_B = s.rep_C = s.rep_D = s.rep_autre = false;
  switch (ch) {
    case 'A': s.rep_A = true; break;
    case 'B': s.rep_B = true; break;
    case 'C': s.rep_C = true; break;
    case 'D': s.rep_D = true; break;
    default:
      s.car_autre = ch;
      s.rep_autre = true;
  }
}

std::string counted_reply(std::string_view received) {
  std::string r(received.substr(0, 5));
  r.resize(5, ' ');
  return r;
}

}  // namespace brivel
