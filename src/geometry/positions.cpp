#include "geometry/positions.h"

#include <cmath>

#include "console/model.h"
#include "core/numbers.h"

namespace brivel {

std::optional<std::vector<double>> calcule_positions(double talon, double pas, double pas_moteur, int n, bool inverse) {
  std::vector<double> out(n > 0 ? static_cast<size_t>(n) : 0);
  if (n > 0 && pas_moteur == 0) return std::nullopt;
  for (int i = 1; i <= n; ++i) {
    double p = round_half_even((talon + pas * (i - 1)) / pas_moteur);
    out[static_cast<size_t>(inverse ? n - i : i - 1)] = p;
  }
  return out;
}

std::optional<int> nb_touches(std::string_view text) {
  auto v = to_number_strict(text);
  if (!v || *v != std::floor(*v) || *v < 0 || *v > Model::kNotes) return std::nullopt;
  return static_cast<int>(*v);
}

std::optional<int> nb_touches_calcul(std::string_view text) {
  const double n = std::floor(val(text));
  if (!(n <= Model::kNotes)) return std::nullopt;  // also NaN
  return n < 0 ? 0 : static_cast<int>(n);
}

std::optional<int> numero_note(std::string_view text) {
  auto n = cint(val(text));
  if (!n || *n < 0 || *n > 127) return std::nullopt;
  return *n;
}

}  // namespace brivel
