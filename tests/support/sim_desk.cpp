#include "support/sim_desk.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>

#include "link/connection.h"

namespace brivel::test {

namespace {
std::string make_home() {
  namespace fs = std::filesystem;
  std::string pattern = (fs::temp_directory_path() / "brivel-test-XXXXXX").string();
  if (!mkdtemp(pattern.data())) throw std::runtime_error("no temporary folder");
  return pattern + "/";
}
}  // namespace

std::vector<SimFrame> split_frames(const std::vector<LineEntry>& line, std::size_t from) {
  std::vector<SimFrame> out;
  for (std::size_t i = from; i < line.size(); ++i) {
    const std::string& b = line[i].bytes;
    std::size_t start = 0;
    while (start < b.size()) {
      std::size_t lf = b.find('\n', start);
      std::size_t end = lf == std::string::npos ? b.size() : lf + 1;
      out.push_back({line[i].at_ms, b.substr(start, end - start)});
      start = end;
    }
  }
  return out;
}

SimDesk::SimDesk() : app(p, ConsoleOptions{"/nonexistent-brivel-program-dir", false}), m(app.m), s(app.s), c(app.c) {
  home = make_home();
  p.set_env("BRIVEL_HOME", home);
  app.Form_Load();
}

SimDesk::~SimDesk() {
  std::error_code ec;
  std::filesystem::remove_all(home, ec);
}

bool SimDesk::connect(int port) {
  const std::string text = std::to_string(port);
  if (m.AdressePort.text() != text)
    m.AdressePort.set_text(text);
  else
    ouvre_port(c);
  return p.serial().is_open();
}

std::vector<std::string> SimDesk::frame_bytes(std::size_t from) const {
  std::vector<std::string> out;
  for (auto& f : frames(from)) out.push_back(f.bytes);
  return out;
}

std::string SimDesk::read_file(const std::string& name) const {
  std::ifstream in(home + name, std::ios::binary);
  if (!in) return {};
  return std::string(std::istreambuf_iterator<char>(in), {});
}

}  // namespace brivel::test
