#include "import/vertalen.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <vector>

#include "import/fichier_midi.h"
#include "import/smf_hex.h"

namespace brivel::test {
namespace {

const std::string kEnd = "00 FF 2F 00";
const std::string kLoc = "\r\n    Events processed until loc hex: ";

std::string tail(const char* max5) { return std::string("HEAD ##10000  x.mid ") + max5 + "\r\nENDF 9999999\r\n"; }

// One track of events (hex) behind a header, End of Track added.
std::string one_track(int format, int division, const std::string& events) {
  return header(format, 1, division) + track(events + kEnd);
}

struct Case {
  const char* what;
  std::string file;
  std::string text;           // on a stop, the lines written before it
  const char* end = nullptr;  // the longest end in ms, in HEAD; no HEAD nor ENDF on a stop
  int code = 0;
  std::string error = "";
  int sans_fin = 0;  // notes left open at End of Track
};

TEST(Vertalen, ConversionsAndStops) {
  const std::string first = "60 FF 51 03 0F 42 40 " + kEnd;  // 1000000 us at tick 96
  const std::string eof = "*** Midifile corrupt, unexpected EOF." + kLoc;
  const std::string mtrk = "Midifile corrupt, header MTrk not in file.";
  const std::string running = "Midifile corrupt, running status error. " + kLoc;
  const Case cases[] = {
      {"the NOTE line of the example: 750000 us a quarter at 480, 1.5625 ms a tick",
       one_track(0, 480, "00 FF 51 03 0B 71 B0 " + dt(640) + "90 3C 64 " + dt(320) + "80 3C 40 "),
       "TEMP 0000000 000000 0750000\r\n"
       "NOTE 0001000 000960 00001 00060 00500 00100 C3\r\n"
       "NOOF 0001500 000960 00001 00060\r\n",
       "01500"},
      {"division 480 without tempo: tick 960 is 999.99994 ms, shown 1000",
       one_track(0, 480, "00 90 3C 64 " + dt(960) + "80 3C 40 "),
       "NOTE 0000000 000960 00001 00060 01000 00100 C3\r\nNOOF 0001000 000960 00001 00060\r\n", "01000"},
      {"a note-on of velocity 0 under running status ends the note", one_track(0, 96, "00 90 3C 64  60 3C 00 "),
       "NOTE 0000000 000096 00001 00060 00500 00100 C3\r\nNOOF 0000500 000096 00001 00060\r\n", "00500"},
      {"overlapping note-ons join; the first velocity is kept; the second off ends the note",
       one_track(0, 96, "00 90 3C 64  60 3C 50  60 3C 00  60 3C 00 "),
       "NOTE 0000000 000288 00001 00060 01500 00100 C3\r\nNOOF 0001500 000288 00001 00060\r\n", "01500"},
      {"a note across a tempo change keeps its start and sums both tempos",
       one_track(0, 96, "00 90 3C 64  60 FF 51 03 0F 42 40  60 80 3C 40 "),
       "TEMP 0000500 000096 1000000\r\nNOTE 0000000 000192 00001 00060 01500 00100 C3\r\n"
       "NOOF 0001500 000192 00001 00060\r\n",
       "01500"},
      // In single precision the time lasted is (float)(elapsed + product); storing the product first gives 62, 12192.
      {"a note across two tempo changes: the carried time sums the unstored product",
       one_track(0, 96,
                 "00 FF 51 03 06 8A 1B " + dt(14) + "90 3C 64 " + dt(764) + "FF 51 03 07 A1 20 " + dt(1588) +
                     "FF 51 03 05 16 15 " + dt(147) + "80 3C 40 "),
       "TEMP 0000000 000000 0428571\r\nTEMP 0003473 000778 0500000\r\nTEMP 0011744 002366 0333333\r\n"
       "NOTE 0000063 002513 00001 00060 12191 00100 C3\r\nNOOF 0012254 002513 00001 00060\r\n",
       "12254"},
      {"a note-off on a key that isn't open, and a note never ended, give no line",
       one_track(0, 96, "00 80 3C 40  00 90 17 40 "), "", "00000", 0, "", 1},
      {"two keys opened, one closed: one note is left open", one_track(0, 96, "00 90 3C 40  00 90 3E 40  60 80 3C 00 "),
       "NOTE 0000000 000096 00001 00060 00500 00064 C3\r\nNOOF 0000500 000096 00001 00060\r\n", "00500", 0, "", 1},
      {"one key on two channels is two notes", one_track(0, 96, "00 90 17 40 00 91 17 40 60 80 17 00 00 81 17 00 "),
       "NOTE 0000000 000096 00001 00023 00500 00064 B1\r\nNOOF 0000500 000096 00001 00023\r\n"
       "NOTE 0000000 000096 00002 00023 00500 00064 B1\r\nNOOF 0000500 000096 00002 00023\r\n",
       "00500"},
      {"one key in two tracks is two notes; the latest end of all tracks goes in HEAD",
       header(1, 2, 96) + track("00 90 3C 40 60 80 3C 00 " + kEnd) + track("30 90 3C 40 81 40 80 3C 00 " + kEnd),
       "NOTE 0000000 000096 00001 00060 00500 00064 C3\r\nNOOF 0000500 000096 00001 00060\r\n"
       "NOTE 0000250 000240 00001 00060 01000 00064 C3\r\nNOOF 0001250 000240 00001 00060\r\n",
       "01250"},
      {"the header's length is honoured: bytes behind the division are skipped",
       smf("4D 54 68 64 00 00 00 08 00 00 00 01 00 60 AA BB") + track("00 C0 05 " + kEnd),
       "PRGC 0000000 000000 00001 00005\r\n", "00000"},
      // Times are single precision, rounded half to even: 5.2083335 x 780 is 4062.5002, not 4062.5.
      {"division 96, tick 780", one_track(0, 96, dt(780) + "B0 07 64 "), "CONC 0004063 000780 00001 00007 00100\r\n",
       "00000"},
      // 4.1666665 ms a tick times 57 is 237.49998; the exact 237.5 would go to 238.
      {"division 120, tick 57", one_track(0, 120, dt(57) + "B0 07 64 "), "CONC 0000237 000057 00001 00007 00100\r\n",
       "00000"},
      {"half a millisecond a tick: halves go to the even neighbour",
       one_track(0, 1000, "01 B0 07 64  02 07 65  02 07 66  02 07 67 "),
       "CONC 0000000 000001 00001 00007 00100\r\nCONC 0000002 000003 00001 00007 00101\r\n"
       "CONC 0000002 000005 00001 00007 00102\r\nCONC 0000004 000007 00001 00007 00103\r\n",
       "00000"},
      // Fields too long keep their low digits.
      {"a duration of 125000 ms shows 25000, in NOTE and in HEAD; times keep seven digits",
       one_track(0, 1, "00 90 00 7F " + dt(250) + "80 00 00 "),
       "NOTE 0000000 000250 00001 00000 25000 00127 C2\r\nNOOF 0125000 000250 00001 00000\r\n", "25000"},
      {"tick 1000000 shows 000000", one_track(0, 1000, dt(1000000) + "B0 07 64 "),
       "CONC 0500000 000000 00001 00007 00100\r\n", "00000"},
      {"16777215 ms shows 6777215; a tempo above 9999999 us would too",
       one_track(0, 1, "00 FF 51 03 FF FF FF " + dt(1000) + "B0 07 64 "),
       "TEMP 0000000 000000 6777215\r\nCONC 6777215 001000 00001 00007 00100\r\n", "00000"},
      // The tempo map by format.
      {"format 0: the tempo rules from the next event on", one_track(0, 96, "00 FF 51 03 09 27 C0  60 B0 07 64 "),
       "TEMP 0000000 000000 0600000\r\nCONC 0000600 000096 00001 00007 00100\r\n", "00000"},
      {"format 1: later tracks walk the first track's map; their own tempi are skipped without a line",
       header(1, 2, 96) + track(first) + track("00 FF 51 03 09 27 C0  60 B0 07 64  60 B0 07 65 " + kEnd),
       "TEMP 0000500 000096 1000000\r\nCONC 0000500 000096 00001 00007 00100\r\n"
       "CONC 0001500 000192 00001 00007 00101\r\n",
       "00000"},
      // Start 10.416667 * (72 - 96) + 500.00002, not 72 ticks at the first tempo (375).
      {"format 1: a note of the first track takes its start by the tempo at its end",
       header(1, 1, 96) + track("48 90 3C 64  18 FF 51 03 0F 42 40  60 80 3C 40 " + kEnd),
       "TEMP 0000500 000096 1000000\r\nNOTE 0000250 000192 00001 00060 01250 00100 C3\r\n"
       "NOOF 0001500 000192 00001 00060\r\n",
       "01500"},
      // That start can fall before 0 (here -500): written as 0, the duration stays the end minus the start.
      {"format 1: a start of the first track before the piece's start is written as 0",
       header(1, 1, 96) + track("00 90 3C 64  60 FF 51 03 0F 42 40  60 80 3C 40 " + kEnd),
       "TEMP 0000500 000096 1000000\r\nNOTE 0000000 000192 00001 00060 02000 00100 C3\r\n"
       "NOOF 0001500 000192 00001 00060\r\n",
       "01500"},
      {"format 1: a note of a later track is carried over the tempo change",
       header(1, 2, 96) + track(first) + track("00 90 3C 64 " + dt(192) + "80 3C 40 " + kEnd),
       "TEMP 0000500 000096 1000000\r\nNOTE 0000000 000192 00001 00060 01500 00100 C3\r\n"
       "NOOF 0001500 000192 00001 00060\r\n",
       "01500"},
      {"format 2: each track writes its tempi from the start of the table, with a line",
       header(2, 2, 96) + track(first) + track("00 FF 51 03 09 27 C0  60 B0 07 64 " + kEnd),
       "TEMP 0000500 000096 1000000\r\nTEMP 0000000 000000 0600000\r\nCONC 0000600 000096 00001 00007 00100\r\n",
       "00000"},
      {"format 2: entries a track doesn't write over still stand",
       header(2, 2, 96) + track(first) + track(dt(192) + "B0 07 64 " + kEnd),
       "TEMP 0000500 000096 1000000\r\nCONC 0001500 000192 00001 00007 00100\r\n", "00000"},
      {"keys of 128 and more open no note and end none; other data bytes are written as they are",
       one_track(0, 96, "00 90 85 40  00 80 85 00  00 B0 FF FF  00 90 3C FF  60 80 3C 00 "),
       "CONC 0000000 000000 00001 00255 00255\r\n"
       "NOTE 0000000 000096 00001 00060 00500 00255 C3\r\nNOOF 0000500 000096 00001 00060\r\n",
       "00500"},
      {"track count too low: a second track and garbage behind are ignored",
       header(0, 1, 96) + track(kEnd) + track("00 C0 01 " + kEnd) + smf("01 02 03"), "", "00000"},
      {"every other line type",
       one_track(0, 96,
                 "00 B0 40 7F  00 C1 05  00 E0 00 40  00 A2 3C 11  00 D3 22  00 FF 58 04 06 03 18 08  "
                 "00 FF 58 04 03 09 18 08  00 FF 59 02 FE 00  00 FF 00 02 00 07  00 FF 00 02 81 02  00 F6  00 F7  "
                 "00 FF 01 00  00 FF 03 03 41 62 63  00 FF 54 05 01 02 03 04 05  00 F2 01 02  00 FF 7F 02 AA BB  "
                 "00 F0 05 01 02 F7  00 F1 33  00 F3 44  00 F8  00 FF 02 02 C9 E9  00 FF 20 01 00 "),
       "CONC 0000000 000000 00001 00064 00127\r\n"  // controller 64 like any other
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
       "TEXT 0000000 000000 \r\n"  // length 0: nothing consumed behind it
       "TNAM 0000000 000000 Abc\r\n"
       "SMPT 0000000 000000 00001 00002 00003 00004 00005\r\n"
       "SNGP 0000000 000000 00257\r\n"
       "MQTR 0000000 000000 00051\r\n"
       "SNGS 0000000 000000 00068\r\n"
       "F8XX 0000000 000000\r\n"
       "AUTH 0000000 000000 \xC9\xE9\r\n",  // meta texts go out as their bytes
       "00000"},
      // Stops.
      {"no MThd", smf("52 49 46 46 00 00 00 00"), "", nullptr, 5, "Midifile corrupt: header MThd not in file."},
      {"empty file", "", "", nullptr, 5, "Midifile corrupt: header MThd not in file."},
      {"no MTrk", header(0, 1, 96) + smf("4D 54 72 58 00 00 00 04 00 FF 2F 00"), "", nullptr, 6, mtrk},
      {"delta time of five bytes", header(0, 1, 96) + track("00 C0 01  FF FF FF FF 00 90 3C 40"),
       "PRGC 0000000 000000 00001 00001\r\n", nullptr, 2, "Midifile corrupt, deltatime invalid format." + kLoc + "17"},
      {"running status after a meta event", header(0, 1, 96) + track("00 FF 01 00  00 3C 40"),
       "TEXT 0000000 000000 \r\n", nullptr, 3, running + "1B"},
      {"running status after a system exclusive", header(0, 1, 96) + track("00 F0 F7  00 3C 40"), "", nullptr, 3,
       running + "1A"},
      {"the file ends inside an event", header(0, 1, 96) + track("00 90 3C"), "", nullptr, 1, eof + "17"},
      {"a text longer than the rest of the file finds blanks", header(0, 1, 96) + track("00 FF 01 14 41 42"),
       "TEXT 0000000 000000 AB         \r\n", nullptr, 1, eof + "17"},
      {"tempo bytes behind the last one read as blanks", header(0, 1, 96) + track("00 FF 51 03 07"),
       "TEMP 0000000 000000 0466976\r\n", nullptr, 1, eof + "17"},  // 07 20 20
      {"track count too high, the file ending behind the last track", header(0, 2, 96) + track("00 C0 01 " + kEnd),
       "PRGC 0000000 000000 00001 00001\r\n", nullptr, 1, eof + "1A"},
      {"track count too high, other bytes behind the last track",
       header(1, 3, 96) + track("00 C0 01 " + kEnd) + smf("00 01 02 03 04 05 06 07 08"),
       "PRGC 0000000 000000 00001 00001\r\n", nullptr, 6, mtrk},
      {"bytes between End of Track and the next MTrk, whatever the length says",
       header(0, 2, 96) + smf("4D 54 72 6B 00 00 00 06 00 FF 2F 00 00 00") + track(kEnd), "", nullptr, 6, mtrk},
      {"SMPTE division", one_track(0, 0xE728, ""), "", nullptr, 8,
       "Fichier Midi refusé : sa division temporelle est en images par seconde (SMPTE) ; "
       "seules les divisions en tops par noire sont lues."},
      {"track count above 32767", header(1, 0x8001, 96) + track(kEnd), "", nullptr, 9,
       "Fichier Midi refusé : son en-tête annonce un format ou un nombre de pistes au-delà de 32767."},
      {"format above 32767", header(0xFFFF, 1, 96) + track(kEnd), "", nullptr, 9,
       "Fichier Midi refusé : son en-tête annonce un format ou un nombre de pistes au-delà de 32767."},
      {"division 0", one_track(0, 0, ""), "", nullptr, 10,
       "Fichier Midi refusé : sa division temporelle vaut 0 top par noire."},
  };
  for (const auto& c : cases) {
    VertalenResult r = vertalen(c.file, "x.mid");
    EXPECT_EQ(r.midi_erreur_code, c.code) << c.what << ": " << r.midi_erreur_texte;
    EXPECT_EQ(r.midi_erreur_texte, c.error) << c.what;
    EXPECT_EQ(r.text, c.end ? c.text + tail(c.end) : c.text) << c.what;
    EXPECT_EQ(r.notes_sans_fin, c.sans_fin) << c.what;
  }
}

}  // namespace
}  // namespace brivel::test
