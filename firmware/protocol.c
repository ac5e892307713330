#include "protocol.h"

void proto_init(struct proto* p) {
  p->len = 0;
  p->overlong = false;
  p->dialogue = DIALOGUE_NONE;
  p->closing_after_held = false;
  p->code[0] = p->code[1] = 0;
  p->value = 0;
  p->fixed = false;
}

static bool letter(char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }
static bool digit(char c) { return c >= '0' && c <= '9'; }

/* A line of exactly seven bytes: two letters and five digits or "xxxxx". */
static bool parse_frame(struct proto* p) {
  if (p->overlong || p->len != 7 || !letter(p->line[0]) || !letter(p->line[1])) return false;
  bool xs = true, digits = true;
  uint32_t v = 0;
  for (uint8_t i = 2; i < 7; ++i) {
    xs = xs && p->line[i] == 'x';
    digits = digits && digit(p->line[i]);
    if (digit(p->line[i])) v = v * 10 + (uint32_t)(p->line[i] - '0');
  }
  if (!xs && !digits) return false;
  p->code[0] = p->line[0];
  p->code[1] = p->line[1];
  p->value = digits ? v : 0;
  p->fixed = xs;
  return true;
}

enum proto_event proto_byte(struct proto* p, uint8_t b) {
  if (b != '\n') {
    if (p->len < 7)
      p->line[p->len++] = (char)b;
    else
      p->overlong = true;
    return PROTO_NONE;
  }
  if (p->len == 0 && !p->overlong) {
    /* A bare line feed: the signal of a dialogue, or nothing. */
    switch (p->dialogue) {
      case DIALOGUE_COUNT_ON_LF:
        p->dialogue = p->closing_after_held ? DIALOGUE_CLOSING_LF : DIALOGUE_NONE;
        return PROTO_SEND_HELD;
      case DIALOGUE_CLOSING_LF:
      case DIALOGUE_READ_LF:
        p->dialogue = DIALOGUE_NONE;
        return PROTO_NONE;
      default:
        return PROTO_NONE;
    }
  }
  const bool frame = parse_frame(p);
  p->len = 0;
  p->overlong = false;
  if (!frame) return PROTO_DROPPED;
  p->dialogue = DIALOGUE_NONE; /* a frame ends any dialogue still waiting */
  return PROTO_FRAME;
}

void proto_hold(struct proto* p, const char five[5], bool closing) {
  for (uint8_t i = 0; i < 5; ++i) p->held[i] = five[i];
  p->closing_after_held = closing;
  p->dialogue = DIALOGUE_COUNT_ON_LF;
}

void proto_expect_lf(struct proto* p) { p->dialogue = DIALOGUE_READ_LF; }

void proto_five_digits(uint32_t v, char out[5]) {
  if (v > 99999) v = 99999;
  for (int i = 4; i >= 0; --i) {
    out[i] = (char)('0' + v % 10);
    v /= 10;
  }
}
