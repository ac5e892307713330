#include "start_actions.h"

#include <chrono>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <utility>

#include "console/file_list.h"
#include "core/numbers.h"
#include "persistence/persistence.h"
#include "platform/qt/qt_platform.h"

namespace brivel::start {

namespace {
// The open dialog answered once with the piece given on the command line;
// every later dialog is the operator's.
class AnswerOnce : public Dialogs {
 public:
  AnswerOnce(Dialogs& real, std::string path) : real_(real), path_(std::move(path)) {}
  std::string open_file(const FileDialogRequest& req) override {
    if (path_.empty()) return real_.open_file(req);
    return std::exchange(path_, std::string());
  }
  std::string save_file(const FileDialogRequest& req) override { return real_.save_file(req); }
  BoxAnswer message_box(const std::string& text, BoxButtons b) override { return real_.message_box(text, b); }
  std::optional<std::string> input_box(const std::string& prompt, const std::string& d) override {
    return real_.input_box(prompt, d);
  }

 private:
  Dialogs& real_;
  std::string path_;
};
}  // namespace

std::string take_options(std::vector<std::string>& args, Options& o) {
  std::vector<std::string> rest;
  for (std::size_t i = 0; i < args.size(); ++i) {
    const std::string& a = args[i];
    if (a == "--perforer") {
      o.punch = true;
    } else if (a == "--port" || a == "--ouvrir" || a == "--set") {
      if (i + 1 >= args.size()) return "l'option " + a + " attend une valeur";
      const std::string& v = args[++i];
      if (a == "--set") {
        o.set = std::filesystem::absolute(v).string();
      } else if (a == "--ouvrir") {
        o.piece = std::filesystem::absolute(v).string();
      } else {
        const auto n = to_number_strict(v);
        if (!n || *n < 1 || *n > 99 || *n != std::floor(*n)) return "numéro de port invalide « " + v + " » (1 à 99)";
        o.port = static_cast<int>(*n);
      }
    } else {
      rest.push_back(a);
    }
  }
  if (o.punch && o.piece.empty()) return "--perforer demande un morceau (--ouvrir FICHIER.mid)";
  args = rest;
  return {};
}

int run(ConsoleApp& app, Dialogs& real_dialogs, QtPlatform& platform, const Options& o) {
  Model& m = app.m;
  if (!o.set.empty()) {
    // File1 lists the program's folder only: the file is put there, then
    // picked in the list as the operator picks it.
    namespace fs = std::filesystem;
    const fs::path dans_dossier = fs::path(app.s.dossier_appli) / fs::path(o.set).filename();
    std::error_code ec;
    if (!fs::equivalent(o.set, dans_dossier, ec))
      fs::copy_file(o.set, dans_dossier, fs::copy_options::overwrite_existing, ec);
    if (ec) {
      std::fprintf(stderr, "brivel : fichier de paramètres %s : %s\n", o.set.c_str(), ec.message().c_str());
      return 1;
    }
    refresh_File1(app.c);
    for (int i = 0; i < m.File1.count(); ++i)
      if (m.File1.row(i) == dans_dossier.filename().string()) m.File1.set_selected(i);
    m.File1.click();
  } else {
    // The console comes back as it was left: its instrument, its port.
    reprend_dernier_parametres(app.c);
  }
  if (o.port > 0) {
    m.fenetre_moteurs.operator_click();
    m.AdressePort.set_text(std::to_string(o.port));
  }
  if (!o.piece.empty()) {
    m.fenetre_perforation.operator_click();
    AnswerOnce once(real_dialogs, o.piece);
    platform.set_dialogs(&once);
    m.Ouvre_midi.operator_click();
    platform.set_dialogs(nullptr);
  }
  if (!o.punch) return -1;
  const auto start = std::chrono::steady_clock::now();
  const bool clicked = m.Command11.operator_click();
  const double s = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  const bool done = clicked && m.Label_defautP.text() == "Perforation terminée";
  if (!done) {
    std::fprintf(stderr, "brivel : perforation non faite : %s\n", m.Label_defautP.text().c_str());
    return 1;
  }
  // The holes the board confirmed; compteur_trous counts every cycle tried.
  std::printf("Perforation terminée : %d trous en %d min %02d s (%s)\n", app.s.trous_confirmes,
              static_cast<int>(s) / 60, static_cast<int>(s) % 60, o.piece.c_str());
  return 0;
}

}  // namespace brivel::start
