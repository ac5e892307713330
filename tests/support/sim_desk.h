// A whole console on the simulated platform, without a board: the platform,
// the console with every handler installed, BRIVEL_HOME in a fresh temporary
// folder, and Form_Load done. Tests put whatever peer they like behind the
// ports; SimConsole (sim_console.h) puts the board model there.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "app/console_app.h"
#include "platform/sim/sim_platform.h"

namespace brivel::test {

// One frame as it went down the line: the bytes up to and including their
// line feed ("MX01200\n", or "\n" alone for a bare line feed), and the
// virtual time of the write.
struct SimFrame {
  int64_t at_ms = 0;
  std::string bytes;
  bool operator==(const SimFrame&) const = default;
};

// The line transcript cut into frames.
std::vector<SimFrame> split_frames(const std::vector<LineEntry>& line, std::size_t from = 0);

class SimDesk {
 public:
  SimDesk();
  virtual ~SimDesk();
  SimDesk(const SimDesk&) = delete;
  SimDesk& operator=(const SimDesk&) = delete;

  SimPlatform p;
  ConsoleApp app;
  Model& m;
  RunState& s;
  Context& c;
  std::string home;  // dossier_appli, with its trailing '/'

  // Opens port n the way the operator does it, by the port field (or by
  // ouvre_port when the field already names n). True if the port is open.
  bool connect(int port);
  // Every frame written so far, or since the line held `from` entries.
  std::vector<SimFrame> frames(std::size_t from = 0) const { return split_frames(p.line(), from); }
  // Just the bytes of the frames since `from`.
  std::vector<std::string> frame_bytes(std::size_t from = 0) const;
  std::size_t mark() const { return p.line().size(); }
  // The bytes of a file in dossier_appli; empty if there is none.
  std::string read_file(const std::string& name) const;
};

}  // namespace brivel::test
