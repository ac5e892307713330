#include "import/import.h"

namespace brivel {

void install_import(Context&) {}

}  // namespace brivel
