#include "run/motion/motion.h"

namespace brivel {

void debut_travail(Context&) {}
void fin_travail(Context&) {}
void deplace_X(Context&) {}
void deplace_Y(Context&) {}
void cycle_Z(Context&) {}
void arme_watchdog(Context&) {}
void mise_en_defaut(Context&) {}
void install_motion(Context&) {}

}  // namespace brivel
