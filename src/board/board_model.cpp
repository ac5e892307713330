#include "board/board_model.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "board/board_timing.h"

namespace brivel {

namespace {

// The firmware's values at power-on, before the program pushes its own.
// "CP" 0: single-sensor mode; no "PW": the X motor isn't chopped.
const std::map<std::string, int> kPowerOn = {{"PX", 5000}, {"PY", 7500}, {"OX", 0},
                                             {"IZ", 2},    {"MZ", 12},   {"CP", 0}};

bool is_x_move(const std::string& c) { return c == "MX" || c == "mX" || c == "Mx" || c == "mx"; }
bool is_origin(const std::string& c) { return c == "OR" || c == "oR"; }
bool is_punch(const std::string& c) { return c == "CZ" || c == "cZ"; }

std::string five_digits(int64_t v) {
  char buf[16];
  std::snprintf(buf, sizeof buf, "%05lld", static_cast<long long>(std::clamp<int64_t>(v, 0, 99999)));
  return buf;
}

std::string rule_text(const FaultRule& r) {
  using K = FaultRule::Kind;
  const std::string where = r.code + " " + std::to_string(r.nth);
  switch (r.kind) {
    case K::ReplyB: return "rule B " + where;
    case K::ReplyC: return "rule C " + where;
    case K::Silence: return "rule silence " + where;
    case K::LoseSteps:
      return r.lost_steps < 0 ? "rule A " + where : "rule D " + where + " " + std::to_string(r.lost_steps);
  }
  return "rule";
}

}  // namespace

BoardModel::BoardModel(BoardOptions options) : options_(std::move(options)), params_(kPowerOn) {}

void BoardModel::set_sensor(int index, bool unmasked) {
  if (index >= 0 && index < static_cast<int>(sensors_.size())) sensors_[index] = unmasked;
}

BoardOutput BoardModel::reset(int64_t now_ms) {
  ++resets_;
  params_ = kPowerOn;
  working_ = false;
  lines_.clear();
  dialogue_ = Dialogue::None;
  held_.clear();
  busy_until_ = now_ms + 1;
  note(now_ms, "reset");
  return {now_ms + 1, std::string(kGreeting)};
}

int BoardModel::param(const char* code) const {
  auto it = params_.find(code);
  return it == params_.end() ? 0 : it->second;
}

std::vector<BoardOutput> BoardModel::receive(std::string_view bytes, int64_t now_ms) {
  std::vector<BoardOutput> out;
  for (const std::string& line : lines_.feed(bytes)) on_line(line, now_ms, out);
  return out;
}

int64_t BoardModel::send(int64_t now, int64_t after_ms, const std::string& bytes, std::vector<BoardOutput>& out) {
  const int64_t at = std::max(now, busy_until_) + std::max<int64_t>(1, after_ms);
  busy_until_ = at;
  out.push_back({at, bytes});
  log_.push_back({at, '<', bytes});
  return at;
}

std::string fault_class(const std::string& code) {
  if (is_x_move(code)) return "MX";
  if (is_origin(code)) return "OR";
  if (code == "cZ") return "CZ";
  return code;
}

const FaultRule* BoardModel::fault_for(const std::string& code) {
  const std::string cls = fault_class(code);
  const int n = ++frame_counts_[cls];
  for (const FaultRule& r : options_.faults)
    if (fault_class(r.code) == cls && r.nth == n) return &r;
  return nullptr;
}

void BoardModel::on_line(const std::string& line, int64_t now, std::vector<BoardOutput>& out) {
  log_.push_back({now, '>', line + "\n"});
  if (is_bare_line_feed(line)) return on_bare_lf(now, out);
  auto frame = parse_frame(line);
  if (!frame) return;  // noise on the line: the board waits for the next line feed
  if (dialogue_ != Dialogue::None) {
    // The program went on without its line feed (it was restarted, or lost
    // a reply): the board forgets the dialogue rather than answer late.
    note(now, "dialogue dropped");
    dialogue_ = Dialogue::None;
    held_.clear();
  }
  on_frame(frame->code, frame->value, now, out);
}

void BoardModel::on_bare_lf(int64_t now, std::vector<BoardOutput>& out) {
  switch (dialogue_) {
    case Dialogue::CountOnLf:
      send(now, 1, held_, out);
      held_.clear();
      dialogue_ = held_closing_lf_ ? Dialogue::ClosingLf : Dialogue::None;
      break;
    case Dialogue::ClosingLf:
    case Dialogue::ReadLf:
      dialogue_ = Dialogue::None;
      break;
    case Dialogue::None:
      break;  // a stray line feed changes nothing
  }
}

int64_t BoardModel::work_ms(const std::string& code, int value) const {
  if (options_.instant) return 1;
  if (is_x_move(code)) return steps_duration_ms(value, param("PX"));
  if (code == "MY" || code == "My") return steps_duration_ms(value, param("PY"));
  if (is_origin(code)) return origin_search_ms(x_, param("OX"), param("PX"));
  if (is_punch(code)) return punch_cycle_ms(param("IZ"), param("MZ"));
  return 1;
}

BoardModel::Answer BoardModel::carry_out(const std::string& code, int value, int lost_steps) {
  Answer a;
  a.after_ms = work_ms(code, value);
  if ((code == "PX" || code == "PY") && value < kStepUsMin) {
    // kept as it was
  } else if (code == "PX" || code == "PY" || code == "OX" || code == "IZ" || code == "MZ" || code == "PW") {
    params_[code] = value;
  } else if (code == "Pw") {
    params_.erase("PW");
  } else if (code == "CP" || code == "cp") {
    params_["CP"] = code == "CP" ? 1 : 0;
  } else if (code == "AG" || code == "ZG") {
    working_ = code == "AG";
  } else if (is_x_move(code)) {
    const int done = value - std::min(lost_steps, value);
    x_ += code[1] == 'X' ? done : -done;
    a.bytes = "A";
  } else if (code == "MY") {
    y_ += value - std::min(lost_steps, value);
    a.bytes = "A";
  } else if (code == "My") {
    // The card fed back, to undo a feed made by hand in a pause.
    y_ -= value - std::min(lost_steps, value);
    a.bytes = "A";
  } else if (is_punch(code)) {
    a.bytes = "A";
    a.hole = true;
  } else if (is_origin(code)) {
    a.bytes = "D";
    a.held = five_digits(std::llabs(static_cast<int64_t>(x_)));
    a.closing_lf = true;
    x_ = param("OX");
  } else if (code == "ON") {
    const bool refuse = on_refused_ < options_.refuse_on;
    if (refuse) ++on_refused_;
    a.bytes = refuse ? "B" : "A";
  } else if (code == "VD") {
    std::string s;
    for (bool unmasked : sensors_) s.push_back(unmasked ? 'O' : '-');
    a.held = s;
  } else if (code == "rd") {
    eeprom_address_ = value % static_cast<int>(eeprom_.size());
    a.bytes = std::string(1, static_cast<char>(eeprom_[eeprom_address_]));
    a.read_lf = true;
  } else if (code == "wr") {
    eeprom_[eeprom_address_] = static_cast<uint8_t>(value & 0xFF);
    a.bytes = "A";
  }
  // "ZX" is handled by the caller, which knows the time; "NU" and codes this firmware doesn't know: nothing, no reply.
  return a;
}

void BoardModel::on_frame(const std::string& code, std::optional<int> value, int64_t now,
                          std::vector<BoardOutput>& out) {
  using K = FaultRule::Kind;
  const FaultRule* rule = fault_for(code);
  const int v = value.value_or(0);
  if (rule) note(now, rule_text(*rule));
  if (rule && rule->kind == K::Silence) return;
  if (rule && rule->kind == K::ReplyB) {
    send(now, 1, "B", out);  // refused at once: the punch isn't at rest
    return;
  }
  if (rule && rule->kind == K::ReplyC) {
    send(now, work_ms(code, v), "C", out);  // tried, and failed
    return;
  }
  const bool lose = rule && rule->kind == K::LoseSteps && rule->lost_steps >= 0;
  const bool plain_a = rule && rule->kind == K::LoseSteps && rule->lost_steps < 0;
  Answer a = carry_out(code, v, lose ? rule->lost_steps : 0);
  if (code == "ZX") {
    dialogue_ = Dialogue::None;
    held_.clear();
    busy_until_ = now;
  }
  // assign(1, c), not = "c": GCC 12 at -O2 warns of a copy overlapping itself here.
  if (plain_a) {
    a.bytes.assign(1, 'A');
    a.held.reset();
  } else if (lose) {
    a.bytes.assign(1, 'D');
    a.held = five_digits(rule->lost_steps);
    a.closing_lf = true;
    a.hole = false;
  }
  int64_t at = now;
  if (!a.bytes.empty()) at = send(now, a.after_ms, a.bytes, out);
  if (a.hole && a.bytes == "A") {
    holes_.push_back({x_, y_, at});
    log_.push_back({at, '*', "X=" + std::to_string(x_) + " Y=" + std::to_string(y_)});
  }
  if (a.held) {
    held_ = *a.held;
    held_closing_lf_ = a.closing_lf;
    dialogue_ = Dialogue::CountOnLf;
  } else if (a.read_lf) {
    dialogue_ = Dialogue::ReadLf;
  }
}

}  // namespace brivel
