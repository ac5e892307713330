#include "link/param_push.h"

#include <gtest/gtest.h>

#include "console/pages.h"
#include "support/link_rig.h"

namespace brivel::test {
namespace {

struct OnMotorPage : LinkRig {
  OnMotorPage() {
    fenetre_moteurs_Click(c);
    EXPECT_TRUE(connect(10));
  }
};

TEST(LiveFrames, OneFramePerKeystrokeTwelveTicksApart) {
  OnMotorPage r;
  r.m.VitesseX.set_text("");
  auto from = r.mark();
  const int64_t t0 = r.p.now();
  for (const char* typed : {"5", "50", "500", "5000"}) r.m.VitesseX.set_text(typed);
  // One turn (1 tick), then 10 ms ending on the 11th tick.
  EXPECT_EQ(r.frames(from),
            F({{t0, "PX00005\n"}, {t0 + 12, "PX00050\n"}, {t0 + 24, "PX00500\n"}, {t0 + 36, "PX05000\n"}}));
}

// A value field typed in sends its frame on a parameter page with the port
// open, and nothing anywhere else.
TEST(LiveFrames, EachValueFieldHasItsCode) {
  const auto motors = fenetre_moteurs_Click, notes = fenetre_notes_Click, run = fenetre_perforation_Click;
  const std::string refused =
      "Valeur 123456 refusée pour la commande PX : la machine n'accepte que 0 à 99999 - rien n'a été envoyé";
  struct Case {
    void (*page)(Context&);
    bool open;
    Element Model::*field;
    const char* text;
    std::vector<std::string> frames;
    std::string service = "";  // "": not looked at
  } cases[] = {
      {motors, true, &Model::VitesseX, "4000", {"PX04000\n"}},
      {motors, true, &Model::VitesseY, "12.5", {"PY00013\n"}},
      {motors, true, &Model::Text_origineX, "", {"OX00000\n"}},
      {motors, true, &Model::TempoZ, "3", {"IZ00003\n"}},
      {motors, true, &Model::MaxZ, "20ms", {"MZ00020\n"}},
      {notes, true, &Model::MaxZ, "13", {"MZ00013\n"}},  // the note page is a parameter page too
      {run, true, &Model::VitesseX, "4000", {}},
      {motors, false, &Model::VitesseX, "4000", {}},
      {motors, true, &Model::VitesseX, "123456", {}, refused},  // a sixth digit is refused with a message
      {motors, true, &Model::VitesseX, "-5", {}},
  };
  for (const auto& c : cases) {
    LinkRig r;
    c.page(r.c);
    if (c.open) {
      ASSERT_TRUE(r.connect(10));
    }
    auto from = r.mark();
    (r.m.*c.field).set_text(c.text);
    EXPECT_EQ(r.frame_bytes(from), c.frames) << c.text;
    if (!c.service.empty()) {
      EXPECT_EQ(r.m.Label_defautP.text(), c.service);
    }
  }
}

TEST(ChoppedPulses, CheckSendsPwWithTheValueUncheckSendsPwOff) {
  OnMotorPage r;
  auto from = r.mark();
  const int64_t t0 = r.p.now();
  r.m.valid_pwm.set_value(1);
  EXPECT_TRUE(r.m.dcycle_pwm.enabled());
  EXPECT_EQ(r.m.dcycle_pwm.color(), palette::kWindow);
  r.m.valid_pwm.set_value(0);
  EXPECT_FALSE(r.m.dcycle_pwm.enabled());
  EXPECT_EQ(r.m.dcycle_pwm.color(), palette::kMenu);
  r.m.dcycle_pwm.set_text("30");  // disabled: still "off"
  EXPECT_EQ(r.frames(from), F({{t0, "PW00020\n"}, {t0 + 12, "Pwxxxxx\n"}, {t0 + 24, "Pwxxxxx\n"}}));
  // Off a parameter page the box does nothing.
  fenetre_perforation_Click(r.c);
  from = r.mark();
  r.m.valid_pwm.set_value(1);
  EXPECT_FALSE(r.m.dcycle_pwm.enabled());
  EXPECT_TRUE(r.frames(from).empty());
}

// The sensor box sets the automatic cycle box and the pulse field, with the port closed or open; the automatic
// cycle box alone needs no page and sends nothing.
TEST(SensorMode, CouplingAndFrames) {
  for (bool open : {false, true}) {
    LinkRig r;
    fenetre_moteurs_Click(r.c);
    if (open) {
      ASSERT_TRUE(r.connect(10));
    }
    auto from = r.mark();
    const int64_t t0 = r.p.now();
    r.m.Check1.set_value(1);
    EXPECT_EQ(r.m.Check2.value(), 0);
    EXPECT_TRUE(r.m.TempoZ.enabled());
    EXPECT_EQ(r.m.TempoZ.color(), palette::kWindow);
    r.m.Check1.set_value(0);
    EXPECT_EQ(r.m.Check2.value(), 1);
    EXPECT_FALSE(r.m.TempoZ.enabled());
    EXPECT_EQ(r.m.TempoZ.color(), palette::kMenu);
    // 10 ms after the frame, no turn of its own.
    EXPECT_EQ(r.frames(from), open ? F({{t0, "CPxxxxx\n"}, {t0 + 11, "cpxxxxx\n"}}) : F({})) << open;
    fenetre_perforation_Click(r.c);
    from = r.mark();
    r.m.Check2.set_value(0);
    EXPECT_TRUE(r.m.TempoZ.enabled());
    r.m.Check2.set_value(1);
    EXPECT_FALSE(r.m.TempoZ.enabled());
    EXPECT_TRUE(r.frames(from).empty());
  }
}

}  // namespace
}  // namespace brivel::test
