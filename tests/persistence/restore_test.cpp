// A run taken up again from its context after the program stopped: the
// restore fills the fields as the operator finds them, and the resumed run
// puts every hole where an uninterrupted run puts it.
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <functional>
#include <set>

#include "console/file_list.h"
#include "core/cp1252.h"
#include "core/numbers.h"
#include "import/smf_hex.h"
#include "persistence/files/context_file.h"
#include "persistence/files/text_file.h"
#include "support/sim_console.h"

namespace brivel::test {
namespace {

namespace fs = std::filesystem;
using Lines = std::vector<std::string>;
using Hole = std::pair<int, int64_t>;

// Division 480 at the default tempo: a held note, a chord of two short notes,
// a held note after it. With the default console (13.83 ms a step, punch 3
// steps) its rows fall at steps 2 (60 on) to 35, 74 (62, 64) to 78, and 82
// (67) to 116, with PASY rows every 3 steps: 115 and 116 follow each other.
std::string piece() {
  const std::string events = dt(0) + "90 3C 64 " + dt(480) + "80 3C 40 " + dt(480) + "90 3E 64 00 90 40 64 " + dt(96) +
                             "80 3E 40 00 80 40 40 " + dt(0) + "90 43 64 " + dt(500) + "80 43 40 " + dt(0) + "FF 2F 00";
  return header(0, 1, 480) + track(events);
}

// A console with the board, the sample instrument saved and loaded from
// File1, the piece opened.
struct Desk : SimConsole {
  explicit Desk(BoardModel* shared = nullptr) {
    if (shared) {
      other = std::make_unique<BoardPeer>(p, *shared);
      p.sim_serial().add_port(10, other.get());
    }
  }
  std::string write_piece(const std::string& name) {
    std::ofstream(home + name, std::ios::binary) << piece();
    return home + name;
  }
  // Writes the piece as `name` unless it is there, and opens it.
  std::string instrument_and_piece(const std::string& name = "piece.mid") {
    if (!fs::exists(home + name)) write_piece(name);
    p.sim_dialogs().save_answers.push_back(home + "orgue.set");
    m.Sauve_param.click();
    refresh_File1(c);
    m.File1.set_selected(0);
    m.File1.click();
    p.sim_dialogs().open_answers.push_back(home + name);
    m.Ouvre_midi.click();
    return home + name;
  }
  void restore(const std::string& file) {
    p.sim_dialogs().open_answers.push_back(file);
    m.Restitue_contexte.click();
  }
  std::unique_ptr<BoardPeer> other;
};

std::vector<Hole> holes_of(const BoardModel& b) {
  std::vector<Hole> h;
  for (const auto& x : b.holes()) h.push_back({x.x_steps, x.y_steps});
  return h;
}

std::vector<Hole> uninterrupted() {
  Desk d;
  d.instrument_and_piece();
  d.m.Command11.click();
  return holes_of(d.board);
}

TEST(Restore, TheRunResumedOnTheStepAfterAnEventPutsEveryHoleInPlace) {
  Desk first;
  const auto reference = uninterrupted();
  ASSERT_GT(reference.size(), 15u);

  // The program stops (killed) at the hole of step 116: the context written
  // after that step's Y move holds 116.
  first.instrument_and_piece();
  first.m.subscribe([&](Element& e, Prop prop) {
    if (&e == &first.m.LabelY && prop == Prop::Text && e.text() == "116")
      first.p.at(first.p.now() + 40, [&] { first.p.terminate_now(); });
  });
  EXPECT_THROW(first.m.Command11.click(), SimProcessEnded);
  const Lines saved = split_cp1252_lines(first.read_file(kContexteAuto));
  ASSERT_GT(saved.size(), 3u);
  EXPECT_EQ(saved[0], "orgue.set");
  EXPECT_EQ(saved[1], "116");

  // A new program on the same machine, the card where it stopped.
  Desk second(&first.board);
  for (const char* f : {"orgue.set", kContexteAuto})
    fs::copy_file(first.home + f, second.home + f, fs::copy_options::overwrite_existing);
  second.p.at(first.p.now(), [] {});
  while (second.p.now() < first.p.now()) second.p.turn();
  second.restore(second.home + kContexteAuto);
  ASSERT_TRUE(second.m.Command11.enabled()) << second.m.Label_defautP.text();
  // The fields as the restore fills them: floor(116 x 13.8333) = 1604,
  // which gives back step 115, where note 67 has a hole too.
  EXPECT_EQ(second.m.Text7.text(), "1604");
  EXPECT_EQ(second.m.Deb_perf_mn.text(), "0");
  EXPECT_EQ(second.m.Deb_perf_sec.text(), "1");
  EXPECT_TRUE(second.s.reprise_contexte);
  EXPECT_TRUE(second.s.reprise_sans_avance);
  EXPECT_EQ(second.m.Label_defautP.text().rfind("Contexte restitué : Perfo_en_cours.sav (pas 116, ", 0), 0u)
      << second.m.Label_defautP.text();
  second.m.Command11.click();
  EXPECT_EQ(second.m.Label_defautP.text(), "Perforation terminée");

  // Every hole of the uninterrupted run, and none elsewhere: the hole of
  // step 116 made before the stop is made again at its own place.
  const auto got = holes_of(first.board);
  const std::set<Hole> want(reference.begin(), reference.end());
  EXPECT_EQ(std::set<Hole>(got.begin(), got.end()), want);
  EXPECT_LE(got.size() - reference.size(), 1u);  // at most the hole of 116
}

TEST(Restore, AYMoveUnderWayIsPutToTheOperator) {
  for (BoxAnswer answer : {BoxAnswer::Yes, BoxAnswer::No}) {
    Desk d;
    d.instrument_and_piece();
    d.s.avance_Y_en_cours = RunState::AvanceY{147, 150};
    d.m.LabelY.set_text("147");
    ASSERT_TRUE(sauve_contexte_auto(d.c));
    EXPECT_NE(d.read_file(kContexteAuto).find("\r\n\r\navance_Y_en_cours 147 150\r\n\r\n"), std::string::npos);
    d.s.avance_Y_en_cours.reset();
    d.p.sim_dialogs().box_answers.push_back(answer);
    d.restore(d.home + kContexteAuto);
    ASSERT_EQ(d.p.sim_dialogs().boxes.size(), 1u);
    EXPECT_NE(d.p.sim_dialogs().boxes[0].find("du pas 147 au pas 150"), std::string::npos);
    const int y = answer == BoxAnswer::Yes ? 150 : 147;
    EXPECT_EQ(d.s.y_reprise, y);
    EXPECT_EQ(d.m.Text7.text(), str_plain(std::floor(d.s.ms_par_pas * y)));
  }
}

TEST(Restore, FailuresNameTheFileAndTheLineAndOfferNoRun) {
  Desk d;
  d.instrument_and_piece();
  ASSERT_TRUE(sauve_contexte_auto(d.c));
  Lines good = split_cp1252_lines(d.read_file(kContexteAuto));
  const std::string sav = d.home + "c.sav";
  struct Case {
    const char* what;
    std::function<void(Lines&)> edit;
    std::string says;
  } cases[] = {
      {"parameter file missing", [](Lines& l) { l[0] = "parti.set"; }, "ligne 1 : fichier de paramètres "},
      {"line 3 no number", [](Lines& l) { l[2] = "beaucoup"; }, "ligne 3 : le nombre de perforations « beaucoup »"},
      {"rang_fichier no number", [](Lines& l) { l[62] = " un"; }, "ligne 63 : le rang du fichier « "},
      {"stops early", [](Lines& l) { l.resize(30); }, "le fichier s'arrête à la ligne 31"},
      {"another NBTouches", [](Lines& l) { l.erase(l.begin() + 59, l.begin() + 61); }, "enregistré pour 28 notes"},
      {"piece gone", [](Lines& l) { l[61] = "/nulle/part.mid"; }, "ligne 62 : "},
  };
  for (const auto& c : cases) {
    Lines l = good;
    c.edit(l);
    std::ofstream(sav, std::ios::binary) << texte_fichier(l);
    d.s.reprise_contexte = false;
    d.restore(sav);
    const std::string said = d.m.Label_defautP.text();
    EXPECT_EQ(said.rfind("Contexte non restitué : " + sav + " : ", 0), 0u) << c.what << ": " << said;
    EXPECT_NE(said.find(c.says), std::string::npos) << c.what << ": " << said;
    EXPECT_FALSE(d.s.reprise_contexte) << c.what;
  }
  // A cancel reads nothing and leaves the flags as they were.
  d.s.reprise_contexte = true;
  d.m.Restitue_contexte.click();
  EXPECT_TRUE(d.s.reprise_contexte);
}

TEST(Restore, AChainStoppedInTheSecondOfThreeFilesGoesOnToTheThird) {
  Desk d;
  const Lines files{d.instrument_and_piece("a.mid"), d.write_piece("b.mid"), d.write_piece("c.mid")};
  d.m.Liste_fichiers.set_rows(files);
  d.s.rang_fichier = 1;
  d.s.fichiers_restants = 2;
  d.s.chemin_midi = files[1];
  d.m.LabelY.set_text("0");
  ASSERT_TRUE(sauve_contexte_auto(d.c));
  d.m.Liste_fichiers.set_rows({"something else"});
  d.restore(d.home + kContexteAuto);
  EXPECT_EQ(d.m.Liste_fichiers.rows(), files);
  EXPECT_EQ(d.m.Text7.text(), "0");
  d.m.Command11.click();
  EXPECT_EQ(d.s.chemin_midi, files[2]);
  EXPECT_EQ(d.s.rang_fichier, 2);
  EXPECT_EQ(d.s.fichiers_restants, 0);
  EXPECT_EQ(d.m.Label_defautP.text(), "Perforation terminée");
}

}  // namespace
}  // namespace brivel::test
