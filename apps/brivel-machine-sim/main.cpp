// brivel-machine-sim: the firmware's own image on simavr's ATmega328P, its
// serial port bridged to a pseudo-terminal, and a machine (head, card,
// punch, switch, sensors) driven by the chip's pins. It logs what the pins
// did, never what the firmware meant to do.
//
//   brivel-machine-sim --firmware FILE.elf --link PATH --log FILE [--realtime] [--faults FILE]
//
// Prints the pseudo-terminal's path, then "ready", and serves until SIGTERM.
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <deque>
#include <fstream>
#include <iostream>
#include <string>
#include <thread>

#include "board/board_log.h"
#include "machine.h"
#include "pty_link.h"

extern "C" {
#include <simavr/avr_ioport.h>
#include <simavr/avr_uart.h>
#include <simavr/sim_avr.h>
#include <simavr/sim_elf.h>
}

// libsimavr keeps the firmware's sections for the life of the process:
// not a leak of ours to report at exit.
extern "C" const char* __asan_default_options() { return "detect_leaks=0"; }

namespace {

volatile std::sig_atomic_t g_stop = 0;
void on_term(int) { g_stop = 1; }

// libsimavr's own chatter ("Loaded ...") stays off our output.
void quiet_logger(avr_t*, const int level, const char* format, va_list ap) {
  if (level > LOG_ERROR) return;
  std::vfprintf(stderr, format, ap);
}

constexpr const char* kUsage =
    "Usage : brivel-machine-sim --firmware FICHIER.elf --link CHEMIN --log FICHIER [--realtime] [--faults FICHIER]\n";

}  // namespace

int main(int argc, char** argv) {
  std::string firmware, link, log_path, faults_path;
  bool realtime = false;
  for (int i = 1; i < argc; ++i) {
    const std::string a = argv[i];
    auto next = [&](std::string& out) {
      if (i + 1 >= argc) return false;
      out = argv[++i];
      return true;
    };
    if ((a == "--firmware" && next(firmware)) || (a == "--link" && next(link)) || (a == "--log" && next(log_path)) ||
        (a == "--faults" && next(faults_path)))
      continue;
    if (a == "--realtime") {
      realtime = true;
      continue;
    }
    std::cerr << "brivel-machine-sim: option inconnue ou incomplète « " << a << " »\n" << kUsage;
    return 2;
  }
  if (firmware.empty() || link.empty() || log_path.empty()) {
    std::cerr << kUsage;
    return 2;
  }
  brivel::machinesim::Faults faults;
  if (!faults_path.empty()) {
    std::ifstream in(faults_path);
    std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    std::string error;
    if (!in || !brivel::machinesim::parse_faults(text, &faults, &error)) {
      std::cerr << "brivel-machine-sim: " << faults_path << " : " << (in ? error : "illisible") << "\n";
      return 2;
    }
  }
  std::ofstream log(log_path, std::ios::trunc);
  if (!log) {
    std::cerr << "brivel-machine-sim: journal impossible à écrire : " << log_path << "\n";
    return 2;
  }

  avr_global_logger_set(quiet_logger);
  elf_firmware_t f = {};
  if (elf_read_firmware(firmware.c_str(), &f) != 0) {
    std::cerr << "brivel-machine-sim: image illisible : " << firmware << "\n";
    return 2;
  }
  avr_t* avr = avr_make_mcu_by_name("atmega328p");
  if (!avr) return 2;
  avr_init(avr);
  avr->frequency = 16000000;
  avr_load_firmware(avr, &f);

  brivel::boardsim::PtyLink pty;
  std::string error;
  if (!pty.open(link, &error)) {
    std::cerr << "brivel-machine-sim: " << error << "\n";
    return 2;
  }
  fcntl(pty.master_fd(), F_SETFL, fcntl(pty.master_fd(), F_GETFL) | O_NONBLOCK);

  brivel::machinesim::Machine machine(avr, faults, log);
  machine.on_tx = [&pty](uint8_t b) {
    if (::write(pty.master_fd(), &b, 1) != 1) {
      // The other end is gone: nothing to tell it.
    }
  };

  std::signal(SIGTERM, on_term);
  std::signal(SIGINT, on_term);
  std::cout << pty.slave_path() << "\nready" << std::endl;

  const auto wall0 = std::chrono::steady_clock::now();
  std::deque<uint8_t> incoming;
  while (!g_stop) {
    for (int i = 0; i < 2000; ++i) {
      const int state = avr_run(avr);
      if (state == cpu_Done || state == cpu_Crashed) {
        log << machine.now_ms() << " # firmware arrêté (" << (state == cpu_Crashed ? "plantage" : "fin") << ")\n";
        log.flush();
        return 1;
      }
    }
    uint8_t buf[256];
    const ssize_t n = ::read(pty.master_fd(), buf, sizeof buf);
    for (ssize_t i = 0; i < n; ++i) incoming.push_back(buf[i]);
    machine.feed(incoming);
    const double sim_s = static_cast<double>(avr->cycle) / avr->frequency;
    const double wall_s = std::chrono::duration<double>(std::chrono::steady_clock::now() - wall0).count();
    // Held to the wall clock when asked, and whenever the machine waits for
    // the program: a firmware waiting for bytes needn't burn the host.
    if ((realtime || (incoming.empty() && machine.idle())) && sim_s > wall_s) {
      pollfd p{pty.master_fd(), POLLIN, 0};
      ::poll(&p, 1, static_cast<int>(std::min(5.0, (sim_s - wall_s) * 1000)));
    }
  }
  log.flush();
  return 0;
}
