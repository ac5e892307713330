/* The line as the board reads it: frames of eight bytes (two letters, five
 * digits or "xxxxx", a line feed), the bare line feeds of the three
 * dialogues, and lines that are no frame, dropped up to their line feed.
 * Plain C with no register access: the same file is built for the host and
 * tested there.
 *
 * The dialogues, from the board's side:
 *  - a count after "D" (lost steps, origin search): the five characters are
 *    held until the program's bare line feed, then sent; one more line feed,
 *    the closing one, is taken before the next frame;
 *  - the detector poll "VD": the five characters wait for the line feed;
 *    no closing line feed follows;
 *  - an EEPROM read "rd": the cell's character goes at once; the program's
 *    line feed that follows is taken.
 * A frame that comes while a dialogue waits for its line feed ends the
 * dialogue: the program went on without it (it was restarted). */
#ifndef BRIVEL_PROTOCOL_H
#define BRIVEL_PROTOCOL_H

#include <stdbool.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Written once the firmware has started, after every reset: ESC, "BRIVEL",
 * line feed. No reply begins with ESC, so the program tells a board that
 * restarted (a brown-out, the watchdog, the cable, another program opening
 * the port) from one that answers, and knows when the bootloader has let go
 * of the line. */
#define PROTO_GREETING "\x1b" "BRIVEL\n"
#define PROTO_GREETING_LEN 8

/* The step durations the board drives, microseconds: "PX" or "PY" below the
 * shortest is ignored (the duration in force stays), above the longest is
 * driven at the longest. */
#define PROTO_STEP_US_MIN 20
#define PROTO_STEP_US_MAX 32000

enum proto_event {
  PROTO_NONE,      /* nothing to do yet */
  PROTO_FRAME,     /* a whole frame: code and value in the reader */
  PROTO_SEND_HELD, /* the line feed of a dialogue came: send `held` (5 bytes) */
  PROTO_DROPPED,   /* a line that is no frame ended: nothing is answered */
};

enum proto_dialogue { DIALOGUE_NONE, DIALOGUE_COUNT_ON_LF, DIALOGUE_CLOSING_LF, DIALOGUE_READ_LF };

struct proto {
  char line[8];  /* bytes of the line not yet ended */
  uint8_t len;
  bool overlong; /* the line passed 7 bytes: dropped at its line feed */
  enum proto_dialogue dialogue;
  bool closing_after_held;
  char held[5];
  /* The last frame: code and value (0 for "xxxxx"). */
  char code[2];
  uint32_t value;
  bool fixed; /* the field was "xxxxx" */
};

void proto_init(struct proto* p);
/* Takes one byte from the line; tells what to do. */
enum proto_event proto_byte(struct proto* p, uint8_t b);
/* Holds five characters until the program's bare line feed; `closing`: one
 * more line feed is taken after they went out. */
void proto_hold(struct proto* p, const char five[5], bool closing);
/* An EEPROM read answered: its line feed is taken. */
void proto_expect_lf(struct proto* p);
/* Five decimal digits of v (at most 99999). */
void proto_five_digits(uint32_t v, char out[5]);
/* True when the frame's code is `c0c1`. */
static inline bool proto_is(const struct proto* p, char c0, char c1) { return p->code[0] == c0 && p->code[1] == c1; }

#ifdef __cplusplus
}
#endif

#endif
