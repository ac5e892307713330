#include "link/link.h"

#include "link/connection.h"
#include "link/line.h"
#include "link/param_push.h"

namespace brivel {

void install_link(Context& c) {
  Context* cp = &c;
  c.p.serial().set_on_comm([cp](int ev) { OnComm(*cp, ev); });
  c.p.devices().set_on_arrival(
      [cp](int type, int id, const std::string& name) { SysInfo_DeviceArrival(*cp, type, id, name); });
  c.p.devices().set_on_removal([cp] { SysInfo_DeviceRemoveComplete(*cp); });
  Model& m = c.m;
  m.AdressePort.handler = [cp] { AdressePort_Change(*cp); };
  m.Label3.handler = [cp] { Label3_Click(*cp); };
  m.VitesseX.handler = [cp] { VitesseX_Change(*cp); };
  m.VitesseY.handler = [cp] { VitesseY_Change(*cp); };
  m.Text_origineX.handler = [cp] { Text_origineX_Change(*cp); };
  m.TempoZ.handler = [cp] { TempoZ_Change(*cp); };
  m.MaxZ.handler = [cp] { MaxZ_Change(*cp); };
  m.dcycle_pwm.handler = [cp] { dcycle_pwm_Change(*cp); };
  m.valid_pwm.handler = [cp] { valid_pwm_Click(*cp); };
  m.Check1.handler = [cp] { Check1_Click(*cp); };
  m.Check2.handler = [cp] { Check2_Click(*cp); };
}

}  // namespace brivel
