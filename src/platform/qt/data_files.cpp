#include "platform/qt/data_files.h"

#include <filesystem>

namespace brivel {

std::string find_data_file(const std::string& name, const std::string& program_dir, const std::string& current_folder) {
  namespace fs = std::filesystem;
  const fs::path program(program_dir);
  for (const fs::path& dir :
       {fs::path(current_folder), program / ".." / "share" / "brivel", program / ".." / ".." / "share" / "brivel"}) {
    std::error_code ec;
    const fs::path candidate = dir / name;
    if (fs::is_regular_file(candidate, ec)) return candidate.lexically_normal().string();
  }
  return "";
}

}  // namespace brivel
