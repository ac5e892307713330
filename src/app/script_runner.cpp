#include "app/script_runner.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <optional>
#include <ostream>
#include <regex>
#include <sstream>

#include "core/app_paths.h"
#include "core/event_loop.h"

namespace brivel {

namespace {

ScriptResult error(std::string why) { return {ScriptStatus::ScriptError, 0, std::move(why), false}; }
ScriptResult failure(std::string why) { return {ScriptStatus::Failed, 0, std::move(why), false}; }

bool blank(char c) { return c == ' ' || c == '\t'; }

// Splits "WORD rest of line" once: the rest starts after the one blank that
// ends the word, so that "set Text1  x" types " x".
std::pair<std::string, std::string> head(const std::string& s) {
  std::size_t b = 0;
  while (b < s.size() && blank(s[b])) ++b;
  if (b == s.size()) return {"", ""};
  std::size_t e = b;
  while (e < s.size() && !blank(s[e])) ++e;
  if (e == s.size()) return {s.substr(b), ""};
  return {s.substr(b, e - b), s.substr(e + 1)};
}

// A finite decimal number, nothing before or after it ("inf", "nan" and
// " 5" are not).
std::optional<double> number(const std::string& s) {
  if (s.empty() || blank(s[0])) return std::nullopt;
  char* end = nullptr;
  const double v = std::strtod(s.c_str(), &end);
  if (*end != '\0' || !std::isfinite(v)) return std::nullopt;
  return v;
}

// Commands whose argument is one word: anything behind it is refused, not
// silently dropped.
std::optional<ScriptResult> extra_words(const std::string& cmd, const std::string& rest) {
  auto [word, after] = head(rest);
  const bool one_word = cmd == "click" || cmd == "start" || cmd == "print";
  const bool none = cmd == "quit";
  if ((one_word && !after.empty()) || (none && !word.empty()))
    return error("mots en trop après " + cmd + (one_word ? " " + word : "") + " : « " + (none ? rest : after) + " »");
  return std::nullopt;
}

}  // namespace

std::string script_value(const Element& e) {
  switch (e.kind()) {
    case Kind::CheckBox:
    case Kind::OptionButton:
    case Kind::Gauge:
      return std::to_string(e.value());
    case Kind::Lamp:
      return std::to_string(e.color());
    default:
      return e.text();
  }
}

ScriptResult ScriptRunner::run(const std::string& script) {
  std::istringstream in(script);
  lines_.clear();
  for (std::string line; std::getline(in, line);) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    lines_.push_back(line);
  }
  next_ = 0;
  pending_.reset();
  ended_.reset();
  return play(false);
}

ScriptResult ScriptRunner::play(bool in_handler) {
  for (;;) {
    if (ended_) return *ended_;
    if (pending_) {
      if (in_handler && !pending_->holds() && !pending_->expired(app_.p.tick_ms())) return {};
      // Outside a started handler the wait is ours: the event loop turns here.
      while (!pending_->holds() && !pending_->expired(app_.p.tick_ms()))
        app_.p.turn(static_cast<int>(std::clamp(pending_->until_ms - app_.p.tick_ms(), 1.0, 50.0)));
      auto p = std::move(pending_);
      pending_.reset();
      if (!p->holds()) {
        ended_ = at_line(p->line, failure(p->failure()));
        continue;
      }
    }
    if (next_ >= lines_.size()) return {};
    const std::string& line = lines_[next_++];
    auto [word, rest] = head(line);
    if (word.empty() || word[0] == '#') continue;
    line_number_ = static_cast<int>(next_);
    line_text_ = line;
    if (word == "finish") {
      if (!rest.empty()) {
        ended_ = at_line(line_number_, error("mots en trop après finish : « " + rest + " »"));
        continue;
      }
      // The next lines wait for the started handler's end: its player stops.
      if (in_handler) {
        parked_at_ = started_;
        return {};
      }
      continue;
    }
    if (in_handler && word == "quit") {
      ended_ = at_line(line_number_, failure("quit refusé : la commande lancée par « start " + started_name_ +
                                             " » tourne encore (finish attend sa fin)"));
      continue;
    }
    ScriptResult r = step(line);
    if (r.status != ScriptStatus::Ok || r.quit) ended_ = at_line(line_number_, r);
  }
}

