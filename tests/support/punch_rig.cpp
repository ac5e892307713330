#include "support/punch_rig.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>

#include "import/ouvre_midi.h"
#include "import/refus_import.h"

namespace brivel::test {

std::string fichier_evenements(const std::vector<std::string>& notes, int end_ms) {
  std::string f = "TEMP 0000000 000000 0500000\r\n";
  for (const auto& n : notes) f += n;
  char end[64];
  std::snprintf(end, sizeof end, "HEAD ##10000  /x/piece.mid %05d\r\nENDF 9999999\r\n", end_ms);
  return f + end;
}

BoardOptions fault_script(const char* text) {
  std::string error;
  auto o = parse_fault_script(text, &error);
  EXPECT_TRUE(o.has_value()) << error;
  return o.value_or(BoardOptions{});
}

PunchRig::PunchRig(BoardOptions options) : SimConsole(std::move(options)) {
  m.subscribe([this](Element& e, Prop prop) {
    if (&e == &m.Label_defautP && prop == Prop::Text) service.push_back(e.text());
    if (&e == &m.Command12 && prop == Prop::Text && e.text() == "Continuer" && continue_ms_ >= 0) schedule_continue();
  });
  EXPECT_TRUE(connect(10));
}

std::string PunchRig::open_chain_of_three() {
  const std::string dir = home + "pieces";
  std::filesystem::create_directories(dir);
  for (const char* n : {"a.mid", "b.mid", "c.mid"}) write_file(dir + "/" + n, tiny_midi());
  p.sim_dialogs().open_answers.push_back(dir + std::string("\0a.mid\0b.mid\0c.mid", 18));
  m.Ouvre_midi.click();
  return dir;
}

bool PunchRig::load(const std::string& events) {
  s.chemin_midi = "/x/piece.mid";
  auto prep = prepare_import(champs_import(m));
  return prep.reglages && importe_evenements(c, events, *prep.reglages);
}

void PunchRig::continue_after(int ms) { continue_ms_ = ms; }

void PunchRig::schedule_continue() {
  p.at(p.now() + continue_ms_, [this] {
    if (m.Command12.text() != "Continuer") return;
    // Disabled while the run is still in its set-up: try again later.
    if (m.Command12.operator_click()) ++continues;
    if (m.Command12.text() == "Continuer") schedule_continue();
  });
}

void PunchRig::punch() { m.Command11.click(); }

std::vector<std::pair<int, int>> PunchRig::holes() const {
  std::vector<std::pair<int, int>> out;
  for (const auto& h : board.holes()) out.emplace_back(h.x_steps, static_cast<int>(h.y_steps));
  return out;
}

}  // namespace brivel::test
