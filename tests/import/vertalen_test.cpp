#include "import/vertalen.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "import/smf_hex.h"

namespace brivel::test {
namespace {

constexpr const char* kEnd = "00 FF 2F 00";

std::string tail(const char* max5) { return std::string("HEAD ##10000  x.mid ") + max5 + "\r\nENDF 9999999\r\n"; }

TEST(Vertalen, NotesAndTheirTimes) {
  struct Case {
    const char* what;
    std::string file;
    std::string text;
  } cases[] = {
      {"division 480 without tempo: tick 960 is 999.99994 ms, shown 1000",
       header(0, 1, 480) + track(std::string("00 90 3C 64  87 40 80 3C 40 ") + kEnd),
       "NOTE 0000000 000960 00001 00060 01000 00100 C3\r\nNOOF 0001000 000960 00001 00060\r\n" + tail("01000")},
      {"overlapping note-ons join; velocity-0 offs under running status; first velocity kept",
       header(0, 1, 96) + track(std::string("00 90 3C 64  60 3C 50  60 3C 00  60 3C 00 ") + kEnd),
       "NOTE 0000000 000288 00001 00060 01500 00100 C3\r\nNOOF 0001500 000288 00001 00060\r\n" + tail("01500")},
      {"a note across a tempo change keeps its start and sums both tempos",
       header(0, 1, 96) + track(std::string("00 90 3C 64  60 FF 51 03 0F 42 40  60 80 3C 40 ") + kEnd),
       "TEMP 0000500 000096 1000000\r\nNOTE 0000000 000192 00001 00060 01500 00100 C3\r\n"
       "NOOF 0001500 000192 00001 00060\r\n" +
           tail("01500")},
      {"format 1: later tracks walk the first track's tempo map, and write no tempo line",
       header(1, 2, 96) + track(std::string("60 FF 51 03 0F 42 40 ") + kEnd) +
           track(std::string("00 91 30 40  81 40 81 30 00  00 FF 51 03 07 A1 20 ") + kEnd),
       "TEMP 0000500 000096 1000000\r\nNOTE 0000000 000192 00002 00048 01500 00064 C2\r\n"
       "NOOF 0001500 000192 00002 00048\r\n" +
           tail("01500")},
      {"durations of 100000 ms and more keep their five low digits",
       header(0, 1, 1) + track(std::string("00 90 00 7F  81 7A 80 00 00 ") + kEnd),
       "NOTE 0000000 000250 00001 00000 25000 00127 C2\r\nNOOF 0125000 000250 00001 00000\r\n" + tail("25000")},
      {"a note-off on a key that isn't open, and a note never ended, give no line",
       header(0, 1, 96) + track(std::string("00 80 3C 40  00 90 17 40 ") + kEnd), tail("00000")},
      {"one key on two channels is two notes; key names carry the octave digits",
       header(0, 1, 96) + track(std::string("00 90 17 40 00 91 17 40 60 80 17 00 00 81 17 00 ") + kEnd),
       "NOTE 0000000 000096 00001 00023 00500 00064 B1\r\nNOOF 0000500 000096 00001 00023\r\n"
       "NOTE 0000000 000096 00002 00023 00500 00064 B1\r\nNOOF 0000500 000096 00002 00023\r\n" +
           tail("00500")},
  };
  for (const auto& c : cases) {
    VertalenResult r = vertalen(c.file, "x.mid");
    EXPECT_EQ(r.midi_erreur_code, 0) << c.what << ": " << r.midi_erreur_texte;
    EXPECT_EQ(r.text, c.text) << c.what;
  }
}

TEST(Vertalen, EveryOtherLineType) {
  std::string events =
      "00 B0 40 7F  00 C1 05  00 E0 00 40  00 A2 3C 11  00 D3 22  00 FF 58 04 06 03 18 08  00 FF 58 04 03 09 18 08 "
      "00 FF 59 02 FE 00  00 FF 00 02 00 07  00 FF 00 02 81 02  00 F6  00 F7  00 FF 01 00  00 FF 03 03 41 62 63 "
      "00 FF 54 05 01 02 03 04 05  00 F2 01 02  00 FF 7F 02 AA BB  00 F0 05 01 02 F7 ";
  VertalenResult r = vertalen(header(0, 1, 96) + track(events + kEnd), "x.mid");
  EXPECT_EQ(r.midi_erreur_code, 0) << r.midi_erreur_texte;
  EXPECT_EQ(r.text,
            "CONC 0000000 000000 00001 00064 00127\r\n"
            "PRGC 0000000 000000 00002 00005\r\n"
            "PBEN 0000000 000000 00001 08192\r\n"
            "KAFT 0000000 000000 00003 00060 00017\r\n"
            "CAFT 0000000 000000 00004 00034\r\n"
            "TIME 0000000 000000 00006 00008 00024 00008\r\n"
            "TIME 0000000 000000 00003 00008 00024 00008\r\n"  // power 9: the last denominator stands
            "KEYS 0000000 000000 00254 00000\r\n"
            "SEQN 0000000 000000 00007\r\n"
            "SEQN 0000000 000000 00130\r\n"
            "F6XX 0000000 000000\r\n"
            "F7XX 0000000 000000\r\n"
            "TEXT 0000000 000000 \r\n"
            "TNAM 0000000 000000 Abc\r\n"
            "SMPT 0000000 000000 00001 00002 00003 00004 00005\r\n"
            "SNGP 0000000 000000 00257\r\n" +
                tail("00000"));
}

TEST(Vertalen, StopsWithTheirCodesAndTexts) {
  const std::string loc = "\r\n    Events processed until loc hex: ";
  struct Case {
    const char* what;
    std::string file;
    int code;
    std::string text;
    std::string lines;
  } cases[] = {
      {"no MThd", smf("52 49 46 46 00 00 00 00"), 5, "Midifile corrupt: header MThd not in file.", ""},
      {"empty file", "", 5, "Midifile corrupt: header MThd not in file.", ""},
      {"no MTrk", header(0, 1, 96) + smf("4D 54 72 58 00 00 00 04 00 FF 2F 00"), 6,
       "Midifile corrupt, header MTrk not in file.", ""},
      {"delta time of five bytes", header(0, 1, 96) + track("FF FF FF FF 00 90 3C 40"), 2,
       "Midifile corrupt, deltatime invalid format." + loc + "0", ""},
      {"running status after a meta event", header(0, 1, 96) + track("00 FF 01 00  00 3C 40"), 3,
       "Midifile corrupt, running status error. " + loc + "1B", "TEXT 0000000 000000 \r\n"},
      {"the file ends inside an event", header(0, 1, 96) + track("00 90 3C"), 1,
       "*** Midifile corrupt, unexpected EOF." + loc + "17", ""},
      {"a track count too high, the file ending behind the last track",
       header(0, 2, 96) + track(std::string("00 C0 01 ") + kEnd), 1, "*** Midifile corrupt, unexpected EOF." + loc + "1A",
       "PRGC 0000000 000000 00001 00001\r\n"},
      {"bytes between End of Track and the next MTrk", header(0, 2, 96) + track(kEnd) + smf("00 00") + track(kEnd), 6,
       "Midifile corrupt, header MTrk not in file.", ""},
      {"SMPTE division", header(0, 1, 0xE728) + track(kEnd), 8, "", ""},
      {"division 0", header(0, 1, 0) + track(kEnd), 10, "", ""},
      {"header field above 32767", header(0, 0x8001, 96) + track(kEnd), 9, "", ""},
  };
  for (const auto& c : cases) {
    VertalenResult r = vertalen(c.file, "x.mid");
    EXPECT_EQ(r.midi_erreur_code, c.code) << c.what;
    if (!c.text.empty()) {
      EXPECT_EQ(r.midi_erreur_texte, c.text) << c.what;
    }
    if (c.code >= 8) {
      EXPECT_NE(r.midi_erreur_texte.find("Fichier Midi refusé"), std::string::npos) << c.what;
    }
    EXPECT_EQ(r.text, c.lines) << c.what << ": lines before the stop stay, HEAD and ENDF don't";
  }
}

TEST(Vertalen, TrackCountTooLowIgnoresTheRest) {
  VertalenResult r = vertalen(header(0, 1, 96) + track(kEnd) + smf("01 02 03"), "x.mid");
  EXPECT_EQ(r.midi_erreur_code, 0);
  EXPECT_EQ(r.text, tail("00000"));
}

TEST(Vertalen, NineHundredAndNinetyNineTempoChangesStop) {
  std::string events;
  for (int i = 0; i < 999; ++i) events += "00 FF 51 03 07 A1 20 ";
  VertalenResult r = vertalen(header(1, 1, 96) + track(events + kEnd), "x.mid");
  EXPECT_EQ(r.midi_erreur_code, 7);
  EXPECT_EQ(r.midi_erreur_texte, "More than 999 tempochanges. cannot continue processinf.");
  EXPECT_EQ(std::count(r.text.begin(), r.text.end(), '\n'), 999) << "the 999th line is written, then the stop";
}

TEST(Vertalen, GaugeFollowsTheReadWindowAndPathIsInTheCodePage) {
  // A long text meta event makes the file span several read windows.
  std::string text(3000, 'a');
  std::string hex;
  for (std::size_t i = 0; i < text.size(); ++i) hex += "61 ";
  std::string file = header(0, 1, 96) + track("00 FF 01 97 38 " + hex + kEnd);  // length 3000 on two bytes
  std::vector<std::pair<int64_t, int64_t>> seen;
  VertalenResult r = vertalen(file, "/tmp/é.mid", [&](int64_t v, int64_t m) { seen.emplace_back(v, m); });
  EXPECT_EQ(r.midi_erreur_code, 0) << r.midi_erreur_texte;
  ASSERT_GE(seen.size(), 3u);
  const std::pair<int64_t, int64_t> first{1, static_cast<int64_t>(file.size()) + 101};
  EXPECT_EQ(seen.front(), first);
  EXPECT_NE(r.text.find("TEXT 0000000 000000 " + text + "\r\n"), std::string::npos);
  EXPECT_NE(r.text.find("HEAD ##10000  /tmp/\xE9.mid 00000\r\n"), std::string::npos);

  // Handed out in pieces, the text is the same.
  std::string pieces;
  VertalenResult streamed = vertalen(file, "/tmp/é.mid", [&](std::string_view p) { pieces += p; });
  EXPECT_EQ(pieces, r.text);
  EXPECT_TRUE(streamed.text.empty());
}

}  // namespace
}  // namespace brivel::test
