// The console assembled: one model, one run state, the platform, and the
// handlers of every subsystem registered on the model. The window, the
// scripted console and the scenario tests all start from here.
#pragma once

#include <map>
#include <memory>
#include <string>

#include "console/context.h"

namespace brivel {

class HoleJournal;

struct ConsoleOptions {
  std::string program_dir;            // folder of the executable
  bool program_dir_writable = false;  // a portable copy keeps its files beside it
  bool hole_journal = false;          // keeps Journal_trous.txt of the holes a run punches
};

// The firmware image shipped with an installed program
// (<prefix>/share/brivel/Brivel_uploader/Binaire/) copied into the folder
// where "Programmation Atmega" looks for it, when that one has none.
void fournit_microprogramme(const std::string& program_dir, const std::string& dossier_appli);

class ConsoleApp {
 public:
  ConsoleApp(Platform& platform, ConsoleOptions options);
  ~ConsoleApp();
  ConsoleApp(const ConsoleApp&) = delete;
  ConsoleApp& operator=(const ConsoleApp&) = delete;

  Model m;
  RunState s;
  Platform& p;
  Context c{m, s, p};

  // The start of the program: File1 on the program's folder, the paths, the
  // flags. Nothing else happens until the operator acts.
  void Form_Load();
  // The quit sequence; also the menu entry "Quitter". Ends in
  // Platform::end_console, which does not return in the real program.
  void quitter_Click();
  // The window is being closed by any road.
  void Form_QueryUnload() { quitter_Click(); }

 private:
  void drive_timers(Element& e);
  ConsoleOptions options_;
  std::unique_ptr<HoleJournal> journal_;
  std::map<Element*, int> timer_ids_;
  int observer_ = 0;
};

}  // namespace brivel
