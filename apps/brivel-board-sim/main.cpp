// brivel-board-sim: the controller board's model behind a pseudo-terminal.
// Prints the slave's path, then "ready", on stdout once it listens.
#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>

#include "board/board_model.h"
#include "line_watch.h"
#include "command_line.h"
#include "pty_link.h"
#include "sim_loop.h"
#include "sim_options.h"

using namespace brivel;
using namespace brivel::boardsim;

namespace {

int g_signal_pipe = -1;

extern "C" void on_signal(int sig) {
  const char c = sig == SIGUSR1 ? 'U' : 'T';
  [[maybe_unused]] ssize_t n = ::write(g_signal_pipe, &c, 1);
}

bool install_signals(int* read_end) {
  int fds[2];
  if (::pipe2(fds, O_NONBLOCK | O_CLOEXEC) != 0) return false;
  g_signal_pipe = fds[1];
  *read_end = fds[0];
  struct sigaction sa {};
  sa.sa_handler = on_signal;
  sigemptyset(&sa.sa_mask);
  for (int sig : {SIGTERM, SIGINT, SIGUSR1}) sigaction(sig, &sa, nullptr);
  signal(SIGPIPE, SIG_IGN);
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  const std::vector<std::string> args(argv + 1, argv + argc);
  if (auto end = cli::aide_ou_version(args, "brivel-board-sim", kUsage, std::cout)) return *end;
  std::string error;
  auto opt = parse_options(args, &error);
  if (!opt) return cli::refuse("brivel-board-sim", error, kUsage, std::cerr);

  BoardOptions board_options;
  if (!opt->faults.empty()) {
    std::error_code ec;
    const auto kind = std::filesystem::status(opt->faults, ec).type();
    std::ifstream in(opt->faults, std::ios::binary);
    if (kind != std::filesystem::file_type::regular || !in) {
      std::cerr << "brivel-board-sim : script de défauts "
                << (kind == std::filesystem::file_type::not_found   ? "introuvable"
                    : kind == std::filesystem::file_type::directory ? "refusé (c'est un dossier)"
                    : kind != std::filesystem::file_type::regular   ? "refusé (ce n'est pas un fichier ordinaire)"
                                                                    : "illisible")
                << " : " << opt->faults << "\n";
      return 2;
    }
    std::ostringstream text;
    text << in.rdbuf();
    auto parsed = parse_fault_script(text.str(), &error);
    if (!parsed) {
      std::cerr << "brivel-board-sim : " << error << "\n";
      return 2;
    }
    board_options = *parsed;
  }
  board_options.instant = opt->instant;
  BoardModel board(board_options);
  for (size_t i = 0; i < opt->sensors.size(); ++i) board.set_sensor(static_cast<int>(i), opt->sensors[i] == 'O');

  std::FILE* log = nullptr;
  if (!opt->log.empty() && !(log = std::fopen(opt->log.c_str(), "wb"))) {
    std::cerr << "Journal impossible à créer : " << opt->log << "\n";
    return 1;
  }
  int signal_fd = -1;
  if (!install_signals(&signal_fd)) {
    std::cerr << "Impossible d'installer les signaux.\n";
    return 1;
  }
  int status = 0;
  {
    PtyLink pty;
    LineWatch watch;
    if (!pty.open(opt->link, &error) || !watch.start(pty.slave_path(), &error)) {
      std::cerr << error << "\n";
      status = 1;
    } else {
      std::cout << pty.slave_path() << "\nready" << std::endl;
      SimLoop loop(board, pty, log, signal_fd, &watch);
      loop.run(static_cast<int64_t>(std::llround(opt->duration_s * 1000)));
    }
  }  // the link goes before we say we're done
  if (log) std::fclose(log);
  return status;
}
