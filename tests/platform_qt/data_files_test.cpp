// The shipped files found from the current folder, an installation and a
// build folder, in that order.
#include "platform/qt/data_files.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

namespace brivel {
namespace {

namespace fs = std::filesystem;

TEST(DataFiles, CurrentFolderThenInstalledThenBuild) {
  const fs::path root = fs::temp_directory_path() / ("brivel-data-" + std::to_string(getpid()));
  fs::remove_all(root);
  for (const char* d : {"cwd", "prefix/bin", "prefix/share/brivel", "build/apps/brivel", "build/share/brivel"})
    fs::create_directories(root / d);
  auto touch = [&](const fs::path& p) { std::ofstream(root / p) << "x"; };
  const std::string cwd = (root / "cwd").string();
  const std::string installed = (root / "prefix/bin").string(), built = (root / "build/apps/brivel").string();

  EXPECT_EQ(find_data_file("Brivel.htm", installed, cwd), "") << "found nowhere";
  touch("build/share/brivel/Brivel.htm");
  touch("prefix/share/brivel/Brivel.htm");
  EXPECT_EQ(find_data_file("Brivel.htm", built, cwd), (root / "build/share/brivel/Brivel.htm").string());
  EXPECT_EQ(find_data_file("Brivel.htm", installed, cwd), (root / "prefix/share/brivel/Brivel.htm").string());
  // A folder of that name is no page.
  fs::create_directories(root / "cwd/Brivel.htm");
  EXPECT_EQ(find_data_file("Brivel.htm", installed, cwd), (root / "prefix/share/brivel/Brivel.htm").string());
  fs::remove(root / "cwd/Brivel.htm");
  touch("cwd/Brivel.htm");
  EXPECT_EQ(find_data_file("Brivel.htm", installed, cwd), (root / "cwd/Brivel.htm").string());
  fs::remove_all(root);
}

}  // namespace
}  // namespace brivel
