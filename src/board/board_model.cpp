#include "board/board_model.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <sstream>

namespace brivel {

namespace {

// Power-on values of the firmware's parameters, before any push.
const std::map<std::string, int> kPowerOn = {{"PX", 5000}, {"PY", 7500}, {"OX", 0}, {"IZ", 2}, {"MZ", 12}};

bool all_digits(const std::string& s) {
  return !s.empty() && std::all_of(s.begin(), s.end(), [](char c) { return c >= '0' && c <= '9'; });
}

std::string five_digits(int64_t v) {
  char buf[16];
  std::snprintf(buf, sizeof buf, "%05lld", static_cast<long long>(std::clamp<int64_t>(v, 0, 99999)));
  return buf;
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
    std::string kind, code;
    if (!(words >> kind)) continue;
    auto fail = [&] {
      if (error) *error = "ligne " + std::to_string(number) + " : " + line;
      return std::nullopt;
    };
    int nth = 0;
    if (!(words >> code >> nth) || code.size() != 2 || nth < 1) return fail();
    FaultRule r;
    r.code = code;
    r.nth = nth;
    if (kind == "B") {
      r.kind = FaultRule::Kind::ReplyB;
    } else if (kind == "C") {
      r.kind = FaultRule::Kind::ReplyC;
    } else if (kind == "D") {
      r.kind = FaultRule::Kind::LoseSteps;
      if (!(words >> r.lost_steps) || r.lost_steps < 0 || r.lost_steps > 99999) return fail();
    } else if (kind == "silence") {
      r.kind = FaultRule::Kind::Silence;
    } else if (kind == "refuse" && code == "ON") {
      o.refuse_on = nth;
      continue;
    } else {
      return fail();
    }
    std::string extra;
    if (words >> extra) return fail();
    o.faults.push_back(r);
  }
  return o;
}

BoardModel::BoardModel(BoardOptions options) : options_(std::move(options)), params_(kPowerOn) {}

void BoardModel::set_sensor(int index, bool unmasked) {
  if (index >= 0 && index < static_cast<int>(sensors_.size())) sensors_[index] = unmasked;
}

void BoardModel::reset(int64_t now_ms) {
  ++resets_;
  params_ = kPowerOn;
  working_ = false;
  pending_.clear();
  held_count_.reset();
  held_needs_closing_lf_ = awaiting_closing_lf_ = false;
  busy_until_ = now_ms;
  log(now_ms, '*', "reset");
}

std::vector<BoardOutput> BoardModel::receive(std::string_view bytes, int64_t now_ms) {
  std::vector<BoardOutput> out;
  for (char ch : bytes) {
    if (ch == '\n') {
      std::string line;
      line.swap(pending_);
      handle_line(line, now_ms, out);
    } else if (pending_.size() < 64) {  // a line that never ends is cut, not kept
      pending_.push_back(ch);
    }
  }
  return out;
}

const FaultRule* BoardModel::fault_for(const std::string& code) {
  int n = ++frame_counts_[code];
  for (const FaultRule& r : options_.faults)
    if (r.code == code && r.nth == n) return &r;
  return nullptr;
}

int64_t BoardModel::duration(double steps, const char* step_param) const {
  if (options_.instant) return 1;
  auto it = params_.find(step_param);
  double us = it == params_.end() ? 0 : it->second;
  return std::max<int64_t>(1, static_cast<int64_t>(steps * us / 1000.0));
}

void BoardModel::reply_after(int64_t now, int64_t duration_ms, const std::string& bytes,
                             std::vector<BoardOutput>& out) {
  int64_t at = std::max(now, busy_until_) + std::max<int64_t>(1, duration_ms);
  busy_until_ = at;
  if (bytes.empty()) return;  // silence: the time passes all the same
  out.push_back({at, bytes});
  log(at, '<', bytes);
}

void BoardModel::handle_line(const std::string& line, int64_t now, std::vector<BoardOutput>& out) {
  log(now, '>', line + "\n");
  if (line.empty()) {
    // The bare line feed of a dialogue.
    if (held_count_) {
      std::string count = *held_count_;
      held_count_.reset();
      awaiting_closing_lf_ = held_needs_closing_lf_;
      reply_after(now, 1, count, out);
    } else {
      awaiting_closing_lf_ = false;  // the closing one, or a stray one
    }
    return;
  }
  awaiting_closing_lf_ = false;
  if (line.size() != 7) return;  // not a frame: dropped
  std::string code = line.substr(0, 2), field = line.substr(2);
  int value = all_digits(field) ? std::atoi(field.c_str()) : -1;
  if (value < 0 && field != "xxxxx") return;
  handle_frame(code, value, now, out);
}

void BoardModel::handle_frame(const std::string& code, int value, int64_t now, std::vector<BoardOutput>& out) {
  const FaultRule* fault = fault_for(code);
  auto reply = [&](int64_t dur, const std::string& normal) {
    if (fault && fault->kind == FaultRule::Kind::Silence) return reply_after(now, dur, "", out);
    if (fault && fault->kind == FaultRule::Kind::ReplyB) return reply_after(now, dur, "B", out);
    if (fault && fault->kind == FaultRule::Kind::ReplyC) return reply_after(now, dur, "C", out);
    reply_after(now, dur, normal, out);
  };

  if (code == "PX" || code == "PY" || code == "OX" || code == "IZ" || code == "MZ" || code == "PW") {
    params_[code] = value;
  } else if (code == "Pw") {
    params_.erase("PW");
  } else if (code == "CP" || code == "cp") {
    params_["CP"] = code == "CP" ? 1 : 0;
  } else if (code == "AG") {
    working_ = true;
  } else if (code == "ZG") {
    working_ = false;
  } else if (code == "ZX") {
    busy_until_ = now;
    held_count_.reset();
  } else if (code == "MX" || code == "mX" || code == "Mx" || code == "mx") {
    // X counts in the unit of its code: full steps, or half steps with "mX"/"mx".
    int sign = code[1] == 'X' ? 1 : -1;
    int lost = fault && fault->kind == FaultRule::Kind::LoseSteps ? std::min(fault->lost_steps, value) : 0;
    if (!(fault && fault->kind == FaultRule::Kind::ReplyB)) x_ += sign * (value - lost);
    if (fault && fault->kind == FaultRule::Kind::LoseSteps) {
      held_count_ = five_digits(fault->lost_steps);
      held_needs_closing_lf_ = true;
      reply_after(now, duration(value, "PX"), "D", out);
    } else {
      reply(duration(value, "PX"), "A");
    }
  } else if (code == "MY") {
    if (!(fault && fault->kind == FaultRule::Kind::ReplyB)) y_ += value;
    reply(duration(value, "PY"), "A");
  } else if (code == "CZ" || code == "cZ") {
    int64_t cycle = options_.instant ? 1 : std::max(1, params_["IZ"] + params_["MZ"]);
    bool fine = !fault || fault->kind == FaultRule::Kind::LoseSteps;
    reply(cycle, "A");
    if (fine) {
      holes_.push_back({x_, y_, busy_until_});
      log(busy_until_, '*', "X=" + std::to_string(x_) + " Y=" + std::to_string(y_));
    }
  } else if (code == "OR" || code == "oR") {
    // The head runs back to its switch; the board tells how far it went.
    int64_t travelled = std::abs(static_cast<int64_t>(x_));
    if (fault && fault->kind != FaultRule::Kind::LoseSteps) {
      reply(duration(static_cast<double>(travelled), "PX"), "A");
    } else {
      held_count_ = five_digits(travelled);
      held_needs_closing_lf_ = true;
      reply_after(now, duration(static_cast<double>(travelled), "PX"), "D", out);
    }
    x_ = params_["OX"];
  } else if (code == "ON") {
    bool refuse = on_refused_ < options_.refuse_on;
    if (refuse) ++on_refused_;
    reply(1, refuse ? "B" : "A");
  } else if (code == "VD") {
    std::string s;
    for (bool b : sensors_) s.push_back(b ? 'O' : '-');
    held_count_ = s;
    held_needs_closing_lf_ = false;
  } else if (code == "rd") {
    eeprom_address_ = value % static_cast<int>(eeprom_.size());
    reply(1, std::string(1, static_cast<char>(eeprom_[eeprom_address_])));
    awaiting_closing_lf_ = true;
  } else if (code == "wr") {
    eeprom_[eeprom_address_] = static_cast<uint8_t>(value & 0xFF);
    reply(1, "A");
  }
  // "NU" and unknown codes: nothing to do, no reply.
}

}  // namespace brivel
