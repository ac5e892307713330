#include "app/console_app.h"

#include <filesystem>

#include "console/file_list.h"
#include "console/pages.h"
#include "import/recents.h"
#include "core/app_paths.h"
#include "core/numbers.h"
#include "geometry/geometry.h"
#include "import/import.h"
#include "link/link.h"
#include "persistence/files/context_file.h"
#include "persistence/journal/hole_journal.h"
#include "persistence/persistence.h"
#include "run/engine/run_engine.h"
#include "run/motion/motion.h"
#include "run/origin/origin.h"
#include "tools/manual_control.h"

namespace brivel {

ConsoleApp::ConsoleApp(Platform& platform, ConsoleOptions options) : p(platform), options_(std::move(options)) {
  // Timers of the model run on the platform's timers.
  observer_ = m.subscribe([this](Element& e, Prop prop) {
    if (e.kind() == Kind::Timer && prop == Prop::Running) drive_timers(e);
  });
  install_pages(c);
  install_link(c);
  install_motion(c);
  install_geometry(c);
  install_import(c);
  install_manual_control(c);
  install_origin(c);
  install_run(c);
  install_persistence(c);
  if (options_.hole_journal) journal_ = std::make_unique<HoleJournal>(c);
  m.quitter.handler = [this] { quitter_Click(); };
  m.Sauve_contexte.handler = [this] { Sauve_contexte_Click(c); };
  m.nb_trou.handler = [this] {
    m.Label_defautP.set_text(str_plain(s.compteur_trous) + " perforations depuis le début du morceau");
    m.nb_trou.set_visible(false);
  };
}

ConsoleApp::~ConsoleApp() {
  m.unsubscribe(observer_);
  for (auto& [e, id] : timer_ids_) p.remove_timer(id);
}

void ConsoleApp::drive_timers(Element& e) {
  auto it = timer_ids_.find(&e);
  if (it != timer_ids_.end()) {
    p.remove_timer(it->second);
    timer_ids_.erase(it);
  }
  if (e.enabled()) timer_ids_[&e] = p.add_timer(e.interval(), [&e] {
    if (e.enabled()) e.click();
  });
}

void fournit_microprogramme(const std::string& program_dir, const std::string& dossier_appli) {
  namespace fs = std::filesystem;
  const fs::path ici = fs::path(dossier_appli) / "Brivel_uploader" / "Binaire";
  std::error_code ec;
  if (program_dir.empty() || fs::exists(ici / "Brivel.cpp.hex", ec)) return;
  const fs::path livre = fs::path(program_dir) / ".." / "share" / "brivel" / "Brivel_uploader" / "Binaire";
  if (!fs::exists(livre / "Brivel.cpp.hex", ec)) return;
  fs::create_directories(ici, ec);
  // Missing afterwards, the upload says where the image is expected.
  fs::copy(livre, ici, fs::copy_options::skip_existing | fs::copy_options::recursive, ec);
}

void ConsoleApp::Form_Load() {
  AppPathInputs in;
  in.brivel_home = p.env("BRIVEL_HOME");
  in.program_dir = options_.program_dir;
  in.program_dir_writable = options_.program_dir_writable;
  in.xdg_data_home = p.env("XDG_DATA_HOME");
  in.home = p.env("HOME");
  s.dossier_appli = resolve_dossier_appli(in);
  ensure_app_folders(s.dossier_appli);
  s.chemin_midid = s.dossier_appli + "Temp/midid.dat";
  fournit_microprogramme(options_.program_dir, s.dossier_appli);
  refresh_File1(c);
  charge_recents(c);
  s.perforation_lancee = false;
  s.hors_watchdog = 0;
  s.mode_5car = false;
}

void ConsoleApp::quitter_Click() {
  if (p.serial().is_open()) fin_travail(c);
  attente_ms(p, 400);
  if (p.serial().is_open()) p.serial().close();
  m.About.set_visible(false);
  m.EEPROM.set_visible(false);
  m.Brivel.set_visible(false);
  p.end_console();
}

}  // namespace brivel
