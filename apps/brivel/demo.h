// The demonstration run of the console: the real window on the simulated
// platform, with no machine and no display needed. It goes through the
// three pages by the menu, as an operator would, and saves a picture of
// each into a folder.
#pragma once

#include <QString>
#include <QStringList>

#include <memory>

namespace brivel::demo {

// Keeps the offscreen platform's expected warnings out of the report. Call
// before the QApplication is made.
void quiet_offscreen_messages();

// Runs the demonstration into `out_dir` (made if missing). Prints where the
// pictures went; returns the process exit status.
int run_demo(const QString& out_dir);

// What the demonstration has to offer its steps: the console on the
// simulated platform and its window. Further steps (a piece punched on the
// simulated board) go in as more calls between the page pictures.
class DemoDesk {
 public:
  explicit DemoDesk(const QString& home);
  ~DemoDesk();

  // Chooses a menu entry by its name ("fenetre_moteurs") and lets the
  // window settle. False if the entry is missing or refused.
  bool choose(const char* entry);
  // Saves a picture of the whole window. False on a write failure.
  bool grab(const QString& path);

 private:
  struct Impl;
  std::unique_ptr<Impl> d_;
};

}  // namespace brivel::demo
