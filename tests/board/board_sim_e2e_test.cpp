// brivel-board-sim as the program sees it: a serial device at the end of a
// link, opened with plain POSIX calls.
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

extern char** environ;

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

// The simulator as a child process, its stdout and stderr on one pipe.
class SimProcess {
 public:
  explicit SimProcess(std::vector<std::string> args) {
    args.insert(args.begin(), BOARD_SIM_PATH);
    std::vector<char*> argv;
    for (auto& a : args) argv.push_back(a.data());
    argv.push_back(nullptr);
    int out[2];
    if (::pipe(out) != 0) return;
    posix_spawn_file_actions_t fa;
    posix_spawn_file_actions_init(&fa);
    posix_spawn_file_actions_adddup2(&fa, out[1], 1);
    posix_spawn_file_actions_adddup2(&fa, out[1], 2);
    posix_spawn_file_actions_addclose(&fa, out[0]);
    if (posix_spawn(&pid_, BOARD_SIM_PATH, &fa, nullptr, argv.data(), environ) != 0) pid_ = -1;
    posix_spawn_file_actions_destroy(&fa);
    ::close(out[1]);
    out_ = out[0];
  }
  ~SimProcess() {
    if (pid_ > 0) {
      ::kill(pid_, SIGKILL);
      ::waitpid(pid_, nullptr, 0);
    }
    if (out_ >= 0) ::close(out_);
  }

  // Reads stdout and stderr until it holds `text` or `ms` pass.
  bool wait_output(const std::string& text, int ms = 5000) {
    const auto end = Clock::now() + std::chrono::milliseconds(ms);
    while (output_.find(text) == std::string::npos) {
      if (!read_some(end)) return false;
    }
    return true;
  }
  // Asks it to stop and returns its exit status; -1 if it doesn't end in time.
  int stop(int sig = SIGTERM) {
    if (sig) ::kill(pid_, sig);
    return wait_exit();
  }
  int wait_exit() {
    // Its end closes the pipe: read to the end, then reap.
    const auto end = Clock::now() + std::chrono::seconds(5);
    while (read_some(end)) {
    }
    // The pipe's end comes a moment before the process can be reaped.
    int status = 0;
    while (::waitpid(pid_, &status, WNOHANG) != pid_) {
      if (Clock::now() >= end) return -1;
      ::poll(nullptr, 0, 5);
    }
    pid_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  }
  const std::string& output() const { return output_; }
  void signal(int sig) const { ::kill(pid_, sig); }

 private:
  bool read_some(Clock::time_point end) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now()).count();
    if (left <= 0) return false;
    pollfd p{out_, POLLIN, 0};
    if (::poll(&p, 1, static_cast<int>(left)) <= 0) return false;
    char buf[256];
    const ssize_t n = ::read(out_, buf, sizeof buf);
    if (n <= 0) return false;
    output_.append(buf, static_cast<size_t>(n));
    return true;
  }
  pid_t pid_ = -1;
  int out_ = -1;
  std::string output_;
};

int open_raw(const std::string& path) {
  const int fd = ::open(path.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK);
  if (fd < 0) return fd;
  termios t{};
  ::tcgetattr(fd, &t);
  ::cfmakeraw(&t);
  ::tcsetattr(fd, TCSANOW, &t);
  return fd;
}

// Writes `frame` and reads `n` bytes of reply, waiting at most 5 s.
std::string ask(int fd, const std::string& frame, size_t n) {
  if (::write(fd, frame.data(), frame.size()) != static_cast<ssize_t>(frame.size())) return "write failed";
  std::string got;
  const auto end = Clock::now() + std::chrono::seconds(5);
  while (got.size() < n) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now()).count();
    pollfd p{fd, POLLIN, 0};
    if (left <= 0 || ::poll(&p, 1, static_cast<int>(left)) <= 0) break;
    char buf[64];
    const ssize_t r = ::read(fd, buf, std::min(sizeof buf, n - got.size()));
    if (r > 0) got.append(buf, static_cast<size_t>(r));
  }
  return got;
}

// The log's lines without their times, which depend on the machine.
std::vector<std::string> log_without_times(const fs::path& file, bool* times_in_order) {
  std::ifstream in(file, std::ios::binary);
  std::vector<std::string> lines;
  std::string line;
  long long last = -1;
  *times_in_order = true;
  while (std::getline(in, line)) {
    const auto space = line.find(' ');
    const long long t = space == std::string::npos ? -1 : std::stoll(line.substr(0, space));
    if (t < last) *times_in_order = false;
    last = t;
    lines.push_back(space == std::string::npos ? line : line.substr(space + 1));
  }
  return lines;
}

