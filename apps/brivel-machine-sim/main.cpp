// brivel-machine-sim: an ATmega328P board as sold, on simavr, its serial
// port bridged to a pseudo-terminal, and a machine (head, card, punch,
// switch, sensors) driven by the chip's pins. It logs what the pins did,
// never what the firmware meant to do.
//
// Prints the pseudo-terminal's path, then "ready", and serves until SIGTERM.
#include <fcntl.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <deque>
#include <fstream>
#include <iostream>
#include <string>

#include "board/board_log.h"
#include "chip.h"
#include "line_watch.h"
#include "machine.h"
#include "pty_link.h"

extern "C" {
#include <simavr/sim_avr.h>
}

// libsimavr keeps the firmware's sections for the life of the process:
// not a leak of ours to report at exit.
extern "C" const char* __asan_default_options() { return "detect_leaks=0"; }

namespace {

using brivel::machinesim::Chip;
using brivel::boardsim::LineWatch;
using brivel::machinesim::Machine;

volatile std::sig_atomic_t g_stop = 0;
void on_term(int) { g_stop = 1; }

// libsimavr's own chatter ("Loaded ...") stays off our output.
void quiet_logger(avr_t*, const int level, const char* format, va_list ap) {
  if (level > LOG_ERROR) return;
  std::vfprintf(stderr, format, ap);
}

constexpr const char* kUsage =
    "Usage : brivel-machine-sim --link CHEMIN --log FICHIER [--firmware FICHIER.elf] [--bootloader FICHIER.hex]\n"
    "                           [--flash FICHIER] [--eeprom FICHIER] [--realtime] [--faults FICHIER]\n"
    "\n"
    "Une carte ATmega328P simulée derrière un pseudo-terminal (lien CHEMIN), avec la machine que ses broches\n"
    "commandent. --firmware écrit l'application à l'adresse 0 ; --bootloader met un chargeur (Intel HEX) en\n"
    "haut de la flash, avec les fusibles qui y font démarrer chaque reset ; --flash et --eeprom gardent les\n"
    "mémoires dans des fichiers bruts (créés vierges s'ils manquent). Chaque ouverture du port par un\n"
    "programme, et DTR levé (bibliothèque brivel-modem-lines.so en LD_PRELOAD), réinitialisent la carte.\n"
    "--faults : slip, jam, mask, reset hole|ms n, unplug hole|ms n durée_ms.\n";

// The program's speed as it set the pseudo-terminal (the master reads the
// slave's settings).
int host_baud(int master) {
  termios t{};
  if (::tcgetattr(master, &t) != 0) return 57600;
  switch (::cfgetospeed(&t)) {
    case B9600: return 9600;
    case B19200: return 19200;
    case B38400: return 38400;
    case B57600: return 57600;
    case B115200: return 115200;
    case B230400: return 230400;
    default: return 57600;
  }
}

struct Options {
  brivel::machinesim::ChipImages images;
  std::string link, log_path, faults_path;
  bool realtime = false;
};

// 0 to go on, else the exit status.
int parse(int argc, char** argv, Options* o) {
  for (int i = 1; i < argc; ++i) {
    const std::string a = argv[i];
    auto next = [&](std::string& out) {
      if (i + 1 >= argc) return false;
      out = argv[++i];
      return true;
    };
    if ((a == "--firmware" && next(o->images.firmware)) || (a == "--bootloader" && next(o->images.bootloader)) ||
        (a == "--flash" && next(o->images.flash)) || (a == "--eeprom" && next(o->images.eeprom)) ||
        (a == "--link" && next(o->link)) || (a == "--log" && next(o->log_path)) ||
        (a == "--faults" && next(o->faults_path)))
      continue;
    if (a == "--realtime") {
      o->realtime = true;
      continue;
    }
    if (a == "--help" || a == "-h") {
      std::cout << kUsage;
      return -1;
    }
    std::cerr << "brivel-machine-sim: option inconnue ou incomplète « " << a << " »\n" << kUsage;
    return 2;
  }
  if (o->link.empty() || o->log_path.empty() || (o->images.firmware.empty() && o->images.bootloader.empty() &&
                                                  o->images.flash.empty())) {
    std::cerr << "brivel-machine-sim: il faut --link, --log et une image (--firmware, --bootloader ou --flash)\n"
              << kUsage;
    return 2;
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  Options o;
  if (const int status = parse(argc, argv, &o)) return status < 0 ? 0 : status;
  brivel::machinesim::Faults faults;
  if (!o.faults_path.empty()) {
    std::ifstream in(o.faults_path);
    std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    std::string error;
    if (!in || !brivel::machinesim::parse_faults(text, &faults, &error)) {
      std::cerr << "brivel-machine-sim: " << o.faults_path << " : " << (in ? error : "illisible") << "\n";
      return 2;
    }
  }
  std::ofstream log(o.log_path, std::ios::trunc);
  if (!log) {
    std::cerr << "brivel-machine-sim: journal impossible à écrire : " << o.log_path << "\n";
    return 2;
  }

  avr_global_logger_set(quiet_logger);
  Chip chip;
  std::string error;
  if (!chip.load(o.images, &error)) {
    std::cerr << "brivel-machine-sim: " << error << "\n";
    return 2;
  }
  avr_t* avr = chip.avr();

  brivel::boardsim::PtyLink pty;
  LineWatch watch;
  if (!pty.open(o.link, &error) || !watch.start(pty.slave_path(), &error)) {
    std::cerr << "brivel-machine-sim: " << error << "\n";
    return 2;
  }
  fcntl(pty.master_fd(), F_SETFL, fcntl(pty.master_fd(), F_GETFL) | O_NONBLOCK);
  bool plugged = true;

  Machine machine(avr, faults, log);
  machine.on_tx = [&pty, &plugged, &watch](uint8_t b) {
    if (plugged && watch.program_open() && ::write(pty.master_fd(), &b, 1) != 1) {
      // The other end is gone: nothing to tell it.
    }
  };

  // Every reset the same way: logged with its cause, the chip from its
  // reset vector, the machine's sensors on its pins again.
  bool started = false;  // the application ran since the last reset
  int resets_seen = chip.resets();
  // A bootloader session that ended in a reset, not in the application:
  // what it received, then the counts start again.
  auto end_session = [&] {
    const int boot = machine.take_boot_bytes(), dropped = machine.take_dropped_bytes();
    if (!started && (boot || dropped))
      machine.log_note("chargeur : " + std::to_string(boot) + " octets reçus, " + std::to_string(dropped) +
                       " perdus, sans démarrer l'application");
  };
  auto reset = [&](uint8_t flags, const std::string& cause) {
    end_session();
    machine.log_note("reset (" + cause + ")");
    chip.reset(flags);
    resets_seen = chip.resets();
    machine.after_reset();
    started = false;
  };
  auto note_start = [&] {
    started = true;
    const int boot = machine.take_boot_bytes(), dropped = machine.take_dropped_bytes();
    std::string text = chip.application_blank() ? "pas d'application : la flash est vierge" : "application démarrée";
    if (chip.has_bootloader()) text += ", " + std::to_string(boot) + " octets reçus par le chargeur";
    if (dropped) text += ", " + std::to_string(dropped) + " octets perdus pendant le reset";
    machine.log_note(text);
  };

  std::signal(SIGTERM, on_term);
  std::signal(SIGINT, on_term);
  std::signal(SIGPIPE, SIG_IGN);
  std::cout << pty.slave_path() << "\nready" << std::endl;
  reset(brivel::machinesim::kPowerOn, "mise sous tension");

  auto wall0 = std::chrono::steady_clock::now();
  std::deque<uint8_t> incoming;
  uint64_t next_save = 0;
  std::chrono::steady_clock::time_point replug_at{};
  auto restart_due = [&](brivel::machinesim::Faults::Restart& r) {
    if (r.done) return false;
    return (r.hole && machine.holes() >= r.hole) || (r.at_ms >= 0 && machine.now_ms() >= r.at_ms);
  };
  while (!g_stop) {
    if (!plugged) {
      // Unpowered: the chip stands still, the time it was away doesn't count.
      const auto now = std::chrono::steady_clock::now();
      if (now < replug_at) {
        ::poll(nullptr, 0, 5);
        continue;
      }
      if (!pty.open(o.link, &error) || !watch.start(pty.slave_path(), &error)) {
        machine.log_note("rebranchement impossible : " + error);
        return 1;
      }
      fcntl(pty.master_fd(), F_SETFL, fcntl(pty.master_fd(), F_GETFL) | O_NONBLOCK);
      plugged = true;
      reset(brivel::machinesim::kPowerOn, "câble rebranché");
      std::cout << pty.slave_path() << std::endl;
    }
    for (int i = 0; i < 2000; ++i) {
      const int state = avr_run(avr);
      machine.tick();
      const bool slid = chip.slide_over_erased();
      if (state == cpu_Done || state == cpu_Crashed) {
        machine.log_note(std::string("firmware arrêté (") + (state == cpu_Crashed ? "plantage" : "fin") + ")");
        return 1;
      }
      // The watchdog resets the chip from inside simavr.
      if (chip.resets() != resets_seen) {
        resets_seen = chip.resets();
        end_session();
        machine.log_note("reset (chien de garde)");
        machine.after_reset();
        started = false;
      }
      if (!started && (slid || !chip.in_boot())) note_start();
    }
    for (const LineWatch::Event e : watch.poll()) {
      if (e == LineWatch::Event::DtrUp) reset(brivel::machinesim::kExternal, "DTR : ouverture du port ou impulsion");
    }
    uint8_t buf[512];
    const ssize_t n = ::read(pty.master_fd(), buf, sizeof buf);
    for (ssize_t i = 0; i < n; ++i) incoming.push_back(buf[i]);
    machine.feed(incoming, host_baud(pty.master_fd()), chip.in_boot());
    if (avr->cycle >= next_save) {
      chip.save_if_changed();
      next_save = avr->cycle + avr->frequency / 10;
    }
    for (auto& r : faults.restarts) {
      if (!restart_due(r)) continue;
      r.done = true;
      if (!r.unplug) {
        reset(brivel::machinesim::kBrownOut, "baisse de tension");
        continue;
      }
      machine.log_note("câble débranché pour " + std::to_string(r.for_ms) + " ms");
      watch.stop();
      pty.close();
      incoming.clear();
      plugged = false;
      replug_at = std::chrono::steady_clock::now() + std::chrono::milliseconds(r.for_ms);
      wall0 += std::chrono::milliseconds(r.for_ms);
    }
    const double sim_s = static_cast<double>(avr->cycle) / avr->frequency;
    const double wall_s = std::chrono::duration<double>(std::chrono::steady_clock::now() - wall0).count();
    // Held to the wall clock when asked, and whenever the machine waits for
    // the program: a firmware waiting for bytes needn't burn the host. Busy,
    // it may run ahead, 50 ms at most: a bootloader's time-out must pass in
    // the program's time, not before it.
    const double lead = o.realtime || (incoming.empty() && machine.idle()) ? 0.0 : 0.05;
    if (sim_s > wall_s + lead) {
      pollfd p{pty.master_fd(), POLLIN, 0};
      ::poll(&p, 1, static_cast<int>(std::min(5.0, (sim_s - wall_s) * 1000)));
    }
  }
  chip.save_if_changed();
  machine.finish_notes();
  log.flush();
  return 0;
}
