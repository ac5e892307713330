// The bare console: plays the frames of a board log against a board on a
// serial link, with the waits the console must keep and nothing else. It
// reads each reply, waits what the frame asks (counted from the reply's
// arrival, slept to within 1.5 ms then spun), and writes the next frame.
// Its run is the machine's own time on this computer: the waits, the link
// both ways and the board's replies. The real console's run is measured
// against it.
//
// Usage: brivel-bare-console BOARD_LOG PORT_PATH [--spin]
// With --spin it never sleeps waiting for a reply: the link's time without
// this side's wake-ups.
// Prints the run (first "AGxxxxx" written to the last "ZGxxxxx" written) in
// microseconds.
#include <fcntl.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

struct Frame {
  std::string bytes;     // as written, the line feed included
  std::size_t reply = 0;  // bytes the board answered
};

// The waits behind a frame, in ms: those the console keeps on the lines a
// run sends (the parameter push before the run is not timed).
double asked_ms(const std::string& f) {
  const std::string k = f.substr(0, 2);
  if (k == "AG") return 250;
  if (k == "ON") return 500;
  if (k == "oR" || k == "OR") return 225;
  if (k == "ZG") return 25;
  if ((k[0] == 'M' || k[0] == 'm') && (k[1] == 'X' || k[1] == 'x' || k[1] == 'Y')) return 25;
  return 0;
}

std::vector<Frame> frames_of(const std::string& path) {
  std::ifstream in(path);
  std::vector<Frame> out;
  std::string line;
  while (std::getline(in, line)) {
    std::istringstream l(line);
    std::string at, dir, what;
    l >> at >> dir >> what;
    if (dir == ">") {
      out.push_back({what.substr(0, what.size() - 4) + "\n", 0});  // "<LF>" closes each line
    } else if (dir == "<" && !out.empty()) {
      out.back().reply += what.size();
    }
  }
  return out;
}

// Woken well before the end and spun the rest: no wake-up of the kernel's
// can make it late.
void wait_until(Clock::time_point end) {
  const auto awake = std::chrono::microseconds(1500);
  if (end - Clock::now() > awake) std::this_thread::sleep_until(end - awake);
  while (Clock::now() < end) {
  }
}

}  // namespace

int main(int argc, char** argv) {
  const bool spin = argc == 4 && std::string(argv[3]) == "--spin";
  if (argc != 3 && !spin) {
    std::cerr << "usage: brivel-bare-console BOARD_LOG PORT_PATH [--spin]\n";
    return 2;
  }
  const auto frames = frames_of(argv[1]);
  const int fd = ::open(argv[2], O_RDWR | O_NOCTTY);
  if (fd < 0 || frames.empty()) {
    std::cerr << "nothing to play or no port\n";
    return 1;
  }
  termios t{};
  ::tcgetattr(fd, &t);
  ::cfmakeraw(&t);
  ::tcsetattr(fd, TCSANOW, &t);
  Clock::time_point first{}, last{}, from{};
  double pending = 0;
  for (const Frame& f : frames) {
    // A bare line feed goes on at once: it belongs to the dialogue of the
    // frame before, whose wait comes after the whole dialogue.
    if (f.bytes != "\n") {
      wait_until(from + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double, std::milli>(pending)));
      pending = asked_ms(f.bytes);
    }
    if (::write(fd, f.bytes.data(), f.bytes.size()) != static_cast<ssize_t>(f.bytes.size())) return 1;
    const auto written = Clock::now();
    if (f.bytes.rfind("AG", 0) == 0 && first == Clock::time_point{}) first = written;
    if (f.bytes.rfind("ZG", 0) == 0) last = written;
    std::size_t got = 0;
    char buf[64];
    while (got < f.reply) {
      pollfd p{fd, POLLIN, 0};
      if (::poll(&p, 1, spin ? 0 : 2000) <= 0) {
        if (spin && Clock::now() - written < std::chrono::seconds(2)) continue;
        std::cerr << "the board fell silent after " << f.bytes;
        return 1;
      }
      const ssize_t n = ::read(fd, buf, sizeof buf);
      if (n > 0) got += static_cast<std::size_t>(n);
    }
    from = f.reply ? Clock::now() : written;
  }
  std::cout << std::chrono::duration_cast<std::chrono::microseconds>(last - first).count() << "\n";
  return 0;
}
