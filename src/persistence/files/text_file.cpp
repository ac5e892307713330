#include "persistence/files/text_file.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <system_error>

#include "core/cp1252.h"

namespace brivel {

std::string texte_fichier(const std::vector<std::string>& lines) {
  std::string text;
  for (const auto& l : lines) {
    text += l;
    text += "\r\n";
  }
  text += "\r\n";
  return utf8_to_cp1252(text);
}

bool ecrit_fichier_atomique(const std::string& path, const std::string& bytes) {
  namespace fs = std::filesystem;
  const std::string tmp = path + ".tmp";
  {
    std::ofstream out(tmp, std::ios::binary | std::ios::trunc);
    if (!out) return false;
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    out.flush();
    if (!out) {
      out.close();
      std::error_code ec;
      fs::remove(tmp, ec);
      return false;
    }
  }
  std::error_code ec;
  fs::rename(tmp, path, ec);
  if (ec) {
    fs::remove(tmp, ec);
    return false;
  }
  return true;
}

}  // namespace brivel
