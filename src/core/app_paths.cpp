#include "core/app_paths.h"

#include <filesystem>
#include <system_error>

namespace brivel {

namespace {
std::string with_sep(std::string p) {
  if (p.empty() || p.back() != kSep) p.push_back(kSep);
  return p;
}
bool set(const std::optional<std::string>& v) { return v && !v->empty(); }
}  // namespace

std::string resolve_dossier_appli(const AppPathInputs& in) {
  if (set(in.brivel_home)) return with_sep(*in.brivel_home);
  if (in.program_dir_writable && !in.program_dir.empty()) return with_sep(in.program_dir);
  if (set(in.xdg_data_home)) return with_sep(*in.xdg_data_home) + "brivel/";
  if (set(in.home)) return with_sep(*in.home) + ".local/share/brivel/";
  return with_sep(in.program_dir.empty() ? std::string(".") : in.program_dir);
}

bool ensure_app_folders(const std::string& dossier) {
  std::error_code ec;
  std::filesystem::create_directories(std::filesystem::path(dossier) / "Temp", ec);
  return std::filesystem::is_directory(std::filesystem::path(dossier) / "Temp", ec);
}

}  // namespace brivel
