#include "run/engine/ligne_run.h"

#include "core/numbers.h"

namespace brivel {

namespace {
std::string_view colonnes(std::string_view l, std::size_t premiere, std::size_t n) {
  if (l.size() < premiere) return {};
  return l.substr(premiere - 1, n);
}
}  // namespace

LigneRun lit_ligne_run(std::string_view ligne) {
  LigneRun r;
  r.pas = val(colonnes(ligne, 1, 7));
  r.note = val(colonnes(ligne, 9, 5));
  r.mot = std::string(colonnes(ligne, 15, 4));
  r.fin = std::string(colonnes(ligne, 19, 8));
  return r;
}

}  // namespace brivel
