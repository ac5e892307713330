// The real programs over a real serial stack: brivel-script drives the
// console against brivel-board-sim on a pseudo-terminal, and the simulator's
// log must hold the exact bytes of the story.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace {

namespace fs = std::filesystem;

// A child process whose standard output we read.
struct Child {
  pid_t pid = -1;
  int out = -1;

  Child(const std::vector<std::string>& argv, const std::string& home) {
    int fds[2];
    if (pipe(fds) != 0) return;
    pid = fork();
    if (pid == 0) {
      dup2(fds[1], 1);
      close(fds[0]);
      close(fds[1]);
      setenv("BRIVEL_HOME", home.c_str(), 1);
      std::vector<char*> args;
      for (const auto& a : argv) args.push_back(const_cast<char*>(a.c_str()));
      args.push_back(nullptr);
      execv(args[0], args.data());
      _exit(127);
    }
    close(fds[1]);
    out = fds[0];
  }

  // Reads standard output until `until` appears or the output ends, for at
  // most `seconds`.
  std::string read_until(const std::string& until, double seconds) {
    std::string got;
    auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(static_cast<int>(seconds * 1000));
    while (std::chrono::steady_clock::now() < end) {
      pollfd p{out, POLLIN, 0};
      if (poll(&p, 1, 100) <= 0) continue;
      char buf[256];
      ssize_t n = read(out, buf, sizeof buf);
      if (n <= 0) break;
      got.append(buf, static_cast<std::size_t>(n));
      if (!until.empty() && got.find(until) != std::string::npos) break;
    }
    return got;
  }

  int wait_exit() {
    int status = 0;
    waitpid(pid, &status, 0);
    close(out);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }
};

TEST(EndToEnd, ScriptAgainstTheBoardSimulatorOnAPseudoTerminal) {
  fs::path home = fs::temp_directory_path() / ("brivel-e2e-" + std::to_string(getpid()));
  fs::remove_all(home);
  fs::create_directories(home);
  std::string log = (home / "board.log").string();

  Child sim({BOARD_SIM_EXE, "--link", (home / "ports" / "com7").string(), "--log", log, "--instant"}, home.string());
  ASSERT_NE(sim.read_until("ready", 10).find("ready"), std::string::npos);

  std::ofstream(home / "story.txt") << "click fenetre_moteurs\n"
                                       "set AdressePort 7\n"
                                       "wait Shape1 = 10\n"
                                       "set nb_PasX 12\n"
                                       "click CommandeX_P\n"
                                       "wait LabelX = 12\n"
                                       "click CommandeZ_M\n"
                                       "quit\n";
  Child script({SCRIPT_EXE, (home / "story.txt").string()}, home.string());
  script.read_until("", 60);
  EXPECT_EQ(script.wait_exit(), 0);

  kill(sim.pid, SIGTERM);
  EXPECT_EQ(sim.wait_exit(), 0);

  // The frames the board received, in order.
  std::ifstream in(log);
  std::vector<std::string> frames, holes;
  for (std::string line; std::getline(in, line);) {
    std::istringstream words(line);
    std::string at, dir, text;
    words >> at >> dir;
    std::getline(words, text);
    if (!text.empty() && text[0] == ' ') text.erase(0, 1);
    if (dir == ">") frames.push_back(text);
    if (dir == "*" && text.rfind("X=", 0) == 0) holes.push_back(text);
  }
  const std::vector<std::string> expected = {
      "NUxxxxx<LF>", "PX05000<LF>", "PY07500<LF>", "OX00220<LF>", "IZ00002<LF>", "MZ00012<LF>", "cpxxxxx<LF>",
      "AGxxxxx<LF>", "mX00012<LF>", "ZGxxxxx<LF>",  // manual X move, half steps by default
      "AGxxxxx<LF>", "CZxxxxx<LF>", "ZGxxxxx<LF>",  // manual punch, automatic cycle by default
      "ZGxxxxx<LF>",                                // the quit sequence
  };
  EXPECT_EQ(frames, expected);
  EXPECT_EQ(holes, std::vector<std::string>{"X=12 Y=0"});
  fs::remove_all(home);
}

}  // namespace
