// The firmware's image on the simulated chip answers the table of exchanges
// that the board model answers too, byte for byte over the pseudo-terminal.
#ifdef MACHINE_SIM_EXE
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

#include <chrono>
#include <utility>

#include "conformance/exchanges.h"
#include "e2e/child_process.h"

namespace brivel::test {
namespace {

// Reads what comes within `ms`, or until `want` bytes came.
std::string read_for(int fd, size_t want, int ms) {
  std::string got;
  const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(ms);
  while (got.size() < want || want == 0) {
    const int left = static_cast<int>(
        std::chrono::duration_cast<std::chrono::milliseconds>(end - std::chrono::steady_clock::now()).count());
    if (left <= 0) break;
    pollfd p{fd, POLLIN, 0};
    if (::poll(&p, 1, left) <= 0) break;
    char b[64];
    const ssize_t n = ::read(fd, b, sizeof b);
    if (n <= 0) break;
    got.append(b, static_cast<size_t>(n));
  }
  return got;
}

TEST(Conformance, TheFirmwareAnswersTheTable) {
  TempHome home("conformance");
  auto sim = start_board(home, {MACHINE_SIM_EXE, "--firmware", FIRMWARE_ELF, "--log", home / "m.log"});
  // Each opening restarts the board, as a USB-serial bridge's DTR does.
  auto open_port = [&home] {
    const int fd = ::open(home.port().c_str(), O_RDWR | O_NOCTTY);
    termios t{};
    tcgetattr(fd, &t);
    cfmakeraw(&t);
    cfsetspeed(&t, B57600);
    tcsetattr(fd, TCSANOW, &t);
    return fd;
  };
  int fd = open_port();
  ASSERT_GE(fd, 0);
  bool opened = true;  // the first restart is the opening above
  for (const Exchange& e : read_exchanges(exchanges_path())) {
    if (e.reset) {
      if (!std::exchange(opened, false)) {
        ::close(fd);
        fd = open_port();
        ASSERT_GE(fd, 0);
      }
      continue;
    }
    if (e.send) {
      ASSERT_EQ(::write(fd, e.bytes.data(), e.bytes.size()), static_cast<ssize_t>(e.bytes.size()));
      continue;
    }
    // A reply within 3 s; silence is watched for 150 ms.
    const std::string got = read_for(fd, e.bytes.size(), e.bytes.empty() ? 150 : 3000);
    EXPECT_TRUE(reply_matches(e.bytes, got)) << "line " << e.line << ": « " << got << " »";
  }
  ::close(fd);
  EXPECT_EQ(sim->terminate(10), 0) << sim->err();
}

}  // namespace
}  // namespace brivel::test
#endif
