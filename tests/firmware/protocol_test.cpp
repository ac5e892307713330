// The firmware's reader of the line, built for the host: frames, the bare
// line feeds of the three dialogues, and lines that are no frame.
#include "protocol.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "board/board_model.h"
#include "link/frames.h"

namespace {

// The console and the firmware agree on the greeting and on the step
// durations the board drives.
static_assert(brivel::kSalutCarte == PROTO_GREETING);
static_assert(brivel::kPasMinUs == PROTO_STEP_US_MIN && brivel::kPasMaxUs == PROTO_STEP_US_MAX &&
              brivel::kStepUsMin == PROTO_STEP_US_MIN);

// Feeds `bytes`, answering a frame as the firmware does for the few codes
// that open a dialogue; returns what went back on the line, and a mark per
// frame seen ("[MX 12]") and per dropped line ("[-]").
std::string play(proto& p, const std::string& bytes) {
  std::string out;
  for (unsigned char b : bytes) {
    switch (proto_byte(&p, b)) {
      case PROTO_FRAME: {
        out += "[" + std::string(p.code, 2) + (p.fixed ? " x" : " " + std::to_string(p.value)) + "]";
        if (proto_is(&p, 'O', 'R')) {
          char five[5];
          proto_five_digits(1234, five);
          out += "D";
          proto_hold(&p, five, true);
        } else if (proto_is(&p, 'V', 'D')) {
          proto_hold(&p, "OO-O-", false);
        } else if (proto_is(&p, 'r', 'd')) {
          out += "7";
          proto_expect_lf(&p);
        }
        break;
      }
      case PROTO_SEND_HELD:
        out += std::string(p.held, 5);
        break;
      case PROTO_DROPPED:
        out += "[-]";
        break;
      case PROTO_NONE:
        break;
    }
  }
  return out;
}

TEST(FirmwareLine, FramesDialoguesAndGarbage) {
  struct Case {
    const char* what;
    std::string in;
    std::string out;
    proto_dialogue after;
  } cases[] = {
      {"number and fixed frames", "PX05000\nAGxxxxx\nmx00012\n", "[PX 5000][AG x][mx 12]", DIALOGUE_NONE},
      {"largest number", "MY99999\n", "[MY 99999]", DIALOGUE_NONE},
      {"origin count: held until the line feed, then the closing one", "ORxxxxx\n\n\nMX00001\n",
       "[OR x]D01234[MX 1]", DIALOGUE_NONE},
      {"the count waits: no line feed yet", "ORxxxxx\n", "[OR x]D", DIALOGUE_COUNT_ON_LF},
      {"after the count, the closing line feed is awaited", "ORxxxxx\n\n", "[OR x]D01234", DIALOGUE_CLOSING_LF},
      {"detector poll: no closing line feed", "VDxxxxx\n\nVDxxxxx\n\n", "[VD x]OO-O-[VD x]OO-O-", DIALOGUE_NONE},
      {"EEPROM read: its line feed is taken", "NUxxxxx\nrd00003\n\nwr00065\n", "[NU x][rd 3]7[wr 65]",
       DIALOGUE_NONE},
      {"a frame ends a dialogue still waiting", "ORxxxxx\nONxxxxx\n\n", "[OR x]D[ON x]", DIALOGUE_NONE},
      {"a stray line feed changes nothing", "\n\nONxxxxx\n", "[ON x]", DIALOGUE_NONE},
      {"no frame: wrong length, sign, sixth digit, mixed field, digit code", "MX0001\nMX-0001\nMX000012\nMX00x12\n1X00001\n",
       "[-][-][-][-][-]", DIALOGUE_NONE},
      {"a long line is dropped whole, the next read", "AAAAAAAAAAAAAAAAAAAAAAAAAAAAAA\nZGxxxxx\n", "[-][ZG x]",
       DIALOGUE_NONE},
  };
  for (const auto& k : cases) {
    proto p;
    proto_init(&p);
    EXPECT_EQ(play(p, k.in), k.out) << k.what;
    EXPECT_EQ(p.dialogue, k.after) << k.what;
  }
}

TEST(FirmwareLine, FiveDigits) {
  char five[6] = {};
  for (auto [v, s] : std::vector<std::pair<uint32_t, const char*>>{{0, "00000"}, {12, "00012"}, {99999, "99999"},
                                                                   {123456, "99999"}}) {
    proto_five_digits(v, five);
    EXPECT_STREQ(five, s) << v;
  }
}

}  // namespace
