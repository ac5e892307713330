#include "persistence/files/context_file.h"

namespace brivel {

bool sauve_contexte_auto(Context&) { return false; }
void Sauve_contexte_Click(Context&) {}

}  // namespace brivel
