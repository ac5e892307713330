// Where the program keeps its files on Linux.
#pragma once

#include <optional>
#include <string>

namespace brivel {

// The folder that holds the parameter files, Temp/ and the automatic context
// file, always with a trailing '/'. In order of precedence:
//   1. `brivel_home` (the BRIVEL_HOME environment variable) when set and not empty;
//   2. the program's own folder when it is writable (a portable copy);
//   3. the per-user data folder: $XDG_DATA_HOME/brivel, else $HOME/.local/share/brivel.
struct AppPathInputs {
  std::optional<std::string> brivel_home;
  std::string program_dir;
  bool program_dir_writable = false;
  std::optional<std::string> xdg_data_home;
  std::optional<std::string> home;
};
std::string resolve_dossier_appli(const AppPathInputs& in);

// Creates `dossier` and its Temp/ folder when missing. False if either
// could not be made.
bool ensure_app_folders(const std::string& dossier);

// The path separator of the platform, the "\" of the older generation.
constexpr char kSep = '/';

}  // namespace brivel
