// Where the program finds the files it ships with (the help page, the
// sample piece): beside the current folder first, as the older generation
// looked, then in share/brivel of the installation, then in share/brivel of
// the build folder, which the build fills.
#pragma once

#include <string>

namespace brivel {

// The path of `name` in the first of these folders that holds it:
// `current_folder`, <program_dir>/../share/brivel (installed under a
// prefix), <program_dir>/../../share/brivel (a program of the build folder,
// in apps/<name>/). "" when none does.
std::string find_data_file(const std::string& name, const std::string& program_dir, const std::string& current_folder);

}  // namespace brivel
