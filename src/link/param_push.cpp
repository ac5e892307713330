#include "link/param_push.h"

#include "console/pages.h"
#include "core/numbers.h"
#include "link/frames.h"
#include "link/line.h"

namespace brivel {

namespace {
// The board takes a parameter frame in well under this, in ms.
constexpr int kParamGapMs = 10;

bool checked(const Element& box) { return box.value() == 1; }

// A value field's frame; a refused value leaves its text on the service
// line and sends nothing. False only when the line itself failed.
bool send_field(Context& c, const char* code, const Element& field) {
  const double v = val(field.text());
  if (!number_frame(code, v)) {
    c.m.Label_defautP.set_text(refusal_text(code, v));
    return true;
  }
  return envoie_nombre(c, code, v);
}

void live_frame(Context& c, const char* code, const Element& field) {
  if (!parameter_page_showing(c.m)) return;
  if (!c.p.serial().is_open()) return;
  if (!send_field(c, code, field)) return;
  c.p.turn(0);
  attente_ms(c.p, kParamGapMs);
}
}  // namespace

void param_arduino(Context& c) {
  Model& m = c.m;
  struct Item {
    const char* code;
    const Element& field;
  };
  const Item values[] = {{"PX", m.VitesseX}, {"PY", m.VitesseY}, {"OX", m.Text_origineX}, {"IZ", m.TempoZ},
                         {"MZ", m.MaxZ}};
  if (!envoie(c, fixed_frame("NU"))) return;
  attente_ms(c.p, kParamGapMs);
  for (const Item& it : values) {
    if (!send_field(c, it.code, it.field)) return;
    attente_ms(c.p, kParamGapMs);
  }
  // Without chopped pulses nothing goes out, but the pause stays, so that
  // the burst lasts the same.
  if (checked(m.valid_pwm) && !send_field(c, "PW", m.dcycle_pwm)) return;
  attente_ms(c.p, kParamGapMs);
  if (!envoie(c, fixed_frame(checked(m.Check1) ? "CP" : "cp"))) return;
  attente_ms(c.p, kParamGapMs);
}

void VitesseX_Change(Context& c) { live_frame(c, "PX", c.m.VitesseX); }
void VitesseY_Change(Context& c) { live_frame(c, "PY", c.m.VitesseY); }
void Text_origineX_Change(Context& c) { live_frame(c, "OX", c.m.Text_origineX); }
void TempoZ_Change(Context& c) { live_frame(c, "IZ", c.m.TempoZ); }
void MaxZ_Change(Context& c) { live_frame(c, "MZ", c.m.MaxZ); }

void dcycle_pwm_Change(Context& c) {
  if (!parameter_page_showing(c.m)) return;
  if (!c.p.serial().is_open()) return;
  const bool sent = c.m.dcycle_pwm.enabled() ? send_field(c, "PW", c.m.dcycle_pwm) : envoie(c, fixed_frame("Pw"));
  if (!sent) return;
  c.p.turn(0);
  attente_ms(c.p, kParamGapMs);
}

void valid_pwm_Click(Context& c) {
  if (!parameter_page_showing(c.m)) return;
  Element& f = c.m.dcycle_pwm;
  if (checked(c.m.valid_pwm)) {
    f.set_enabled(true);
    f.set_color(palette::kWindow);
  } else {
    f.set_enabled(false);
    f.set_color(palette::kMenu);
  }
  dcycle_pwm_Change(c);
}

void Check1_Click(Context& c) {
  if (!parameter_page_showing(c.m)) return;
  // The two-sensor mode goes with the fixed punch cycle.
  c.m.Check2.set_value(checked(c.m.Check1) ? 0 : 1);
  if (!c.p.serial().is_open()) return;
  if (checked(c.m.Check1)) {
    if (!envoie(c, fixed_frame("CP"))) return;
    c.m.Check2.set_value(0);
  } else {
    if (!envoie(c, fixed_frame("cp"))) return;
  }
  attente_ms(c.p, kParamGapMs);
}

void Check2_Click(Context& c) {
  Element& tempo = c.m.TempoZ;
  if (c.m.Check2.value() == 0) {
    tempo.set_enabled(true);
    tempo.set_color(palette::kWindow);
  } else if (c.m.Check2.value() == 1) {
    // An automatic cycle doesn't use the pulse length.
    tempo.set_enabled(false);
    tempo.set_color(palette::kMenu);
  }
}

}  // namespace brivel