fs::path fresh_dir(const char* name) {
  fs::path d = fs::temp_directory_path() / ("brivel-board-sim-" + std::to_string(::getpid()) + "-" + name);
  fs::remove_all(d);
  fs::create_directories(d);
  return d;
}

TEST(BoardSimProgram, AnswersOnItsLinkLogsAndSurvivesAReopen) {
  const fs::path dir = fresh_dir("link");
  const fs::path link = dir / "ports" / "com7";  // the folder doesn't exist yet
  const fs::path log = dir / "board.log";
  fs::create_directories(link.parent_path());
  fs::create_symlink("/nonexistent/pts/99", link);  // a stale link from an earlier run
  SimProcess sim({"--link", link.string(), "--log", log.string(), "--sensors", "O-O", "--duration", "60"});
  ASSERT_TRUE(sim.wait_output("ready\n")) << sim.output();
  ASSERT_TRUE(fs::is_symlink(link));
  const std::string slave = fs::read_symlink(link).string();
  EXPECT_EQ(sim.output(), slave + "\nready\n");

  int fd = open_raw(link.string());
  ASSERT_GE(fd, 0) << std::strerror(errno);
  EXPECT_EQ(ask(fd, "ONxxxxx\n", 1), "A");
  EXPECT_EQ(ask(fd, "MX00012\n", 1), "A");
  // The serial library of the program takes the port for itself.
  ASSERT_EQ(::ioctl(fd, TIOCEXCL), 0);
  ::close(fd);

  // A restarted program can open the port again and finds the board as it was.
  const auto end = Clock::now() + std::chrono::seconds(5);
  int exclusive = 1;
  fd = -1;
  while (Clock::now() < end) {
    if (fd < 0) fd = open_raw(link.string());
    if (fd >= 0 && ::ioctl(fd, TIOCGEXCL, &exclusive) == 0 && exclusive == 0) break;
    ::poll(nullptr, 0, 10);
  }
  ASSERT_GE(fd, 0);
  EXPECT_EQ(exclusive, 0) << "the simulator clears the exclusive-use flag";
  EXPECT_EQ(ask(fd, "ORxxxxx\n", 1), "D");
  EXPECT_EQ(ask(fd, "\n", 5), "00012") << "X kept its 12 steps across the reopen";
  EXPECT_EQ(ask(fd, "\nVDxxxxx\n\n", 5), "O-O--");
  ::close(fd);

  // SIGUSR1 stands in for the reset pulse, which a pty can't carry.
  sim.signal(SIGUSR1);
  bool restarted = false;
  for (const auto until = Clock::now() + std::chrono::seconds(5); !restarted && Clock::now() < until;) {
    std::ifstream in(log, std::ios::binary);
    restarted = (std::ostringstream() << in.rdbuf()).str().find(" # reset\n") != std::string::npos;
    if (!restarted) ::poll(nullptr, 0, 10);
  }
  EXPECT_TRUE(restarted);

  EXPECT_EQ(sim.stop(), 0);
  EXPECT_FALSE(fs::exists(fs::symlink_status(link))) << "the link goes with the simulator";
  bool in_order = false;
  const auto lines = log_without_times(log, &in_order);
  EXPECT_TRUE(in_order);
  const std::vector<std::string> want = {
      "> ONxxxxx<LF>", "< A",     "> MX00012<LF>", "< A",          "> ORxxxxx<LF>", "< D",
      "> <LF>",        "< 00012", "> <LF>",        "> VDxxxxx<LF>", "> <LF>",        "< O-O--",
      "# reset",
  };
  EXPECT_EQ(lines, want);
  fs::remove_all(dir);
}

TEST(BoardSimProgram, RefusesABadFaultScriptWithTheLine) {
  const fs::path dir = fresh_dir("faults");
  std::ofstream(dir / "faults.txt") << "B MY 1\nsilence CZ\n";
  SimProcess sim({"--faults", (dir / "faults.txt").string(), "--duration", "5"});
  EXPECT_EQ(sim.wait_exit(), 2);
  EXPECT_EQ(sim.output(), "Script de défauts, ligne 2 : rang attendu, un nombre à partir de 1 (« silence CZ »)\n");
  EXPECT_FALSE(fs::exists(dir / "ports"));
  fs::remove_all(dir);
}

}  // namespace
