// The programs under test run as children: standard input fed, output and
// errors collected, a time limit after which a child is killed. A child still
// running when the test ends (a failed assertion) is killed and reaped, so a
// broken program never outlives its test. Beside them, the test's own folder
// and the board simulators' logs.
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace brivel::test {

// A fresh folder of one test, the BRIVEL_HOME of the programs it starts;
// removed afterwards.
struct TempHome {
  std::filesystem::path dir;
  explicit TempHome(const std::string& tag);
  ~TempHome();
  TempHome(const TempHome&) = delete;
  TempHome& operator=(const TempHome&) = delete;
  std::string str() const { return dir.string(); }
  std::string operator/(const std::string& name) const { return (dir / name).string(); }
  // Writes `text` to `name` (folders made), executable if asked.
  std::string write(const std::string& name, const std::string& text, bool executable = false) const;
  // The link of the simulated boards, ports/com7: port 7 of the console.
  std::string port() const { return (dir / "ports" / "com7").string(); }
};

class ChildProcess {
 public:
  // Starts argv[0] with argv, BRIVEL_HOME set to `home` and `input` on its
  // standard input (then closed).
  ChildProcess(const std::vector<std::string>& argv, const std::string& home, const std::string& input = "");
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  pid_t pid() const { return pid_; }

  // Collects output until `marker` appears on standard output, the output
  // ends, or `seconds` have passed. True if the marker came.
  bool read_until(const std::string& marker, double seconds);
  // Waits for the end for at most `seconds`, collecting the output; kills
  // the child past that. The exit status, or -1 if it was killed or died of
  // a signal.
  int wait_exit(double seconds);
  // Asks the child to end (SIGTERM) and waits as wait_exit does.
  int terminate(double seconds);

  const std::string& out() const { return out_; }
  const std::string& err() const { return err_; }

 private:
  // One poll of both outputs for at most `ms`; false once both have ended.
  bool pump(int ms);
  pid_t pid_ = -1;
  int out_fd_ = -1, err_fd_ = -1;
  std::string out_, err_;
  bool reaped_ = false;
  int status_ = -1;
};

// A board simulator started on home.port() with `args`, ready to answer.
// The first of `args` is the program.
std::unique_ptr<ChildProcess> start_board(const TempHome& home, std::vector<std::string> args);

// The script lines that connect the console to port 7.
inline const std::string kConnect = "click fenetre_moteurs\nset AdressePort 7\nwait Shape1 = 10\n";

// A simulator's log, "<ms> <dir> <text>" a line: the frames the board
// received (">", "<LF>" for the line feed) and the holes punched, "X=.. Y=..",
// from the board model (" * ") or measured at the chip's pins ("HOLE x y").
struct BoardLog {
  std::vector<std::string> lines, frames, holes;
  long count(const std::string& frame) const;
};
BoardLog read_board_log(const std::filesystem::path& log);

}  // namespace brivel::test
