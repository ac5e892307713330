#include "e2e/child_process.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <fstream>
#include <sstream>

extern char** environ;

namespace brivel::test {

TempHome::TempHome(const std::string& tag) {
  dir = std::filesystem::temp_directory_path() / ("brivel-e2e-" + tag + "-" + std::to_string(getpid()));
  std::filesystem::remove_all(dir);
  std::filesystem::create_directories(dir);
  // Open to the ordinary user some tests run a program as.
  std::filesystem::permissions(dir, std::filesystem::perms(0755));
}

std::string TempHome::write(const std::string& name, const std::string& text, bool executable) const {
  const auto path = dir / name;
  std::filesystem::create_directories(path.parent_path());
  std::ofstream(path, std::ios::binary) << text;
  if (executable) std::filesystem::permissions(path, std::filesystem::perms(0755));
  return path.string();
}

TempHome::~TempHome() {
  std::error_code ec;
  std::filesystem::remove_all(dir, ec);
}

namespace {

using Clock = std::chrono::steady_clock;

Clock::time_point after(double seconds) {
  return Clock::now() + std::chrono::milliseconds(static_cast<long>(seconds * 1000));
}

}  // namespace

ChildProcess::ChildProcess(const std::vector<std::string>& argv, const std::string& home, const std::string& input) {
  // Everything the child needs is built before the fork.
  std::vector<std::string> env_text;
  for (char** e = environ; *e; ++e)
    if (std::strncmp(*e, "BRIVEL_HOME=", 12) != 0) env_text.emplace_back(*e);
  env_text.push_back("BRIVEL_HOME=" + home);
  std::vector<char*> envp, args;
  for (auto& e : env_text) envp.push_back(e.data());
  envp.push_back(nullptr);
  std::vector<std::string> argv_copy = argv;
  for (auto& a : argv_copy) args.push_back(a.data());
  args.push_back(nullptr);

  int in[2], out[2], err[2];
  if (pipe2(in, O_CLOEXEC) != 0) return;
  if (pipe2(out, O_CLOEXEC) != 0 || pipe2(err, O_CLOEXEC) != 0) return;
  pid_ = fork();
  if (pid_ == 0) {
    dup2(in[0], 0);
    dup2(out[1], 1);
    dup2(err[1], 2);
    execve(args[0], args.data(), envp.data());
    _exit(127);
  }
  close(in[0]);
  close(out[1]);
  close(err[1]);
  out_fd_ = out[0];
  err_fd_ = err[0];
  if (pid_ < 0) {
    close(in[1]);
    return;
  }
  // Scripts are short: they fit in the pipe without blocking.
  signal(SIGPIPE, SIG_IGN);
  [[maybe_unused]] ssize_t n = write(in[1], input.data(), input.size());
  close(in[1]);
}

ChildProcess::~ChildProcess() {
  if (pid_ > 0 && !reaped_) {
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
  }
  if (out_fd_ >= 0) close(out_fd_);
  if (err_fd_ >= 0) close(err_fd_);
}

bool ChildProcess::pump(int ms) {
  pollfd fds[2] = {{out_fd_, POLLIN, 0}, {err_fd_, POLLIN, 0}};
  if (out_fd_ < 0 && err_fd_ < 0) return false;
  if (poll(fds, 2, ms) <= 0) return true;
  for (auto& f : fds) {
    if (f.fd < 0 || !(f.revents & (POLLIN | POLLHUP | POLLERR))) continue;
    char buf[512];
    ssize_t n = read(f.fd, buf, sizeof buf);
    std::string& sink = f.fd == out_fd_ ? out_ : err_;
    if (n > 0) {
      sink.append(buf, static_cast<std::size_t>(n));
    } else {
      close(f.fd);
      (f.fd == out_fd_ ? out_fd_ : err_fd_) = -1;
    }
  }
  return true;
}

bool ChildProcess::read_until(const std::string& marker, double seconds) {
  auto end = after(seconds);
  while (Clock::now() < end) {
    if (!marker.empty() && out_.find(marker) != std::string::npos) return true;
    if (!pump(50)) break;
  }
  return !marker.empty() && out_.find(marker) != std::string::npos;
}

int ChildProcess::wait_exit(double seconds) {
  if (pid_ <= 0) return -1;
  if (reaped_) return status_;
  auto end = after(seconds);
  int status = 0;
  for (;;) {
    pump(20);
    pid_t r = waitpid(pid_, &status, WNOHANG);
    if (r == pid_) break;
    if (Clock::now() >= end) {
      kill(pid_, SIGKILL);
      waitpid(pid_, &status, 0);
      reaped_ = true;
      return status_ = -1;
    }
  }
  // What the child wrote last; a pipe kept open by someone else can't hold
  // the test.
  for (auto drained = after(2); pump(20) && Clock::now() < drained;) {
  }
  reaped_ = true;
  return status_ = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

int ChildProcess::terminate(double seconds) {
  if (pid_ > 0 && !reaped_) kill(pid_, SIGTERM);
  return wait_exit(seconds);
}

std::unique_ptr<ChildProcess> start_board(const TempHome& home, std::vector<std::string> args) {
  args.insert(args.begin() + 1, {"--link", home.port()});
  auto sim = std::make_unique<ChildProcess>(args, home.str());
  if (!sim->read_until("ready", 10)) ADD_FAILURE() << args[0] << " not ready: " << sim->err();
  return sim;
}

long BoardLog::count(const std::string& frame) const { return std::count(frames.begin(), frames.end(), frame); }

BoardLog read_board_log(const std::filesystem::path& log) {
  BoardLog out;
  std::ifstream in(log);
  for (std::string line; std::getline(in, line);) {
    out.lines.push_back(line);
    std::istringstream words(line);
    std::string at, dir, text;
    words >> at >> dir;
    std::getline(words, text);
    if (!text.empty() && text[0] == ' ') text.erase(0, 1);
    if (dir == ">") out.frames.push_back(text);
    if (dir == "*") out.holes.push_back(text);
    if (at == "HOLE") {
      std::istringstream xy(line.substr(5));
      int x = 0, y = 0;
      xy >> x >> y;
      out.holes.push_back("X=" + std::to_string(x) + " Y=" + std::to_string(y));
    }
  }
  return out;
}

}  // namespace brivel::test