ScriptResult ScriptRunner::at_line(int number, ScriptResult r) {
  r.line = number;
  if (r.status != ScriptStatus::Ok)
    r.message = "ligne " + std::to_string(number) + " : " + lines_[number - 1] + "\n  " + r.message;
  return r;
}

void ScriptRunner::tick() {
  // One player per started handler: a line that clicks a long handler runs
  // it to its end, as "click" does, without playing the next lines inside it.
  if (playing_ >= started_ || ended_ || parked_at_ != 0) return;
  ++playing_;
  play(true);
  --playing_;
  // A failure can't unwind the started handler: the script ends here.
  if (ended_ && end_now) end_now(*ended_);
}

ScriptResult ScriptRunner::start(Element& e, const std::string& name) {
  const std::string outer = started_name_;
  started_name_ = name;
  ++started_;
  const int timer = app_.p.add_timer(kTickMs, [this] { tick(); });
  const bool clicked = e.operator_click();
  app_.p.remove_timer(timer);
  --started_;
  if (parked_at_ > started_) parked_at_ = 0;  // the end it waited for
  started_name_ = outer;
  if (!clicked) return failure(name + " ne peut pas être cliqué (désactivé ou caché)");
  return {};
}

ScriptResult ScriptRunner::step(const std::string& line) {
  auto [cmd, rest] = head(line);
  if (auto refused = extra_words(cmd, rest)) return *refused;
  Model& m = app_.m;
  auto field = [&](const std::string& name) -> Element* { return m.find(name); };

  if (cmd == "set") {
    auto [name, text] = head(rest);
    Element* e = field(name);
    if (!e) return error("champ inconnu : " + name);
    if (e->kind() != Kind::TextField) return error(name + " n'est pas un champ de saisie");
    if (!m.reachable(*e)) return failure(name + " n'est pas accessible (désactivé ou caché)");
    e->set_text(text);
    return {};
  }
  if (cmd == "check") {
    auto [name, v] = head(rest);
    Element* e = field(name);
    if (!e) return error("champ inconnu : " + name);
    const bool box = e->kind() == Kind::CheckBox, option = e->kind() == Kind::OptionButton;
    if (!(box && (v == "0" || v == "1" || v == "2")) && !(option && (v == "0" || v == "1")))
      return error("check CASE 0|1|2 ou check OPTION 0|1");
    if (!m.reachable(*e)) return failure(name + " n'est pas accessible (désactivé ou caché)");
    e->set_value(std::atoi(v.c_str()));
    return {};
  }
  if (cmd == "click" || cmd == "start") {
    Element* e = field(rest);
    if (!e) return error("élément inconnu : " + rest);
    if (cmd == "start") return start(*e, rest);
    if (!e->operator_click()) return failure(rest + " ne peut pas être cliqué (désactivé ou caché)");
    return {};
  }
  if (cmd == "select") {
    auto [name, row] = head(rest);
    Element* e = field(name);
    if (!e || e->kind() != Kind::List) return error("liste inconnue : " + name);
    if (!m.reachable(*e)) return failure(name + " n'est pas accessible (désactivée ou cachée)");
    const auto& rows = e->rows();
    for (std::size_t i = 0; i < rows.size(); ++i) {
      if (rows[i] == row) {
        e->set_selected(static_cast<int>(i));
        e->click();
        return {};
      }
    }
    return failure(name + " n'a pas de ligne « " + row + " »");
  }
  if (cmd == "answer") {
    auto [kind, arg] = head(rest);
    if (kind == "open") {
      std::vector<std::string> paths;
      std::istringstream words(arg);
      for (std::string p; words >> p;) paths.push_back(p);
      if (paths.empty()) return error("answer open CHEMIN...");
      if (paths.size() == 1) {
        dialogs_.open_answers.push_back(paths[0]);
      } else {
        // A multiple selection: the folder, then the names, '\0' between.
        // The dialog picks in one folder only.
        auto folder_of = [](const std::string& p) {
          std::size_t sep = p.rfind(kSep);
          return sep == std::string::npos ? std::string() : p.substr(0, sep);
        };
        std::string folder = folder_of(paths[0]);
        std::string answer = folder;
        for (const auto& p : paths) {
          if (folder_of(p) != folder) return error("answer open : les fichiers d'une sélection sont d'un même dossier");
          answer.push_back('\0');
          answer += p.substr(p.rfind(kSep) + 1);
        }
        dialogs_.open_answers.push_back(answer);
      }
    } else if (kind == "save") {
      dialogs_.save_answers.push_back(arg);
    } else if ((kind == "yes" || kind == "no" || kind == "ok") && !arg.empty()) {
      return error("mots en trop après answer " + kind + " : « " + arg + " »");
    } else if (kind == "yes" || kind == "no" || kind == "ok") {
      dialogs_.box_answers.push_back(kind == "yes" ? BoxAnswer::Yes : kind == "no" ? BoxAnswer::No : BoxAnswer::Ok);
    } else if (kind == "input") {
      dialogs_.input_answers.push_back(arg);
    } else {
      return error("answer open|save|yes|no|ok|input");
    }
    return {};
  }
  if (cmd == "wait" || cmd == "expect") {
    auto [name, after] = head(rest);
    Element* e = field(name);
    if (!e) return error("champ inconnu : " + name);
    auto [op, text] = head(after);
    if (op != "=" && op != "~") return error(cmd + " CHAMP = TEXTE ou " + cmd + " CHAMP ~ EXPRESSION");
    double seconds = 10;
    if (cmd == "wait") {
      // The last word is the time limit when it reads as one; a limit that
      // never comes, or runs backwards, is refused.
      std::size_t last = text.rfind(' ');
      if (last != std::string::npos) {
        const std::string word = text.substr(last + 1);
        char* end = nullptr;
        const double v = std::strtod(word.c_str(), &end);
        if (!word.empty() && *end == '\0' && (!std::isfinite(v) || v < 0))
          return error("wait : durée en secondes finie et positive attendue, pas « " + word + " »");
        if (auto s = number(word)) {
          seconds = *s;
          text = text.substr(0, last);
        }
      }
    }
    std::regex re;
    if (op == "~") {
      try {
        re = std::regex(text);
      } catch (const std::regex_error&) {
        return error("expression illisible : " + text);
      }
    }
    auto holds = [e, eq = op == "=", text, re] {
      return eq ? script_value(*e) == text : std::regex_match(script_value(*e), re);
    };
    auto failure_text = [e, name, op, text] {
      return "attendu " + name + " " + op + " « " + text + " », lu « " + script_value(*e) + " »";
    };
    if (cmd == "expect") return holds() ? ScriptResult{} : failure(failure_text());
    pending_ = Pending{line_number_, holds, app_.p.tick_ms() + seconds * 1000, failure_text};
    return {};
  }
  if (cmd == "pause") {
    auto ms = number(rest);
    if (!ms || *ms < 0) return error("pause MS : un nombre de millisecondes, 0 ou plus");
    // As attente_ms: over once the tick is strictly past the deadline.
    const double until = app_.p.tick_ms() + *ms;
    EventLoop& loop = app_.p;
    pending_ = Pending{line_number_, [&loop, until] { return loop.tick_ms() > until; }, std::floor(until) + 1,
                       [] { return std::string(); }};
    return {};
  }
  if (cmd == "key") {
    // The console's one hot key: the EEPROM utility, not modal.
    if (rest != "Alt+E") return error("key Alt+E");
    app_.m.EEPROM.set_visible(true);
    return {};
  }
  if (cmd == "print") {
    Element* e = field(rest);
    if (!e) return error("champ inconnu : " + rest);
    out_ << rest << "=" << script_value(*e) << std::endl;
    return {};
  }
  if (cmd == "quit") {
    ScriptResult r;
    r.quit = true;
    app_.quitter_Click();
    return r;
  }
  return error("commande inconnue : " + cmd);
}

}  // namespace brivel
