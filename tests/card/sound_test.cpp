// What the card plays: its notes from the holes, the card as a MIDI file
// read back by our own decoder, and as a WAV whose notes start where the
// holes do.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>

#include "card/card_sound.h"
#include "card/card_synth.h"
#include "card/live_run.h"
#include "import/vertalen.h"
#include "support/punch_rig.h"

namespace brivel::test {
namespace {

// On the default console a step is 0.83 mm and 13.83 ms, a punch 3 mm
// (3.61 steps); notes 60, 62, 64 to 67 are tracks 6, 7, 8 to 11.
const std::string kPiece = fichier_evenements({note_line(1000, 60, 500), note_line(2000, 62, 100),
                                               note_line(2000, 64, 100), note_line(2500, 99, 100),
                                               note_line(3000, 65, 0)},
                                              3100);

struct Expected {
  int track, note;
  double first_step, last_step;  // of the punches
};

void expect_notes(const CardLayout& l, const std::vector<SoundingNote>& got, const std::vector<Expected>& want) {
  ASSERT_EQ(got.size(), want.size());
  const double punch = l.punch_mm / l.step_mm;
  for (size_t i = 0; i < want.size(); ++i) {
    SCOPED_TRACE(i);
    EXPECT_EQ(got[i].track, want[i].track);
    EXPECT_EQ(got[i].note, want[i].note);
    EXPECT_NEAR(got[i].on_ms, want[i].first_step * l.ms_per_step, 1e-6);
    EXPECT_NEAR(got[i].off_ms, (want[i].last_step + punch) * l.ms_per_step, 1e-6);
  }
}

// The held note sounds once over its slot, the chord as two notes, the note
// the organ lacks not at all; bounds keep what they hold; a transposition
// moves every note to its new track.
TEST(CardSound, NotesOfTheHoles) {
  const struct {
    const char* what;
    int shift;
    const char* bridge;  // PontY
    double from, to;
    std::vector<Expected> want;
  } kCases[] = {
      {"whole", 0, "0", 0, 1e9, {{6, 60, 74, 107}, {7, 62, 147, 151}, {8, 64, 147, 151}, {9, 65, 219, 219}}},
      {"bounded", 0, "0", 140, 160, {{7, 62, 147, 151}, {8, 64, 147, 151}}},
      {"up a tone", 2, "0", 0, 1e9, {{7, 62, 74, 107}, {8, 64, 147, 151}, {10, 66, 147, 151}, {11, 67, 219, 219}}},
      // The held note is longer than 6 punches: bridges leave uncut card
      // between its holes (a punch every 5 steps, 3.6 steps long), and the
      // organ hears a note per hole.
      {"bridged",
       0,
       "2",
       0,
       120,
       {{6, 60, 74, 75}, {6, 60, 80, 80}, {6, 60, 85, 85}, {6, 60, 90, 90}, {6, 60, 95, 95}, {6, 60, 100, 100},
        {6, 60, 105, 107}}},
  };
  for (const auto& k : kCases) {
    SCOPED_TRACE(k.what);
    PunchRig r;
    r.m.transposition.set_text(std::to_string(k.shift));
    r.m.PontY.set_text(k.bridge);
    ASSERT_TRUE(r.load(kPiece));
    LiveRun live(r.c);
    const CardLayout& l = live.layout();
    expect_notes(l, card_notes(l, k.from, k.to), k.want);
  }
}

// The card as a MIDI file: our decoder reads back the same notes, to the
// tick (1.04 ms); one track of all notes reads back the same.
TEST(CardSound, MidiExportReadsBack) {
  PunchRig r;
  ASSERT_TRUE(r.load(kPiece));
  LiveRun live(r.c);
  const auto notes = card_notes(live.layout(), 0, 1e9);
  for (const bool one : {false, true}) {
    const std::string smf = card_midi(notes, {"", "", "", "", "", "Do 4", "Ré 4"}, 19, one);
    ASSERT_EQ(smf.substr(0, 4), "MThd");
    EXPECT_EQ(static_cast<int>(smf[11]), one ? 2 : 5) << "a tempo track and the note tracks";
    const VertalenResult v = vertalen(smf, "carton.mid");
    ASSERT_EQ(v.midi_erreur_code, 0) << v.midi_erreur_texte;
    auto back = piece_notes_ms(v.text);
    ASSERT_EQ(back.size(), notes.size());
    auto by_time = notes;
    std::stable_sort(by_time.begin(), by_time.end(),
                     [](const SoundingNote& a, const SoundingNote& b) { return a.on_ms < b.on_ms; });
    for (size_t i = 0; i < back.size(); ++i) {
      SCOPED_TRACE(i);
      EXPECT_EQ(back[i].note, by_time[i].note);
      EXPECT_NEAR(back[i].on_ms, by_time[i].on_ms, 1.1);
      EXPECT_NEAR(back[i].off_ms, by_time[i].off_ms, 2.2);
    }
    if (!one) {
      EXPECT_NE(smf.find("Do 4"), std::string::npos) << "tracks named as the card view names them";
    }
  }
}

// Three notes rendered offline: each starts within 5 ms of its hole, found
// in the sound itself (the first millisecond clearly louder than the 20 ms
// before the hole, where the last note has died away).
TEST(CardSound, WavOnsetsAtTheHoles) {
  const std::string sf = default_soundfont();
  if (sf.empty()) GTEST_SKIP() << "no General MIDI SoundFont installed (timgm6mb-soundfont)";
  const std::vector<SoundingNote> notes = {{1, 60, 100, 300}, {2, 64, 700, 900}, {3, 67, 1300, 1500}};
  const Rendering r = render_notes(notes, sf, 19);
  ASSERT_EQ(r.error, "");
  ASSERT_EQ(r.stereo.size() % 2, 0u);
  const std::string wav = wav_file(r.stereo, kRenderRate);
  EXPECT_EQ(wav.substr(0, 4), "RIFF");
  EXPECT_EQ(wav.size(), 44 + r.stereo.size() * 2);
  // Peak of each millisecond.
  const size_t frames = r.stereo.size() / 2;
  std::vector<int> peak(frames * 1000 / kRenderRate);
  for (size_t i = 0; i < peak.size() * kRenderRate / 1000; ++i) {
    int& p = peak[i * 1000 / kRenderRate];
    p = std::max({p, std::abs(int{r.stereo[2 * i]}), std::abs(int{r.stereo[2 * i + 1]})});
  }
  ASSERT_GT(*std::max_element(peak.begin(), peak.end()), 1000);
  for (const SoundingNote& n : notes) {
    SCOPED_TRACE(n.note);
    const auto at = static_cast<size_t>(n.on_ms);
    const int before = *std::max_element(peak.begin() + static_cast<long>(at - 25), peak.begin() + static_cast<long>(at - 5));
    size_t t = at - 50;
    while (t < peak.size() && peak[t] <= before + 20) ++t;
    EXPECT_NEAR(static_cast<double>(t), n.on_ms, 5);
  }
}

// No SoundFont, a missing one, a file that is none: said in French, nothing
// rendered, nothing played.
TEST(CardSound, NoSoundFontIsSaid) {
  const std::filesystem::path dir = std::filesystem::temp_directory_path();
  const std::string fake = (dir / "pas-une-police.sf2").string();
  std::ofstream(fake) << "RIFF????sfbk mais rien d'autre";
  const struct {
    std::string path, said;
  } kCases[] = {
      {"", "Aucune police de sons (SoundFont .sf2) : en installer une (paquet timgm6mb-soundfont) ou en choisir une"},
      {"/nulle/part.sf2", "Police de sons introuvable : /nulle/part.sf2"},
      {fake, "« " + fake + " » n'est pas une police de sons SoundFont (.sf2)"},
  };
  for (const auto& k : kCases) {
    SCOPED_TRACE(k.path);
    const Rendering r = render_notes({{1, 60, 0, 100}}, k.path, 19);
    EXPECT_EQ(r.error, k.said);
    EXPECT_TRUE(r.stereo.empty());
    CardPlayer player;
    EXPECT_EQ(player.play({{1, 60, 0, 100}}, k.path, 19), k.said);
    EXPECT_FALSE(player.playing());
  }
  std::filesystem::remove(fake);
}

TEST(CardSound, SpeedAndStartPoint) {
  const std::vector<SoundingNote> notes = {{1, 60, 0, 100}, {2, 62, 200, 400}, {3, 64, 1000, 1200}};
  EXPECT_EQ(at_speed(notes, 300, 200), (std::vector<SoundingNote>{{2, 62, 0, 50}, {3, 64, 350, 450}}));
  EXPECT_EQ(at_speed(notes, 0, 50), (std::vector<SoundingNote>{{1, 60, 0, 200}, {2, 62, 400, 800}, {3, 64, 2000, 2400}}));
}

}  // namespace
}  // namespace brivel::test
