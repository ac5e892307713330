// The fault script: what a tester tells the board to do wrong, one rule a line.
#include <algorithm>
#include <cctype>
#include <sstream>

#include "board/board_model.h"

namespace brivel {

namespace {

std::string lower(std::string s) {
  std::transform(s.begin(), s.end(), s.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return s;
}

bool read_count(std::istringstream& words, int max, int* out) {
  std::string w;
  if (!(words >> w) || w.size() > 6 ||
      !std::all_of(w.begin(), w.end(), [](unsigned char c) { return std::isdigit(c); }))
    return false;
  *out = std::stoi(w);
  return *out <= max;
}

// The codes the board answers: a rule on any other would never fire.
bool is_code(const std::string& c) {
  const std::string cls = fault_class(c);
  return cls == "MX" || cls == "OR" || cls == "CZ" || cls == "MY" || cls == "My" || cls == "ON" || cls == "VD" || cls == "rd" ||
         cls == "wr";
}

}  // namespace

std::optional<BoardOptions> parse_fault_script(std::string_view text, std::string* error) {
  BoardOptions o;
  std::istringstream in{std::string(text)};
  std::string line;
  int number = 0;
  while (std::getline(in, line)) {
    ++number;
    if (auto hash = line.find('#'); hash != std::string::npos) line.erase(hash);
    std::istringstream words(line);
    std::string verb, code;
    if (!(words >> verb)) continue;
    auto fail = [&](const char* why) -> std::optional<BoardOptions> {
      if (error) {
        std::string shown = line;
        while (!shown.empty() && std::isspace(static_cast<unsigned char>(shown.back()))) shown.pop_back();
        *error = "Script de défauts, ligne " + std::to_string(number) + " : " + why + " (« " + shown + " »)";
      }
      return std::nullopt;
    };
    verb = lower(verb);
    if (verb != "a" && verb != "b" && verb != "c" && verb != "d" && verb != "silence" && verb != "refuse")
      return fail("action inconnue, attendu A, B, C, D, silence ou refuse");
    if (!(words >> code)) return fail("code de deux lettres attendu");
    if (!is_code(code))
      return fail("code que la carte ne connaît pas ou ne répond pas (MX, MY, CZ, OR, ON, VD, rd, wr)");
    FaultRule r;
    r.code = code;
    if (!read_count(words, 999999, &r.nth) || r.nth < 1) return fail("rang attendu, un nombre à partir de 1");
    if (verb == "refuse" && code != "ON") return fail("refuse ne vaut que pour ON");
    if (verb == "d" && !read_count(words, 99999, &r.lost_steps))
      return fail("nombre de pas attendu après le rang, de 0 à 99999");
    std::string extra;
    if (words >> extra) return fail("mot en trop");
    if (verb == "refuse") {
      o.refuse_on = r.nth;
      continue;
    }
    if (verb == "a") {
      r.kind = FaultRule::Kind::LoseSteps;
      r.lost_steps = -1;
    } else if (verb == "b") {
      r.kind = FaultRule::Kind::ReplyB;
    } else if (verb == "c") {
      r.kind = FaultRule::Kind::ReplyC;
    } else if (verb == "d") {
      r.kind = FaultRule::Kind::LoseSteps;
    } else {
      r.kind = FaultRule::Kind::Silence;
    }
    o.faults.push_back(r);
  }
  return o;
}

}  // namespace brivel
