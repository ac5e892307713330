#include "link/link.h"

namespace brivel {

void install_link(Context&) {}

}  // namespace brivel
