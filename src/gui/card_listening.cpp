#include "gui/card_listening.h"

#include <QApplication>
#include <QBoxLayout>
#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QLabel>
#include <QPointer>
#include <QPushButton>
#include <QSettings>
#include <QSpinBox>
#include <QTimer>

#include "card/live_run.h"
#include "gui/card_canvas.h"
#include "import/fichier_midi.h"
#include "import/vertalen.h"
#include "persistence/files/text_file.h"

namespace brivel::gui {

namespace {
QSettings settings() { return QSettings(QStringLiteral("Brivel"), QStringLiteral("brivel")); }
}  // namespace

CardListening::CardListening(Context& c, LiveRun& live, CardCanvas& canvas, QWidget* parent)
    : QWidget(parent), c_(c), live_(live), canvas_(canvas) {
  auto* v = new QVBoxLayout(this);
  v->setContentsMargins(0, 0, 0, 0);
  auto* row = new QHBoxLayout;
  play_ = new QPushButton(QStringLiteral("Écouter"), this);
  play_->setObjectName(QStringLiteral("carton_ecouter"));
  play_->setToolTip(QStringLiteral("Joue le carton comme l'orgue le jouera, depuis le haut de la vue ou la borne de "
                                   "début (barre d'espace)"));
  connect(play_, &QPushButton::clicked, this, [this] { toggle(); });
  row->addWidget(play_);
  speed_box_ = new QSpinBox(this);
  speed_box_->setObjectName(QStringLiteral("carton_vitesse"));
  speed_box_->setRange(50, 200);
  speed_box_->setSingleStep(10);
  speed_box_->setSuffix(QStringLiteral(" %"));
  speed_box_->setToolTip(QStringLiteral("Vitesse d'écoute"));
  speed_box_->setValue(settings().value(QStringLiteral("son/vitesse"), 100).toInt());
  row->addWidget(speed_box_);
  v->addLayout(row);

  programme_ = new QComboBox(this);
  programme_->setObjectName(QStringLiteral("carton_instrument"));
  programme_->setToolTip(QStringLiteral("Instrument General MIDI de l'écoute"));
  const int chosen = settings().value(QStringLiteral("son/programme"), 19).toInt();
  for (const Programme& p : programmes()) {
    programme_->addItem(QString::fromUtf8(p.name), p.number);
    if (p.number == chosen) programme_->setCurrentIndex(programme_->count() - 1);
  }
  v->addWidget(programme_);
  original_ = new QCheckBox(QStringLiteral("Morceau original"), this);
  original_->setObjectName(QStringLiteral("carton_original"));
  original_->setToolTip(QStringLiteral("Le fichier Midi tel qu'il était, avant le carton"));
  v->addWidget(original_);
  auto* font = new QPushButton(QStringLiteral("Police de sons..."), this);
  font->setToolTip(QStringLiteral("Choisir une police de sons SoundFont (.sf2)"));
  connect(font, &QPushButton::clicked, this, [this] {
    const QString path = QFileDialog::getOpenFileName(this, QStringLiteral("Police de sons"),
                                                      QFileInfo(soundfont_).absolutePath(),
                                                      QStringLiteral("SoundFont (*.sf2 *.SF2)"));
    if (!path.isEmpty()) set_soundfont(path);
  });
  v->addWidget(font);
  said_ = new QLabel(this);
  said_->setObjectName(QStringLiteral("carton_son"));
  said_->setWordWrap(true);
  v->addWidget(said_);
  auto* mid = new QPushButton(QStringLiteral("Exporter en MIDI..."), this);
  wav_ = new QPushButton(QStringLiteral("Exporter en WAV..."), this);
  wav_->setObjectName(QStringLiteral("carton_wav"));
  connect(mid, &QPushButton::clicked, this, [this] { ask_export(false); });
  connect(wav_, &QPushButton::clicked, this, [this] { ask_export(true); });
  v->addWidget(mid);
  v->addWidget(wav_);

  follow_ = new QTimer(this);
  follow_->setInterval(30);
  connect(follow_, &QTimer::timeout, this, [this] { follow(); });
  const QString saved = settings().value(QStringLiteral("son/police")).toString();
  set_soundfont(saved.isEmpty() ? QString::fromStdString(default_soundfont()) : saved);
}

CardListening::~CardListening() {
  player_.stop();
  if (rendering_.joinable()) rendering_.join();
}

void CardListening::set_soundfont(const QString& path) {
  soundfont_ = path;
  const std::string refus = soundfont_refusal(path.toStdString());
  said_->setText(refus.empty() ? QStringLiteral("Sons : %1").arg(QFileInfo(path).fileName())
                               : QString::fromStdString(refus));
  if (refus.empty()) settings().setValue(QStringLiteral("son/police"), path);
}

QString CardListening::said() const { return said_->text(); }

bool CardListening::bounds_only() const {
  const CardLayout& l = live_.layout();
  return l.start_step > 0 || l.end_step < l.last_step;
}

double CardListening::from_ms() const {
  const CardLayout& l = live_.layout();
  // The run's start bound when bounds are set, else the top of the view.
  const double step = bounds_only() ? l.start_step : l.step_at(canvas_.view().top_mm);
  return std::max(0.0, step) * l.ms_per_step;
}

std::vector<SoundingNote> CardListening::notes() const {
  const CardLayout& l = live_.layout();
  const double to = bounds_only() ? l.end_step : l.last_step;
  if (!original_->isChecked()) return card_notes(l, 0, to);
  // The MIDI file read again, as it was: no step, no bridge, no scale.
  auto octets = lit_fichier_octets(c_.p.storage(), c_.s.chemin_midi, static_cast<std::size_t>(kTailleMaxMidi));
  if (!octets) return {};
  std::vector<SoundingNote> out;
  for (const SoundingNote& n : piece_notes_ms(vertalen(*octets, c_.s.chemin_midi).text))
    if (n.on_ms <= to * l.ms_per_step) out.push_back(n);
  return out;
}

void CardListening::toggle() {
  if (player_.playing()) {
    player_.stop();
    follow();
    return;
  }
  const std::vector<SoundingNote> all = notes();
  if (all.empty()) {
    said_->setText(original_->isChecked() ? QStringLiteral("Le fichier Midi du morceau ne peut pas être relu")
                                          : QStringLiteral("Aucune note à écouter sur ce carton"));
    return;
  }
  started_from_ms_ = from_ms();
  speed_ = speed_box_->value();
  const int programme = programme_->currentData().toInt();
  settings().setValue(QStringLiteral("son/vitesse"), speed_box_->value());
  settings().setValue(QStringLiteral("son/programme"), programme);
  const std::string refus = player_.play(at_speed(all, started_from_ms_, speed_), soundfont_.toStdString(), programme);
  if (!refus.empty()) {
    said_->setText(QString::fromStdString(refus));
    return;
  }
  said_->setText(QStringLiteral("Écoute : %1 à %2 %").arg(programme_->currentText()).arg(speed_));
  play_->setText(QStringLiteral("Arrêter"));
  follow_->start();
}

std::optional<double> CardListening::position_ms() const {
  if (!player_.playing()) return std::nullopt;
  return started_from_ms_ + player_.position_ms() * speed_ / 100;
}

void CardListening::follow() {
  const CardLayout& l = live_.layout();
  const auto at = position_ms();
  if (!at) {
    follow_->stop();
    play_->setText(QStringLiteral("Écouter"));
    canvas_.set_reading(std::nullopt);
    return;
  }
  canvas_.set_reading(l.ms_per_step > 0 ? *at / l.ms_per_step * l.step_mm : 0);
}

bool CardListening::export_midi(const QString& path) {
  const CardLayout& l = live_.layout();
  std::vector<std::string> names;
  for (const CardTrack& t : l.tracks) names.push_back(t.name.empty() ? std::to_string(t.note) : t.name);
  const Ecriture e =
      ecrit_fichier_atomique(c_.p.storage(), path.toStdString(), card_midi(notes(), names, programme_->currentData().toInt()));
  said_->setText(e ? QStringLiteral("Carton exporté : %1").arg(path)
                   : QStringLiteral("Écriture impossible : %1 (%2)").arg(path, QString::fromStdString(e.raison())));
  return static_cast<bool>(e);
}

CardListening::WavJob CardListening::wav_job(const QString& path) const {
  // At the speed chosen, from the start of the card or of the bounds.
  const double from = bounds_only() ? live_.layout().start_step * live_.layout().ms_per_step : 0;
  return {at_speed(notes(), from, speed_box_->value()), soundfont_.toStdString(), path.toStdString(),
          programme_->currentData().toInt()};
}

QString CardListening::run(Storage& disk, const WavJob& job) {
  const Rendering r = render_notes(job.notes, job.soundfont, job.programme);
  if (!r.error.empty()) return QString::fromStdString(r.error);
  const Ecriture e = ecrit_fichier_atomique(disk, job.path, wav_file(r.stereo, kRenderRate));
  const QString path = QString::fromStdString(job.path);
  return e ? QStringLiteral("Carton exporté : %1").arg(path)
           : QStringLiteral("Écriture impossible : %1 (%2)").arg(path, QString::fromStdString(e.raison()));
}

void CardListening::export_wav_in_background(const QString& path) {
  if (rendering_.joinable()) return;
  said_->setText(QStringLiteral("Enregistrement du WAV en cours..."));
  wav_->setEnabled(false);
  QPointer<CardListening> self(this);
  rendering_ = std::thread([this, self, &disk = c_.p.storage(), job = wav_job(path)] {
    const QString said = run(disk, job);
    {
      const std::lock_guard lock(rendered_mu_);
      rendered_ = said;
    }
    // Said at the window's next turn; a window gone by then waited for this
    // thread in its destructor and says nothing.
    QMetaObject::invokeMethod(
        qApp, [self] { if (self) self->finish_export(); }, Qt::QueuedConnection);
  });
}

void CardListening::finish_export() {
  if (rendering_.joinable()) rendering_.join();
  const std::lock_guard lock(rendered_mu_);
  if (!rendered_) return;
  said_->setText(*rendered_);
  rendered_.reset();
  wav_->setEnabled(true);
}

void CardListening::ask_export(bool wav) {
  const QString ext = wav ? QStringLiteral(".wav") : QStringLiteral(".mid");
  QSettings s = settings();
  const QString folder = s.value(QStringLiteral("dossiers/export"), QDir::homePath()).toString();
  const QString piece = QString::fromStdString(c_.s.nom_midi_court.empty() ? "carton" : c_.s.nom_midi_court + " carton");
  QString path = QFileDialog::getSaveFileName(this, QStringLiteral("Exporter le carton"),
                                              QDir(folder).absoluteFilePath(piece + ext),
                                              wav ? QStringLiteral("WAV (*.wav)") : QStringLiteral("MIDI (*.mid)"));
  if (path.isEmpty()) return;
  s.setValue(QStringLiteral("dossiers/export"), QFileInfo(path).absolutePath());
  if (!path.endsWith(ext, Qt::CaseInsensitive)) path += ext;
  if (wav)
    export_wav_in_background(path);
  else
    export_midi(path);
}

}  // namespace brivel::gui
