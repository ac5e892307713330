// A program under test run as a child: its standard input fed, its output
// and errors collected, a time limit after which it is killed. A child still
// running when the test ends (a failed assertion) is killed and reaped, so a
// broken program never outlives its test.
#pragma once

#include <sys/types.h>

#include <filesystem>
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
};

class ChildProcess {
 public:
  // Starts argv[0] with argv, BRIVEL_HOME set to `home` and `input` on its
  // standard input (then closed).
  ChildProcess(const std::vector<std::string>& argv, const std::string& home, const std::string& input = "");
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  bool started() const { return pid_ > 0; }
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

}  // namespace brivel::test
