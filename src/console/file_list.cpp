#include "console/file_list.h"

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <vector>

namespace brivel {

void refresh_File1(Context& c) {
  namespace fs = std::filesystem;
  std::string picked = c.m.File1.selected() >= 0 ? c.m.File1.row(c.m.File1.selected()) : "";
  std::vector<std::string> names;
  std::error_code ec;
  for (fs::directory_iterator it(c.s.dossier_appli, ec), end; !ec && it != end; it.increment(ec)) {
    if (!it->is_regular_file(ec)) continue;
    std::string n = it->path().filename().string();
    if (n.size() > 4 && n.compare(n.size() - 4, 4, ".set") == 0) names.push_back(n);
  }
  std::sort(names.begin(), names.end());
  // The folder changes at every step of a run (the context, the journal):
  // the list, and the choice in it, are left alone when its files haven't.
  if (names == c.m.File1.rows() && !names.empty()) return;
  c.m.File1.set_rows(names);
  auto at = std::find(names.begin(), names.end(), picked);
  if (!picked.empty() && at != names.end()) c.m.File1.set_selected(static_cast<int>(at - names.begin()));
  // A first start: nothing to pick, so the service line says what to do
  // instead of asking to pick.
  if (names.empty() && c.m.Label_defautP.text().rfind(kAChoisir, 0) == 0) c.m.Label_defautP.set_text(kListeVide);
}

}  // namespace brivel
