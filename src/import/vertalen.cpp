#include "import/vertalen.h"

#include <array>
#include <cmath>
#include <cstring>
#include <vector>

#include "core/cp1252.h"
#include "core/numbers.h"
#include "import/midi_erreurs.h"
#include "import/midi_lecture.h"

namespace brivel {

namespace {

constexpr int kTempoEntries = 1001;
constexpr int32_t kEndOfTable = 9999999;
constexpr int kChannels = 17;  // channels 1..16 by the low nibble plus 1
constexpr const char* kPitchClasses[12] = {"C", "C#", "D", "D#", "E", "F", "F#", "G", "G#", "A", "A#", "B"};

// Fixed-width unsigned decimal fields, keeping the low digits of a value too
// long for them (widths up to 7).
char* put_digits(char* p, int64_t v, int width) {
  static constexpr int64_t kPow10[] = {1, 10, 100, 1000, 10000, 100000, 1000000, 10000000};
  uint32_t x = v < 0 ? 0 : static_cast<uint32_t>(v % kPow10[width]);
  for (int i = width - 1; i >= 0; --i) {
    p[i] = static_cast<char>('0' + x % 10);
    x /= 10;
  }
  return p + width;
}

class Converter {
 public:
  using Sortie = std::function<bool(std::string_view)>;
  struct Interruption {};  // the sink wants no more text

  Converter(SourceMidi& data, std::string_view chemin, const std::function<void(int64_t, int64_t)>& gauge,
            const Sortie* sink)
      : r_(data, gauge), chemin_(chemin), sink_(sink) {
    out_.reserve(sink ? kFlushAt + 4096 : static_cast<std::size_t>(data.taille()) * 12 + 256);
  }

  VertalenResult run() {
    VertalenResult result;
    try {
      convert();
    } catch (const ArretMidi& a) {
      result.midi_erreur_code = a.code;
      result.midi_erreur_texte = texte_arret_midi(a, location_);
      result.apres_les_pistes = !dans_piste_ && pistes_lues_ > 0;
    } catch (const Interruption&) {
      result.interrompu = true;
    }
    result.notes_sans_fin = notes_sans_fin_;
    if (sink_) {
      if (!result.interrompu && !out_.empty()) (*sink_)(out_);
    } else {
      result.text = std::move(out_);
    }
    return result;
  }

 private:
  void convert() {
    if (r_.bloc(4) != "MThd") throw ArretMidi{kMidiSansMThd, false};
    const int64_t header_len = be(r_.bloc(4));
    const int64_t format = be(r_.bloc(2));
    const int64_t tracks = be(r_.bloc(2));
    const int64_t division = be(r_.bloc(2));
    // The converter holds these in 16 bits: a file that needs more, or whose
    // ticks have no length in a quarter note, is refused before any line.
    if (division & 0x8000) throw ArretMidi{kMidiDivisionSmpte, false};
    if (format > 32767 || tracks > 32767) throw ArretMidi{kMidiEnTeteTropGrand, false};
    if (division == 0) throw ArretMidi{kMidiDivisionNulle, false};
    format1_ = format == 1;
    division_ = static_cast<double>(division);
    r_.place(header_len + 8);
    tempo_tick_.fill(kEndOfTable);
    tempo_us_.fill(500000);
    tempo_tick_[0] = 0;
    for (int64_t t = 0; t < tracks; ++t) track(format1_ && t == 0);
    out_ += "HEAD ##10000  ";
    out_ += utf8_to_cp1252(chemin_);
    out_ += ' ';
    char digits[5];
    put_digits(digits, static_cast<int64_t>(max_ms_), 5);
    out_.append(digits, 5);
    out_ += "\r\nENDF 9999999\r\n";
  }

  static int64_t be(std::string_view bytes) {
    int64_t v = 0;
    for (char c : bytes) v = v * 256 + static_cast<uint8_t>(c);
    return v;
  }

  float ms_per_tick(int32_t tempo) const { return static_cast<float>(static_cast<double>(tempo) / division_ / 1000.0); }

  void track(bool first_of_format1) {
    r_.verifie();
    if (r_.bloc(4) != "MTrk") throw ArretMidi{kMidiSansMTrk, false};
    r_.saute(4);  // the chunk's length: a track ends at its End of Track
    dans_piste_ = true;
    for (auto& ch : debut_tick_) ch.fill(-1);
    open_.clear();
    for (auto& ch : nb_actives_) ch.fill(0);
    for (auto& ch : velocite_) ch.fill(0);
    for (auto& ch : ecoule_ms_) ch.fill(0);
    tick_ = 0;
    rang_tempo_ = rang_lecture_ = 0;
    dernier_tick_tempo_ = 0;
    cumul_ms_ = 0;
    ms_par_tick_ = ms_per_tick(tempo_us_[0]);
    first_ = first_of_format1;
    while (event()) {
    }
    dans_piste_ = false;
    ++pistes_lues_;
    notes_sans_fin_ += static_cast<int64_t>(open_.size());  // dropped without a line
  }

  // Moves the tempo map on to the event's tick.
  void walk() {
    int& i = first_ ? rang_lecture_ : rang_tempo_;
    while (i < kTempoEntries && tick_ >= tempo_tick_[i]) {
      const int32_t t = tempo_tick_[i];
      if (!first_) {
        for (uint16_t slot : open_) {
          const int c = slot >> 7, k = slot & 0x7F;
          ecoule_ms_[c][k] = static_cast<float>(static_cast<double>(ecoule_ms_[c][k]) +
                                                static_cast<double>(ms_par_tick_) * (t - debut_tick_[c][k]));
          debut_tick_[c][k] = t;
        }
      }
      const float part = static_cast<float>(static_cast<double>(ms_par_tick_) * (t - dernier_tick_tempo_));
      cumul_ms_ = static_cast<float>(cumul_ms_ + part);
      dernier_tick_tempo_ = t;
      ms_par_tick_ = ms_per_tick(tempo_us_[i]);
      ++i;
    }
  }

  int64_t event_time() const {
    float t = static_cast<float>(static_cast<double>(ms_par_tick_) * (tick_ - dernier_tick_tempo_));
    t = static_cast<float>(t + cumul_ms_);
    return static_cast<int64_t>(round_half_even(t));
  }

  // A line is built in a small buffer and goes out whole: the decoder
  // writes millions of them.
  void line_head(const char* mnemonic, int64_t time) {
    char* p = line_;
    std::memcpy(p, mnemonic, 4);
    p[4] = ' ';
    p = put_digits(p + 5, time, 7);
    *p++ = ' ';
    end_ = put_digits(p, tick_, 6);
  }
  void field(int64_t v, int width = 5) {
    *end_++ = ' ';
    end_ = put_digits(end_, v, width);
  }
  void flush_line() {
    out_.append(line_, static_cast<std::size_t>(end_ - line_));
    end_ = line_;
    if (sink_ && out_.size() >= kFlushAt) flush_out();
  }
  void flush_out() {
    const bool encore = (*sink_)(out_);
    out_.clear();
    if (!encore) throw Interruption{};
  }
  void end_line() {
    *end_++ = '\r';
    *end_++ = '\n';
    flush_line();
  }

  bool event() {
    // Delta time: at most four bytes.
    int64_t delta = 0;
    for (int n = 0;; ++n) {
      const uint8_t b = r_.octet();
      delta = delta * 128 + (b & 0x7F);
      if (!(b & 0x80)) break;
      if (n == 3) throw ArretMidi{kMidiDeltaInvalide, true};
    }
    tick_ = static_cast<int32_t>(std::min<int64_t>(tick_ + delta, 0x7FFFFFFF));
    walk();
    location_ = r_.position();
    uint8_t b = r_.octet();
    if (b >= 0x80) {
      statut_ = b;
    } else {
      if (statut_ < 0x80 || statut_ > 0xEF) throw ArretMidi{kMidiStatutCourant, true};
      r_.saute(-1);  // the byte stands as the first data byte
    }
    const int channel = (statut_ & 0x0F) + 1;
    switch (statut_ & 0xF0) {
      case 0x80:
      case 0x90: {
        const uint8_t key = r_.octet(), vel = r_.octet();
        if ((statut_ & 0xF0) == 0x90 && vel > 0)
          note_on(channel, key, vel);
        else
          note_off(channel, key);
        return true;
      }
      case 0xA0:
      case 0xB0: {
        const uint8_t a = r_.octet(), v = r_.octet();
        line_head((statut_ & 0xF0) == 0xA0 ? "KAFT" : "CONC", event_time());
        field(channel);
        field(a);
        field(v);
        end_line();
        return true;
      }
      case 0xC0:
      case 0xD0: {
        const uint8_t a = r_.octet();
        line_head((statut_ & 0xF0) == 0xC0 ? "PRGC" : "CAFT", event_time());
        field(channel);
        field(a);
        end_line();
        return true;
      }
      case 0xE0: {
        const uint8_t lo = r_.octet(), hi = r_.octet();
        line_head("PBEN", event_time());
        field(channel);
        field(hi * 128 + lo);
        end_line();
        return true;
      }
      default:
        return system(statut_);
    }
  }

  bool system(uint8_t status) {
    switch (status) {
      case 0xF0:  // system exclusive: up to and including the first 0xF7, no line
        while (r_.octet() != 0xF7) {
        }
        return true;
      case 0xF1:
      case 0xF3: {
        const uint8_t a = r_.octet();
        line_head(status == 0xF1 ? "MQTR" : "SNGS", event_time());
        field(a);
        end_line();
        return true;
      }
      case 0xF2: {
        const uint8_t lo = r_.octet(), hi = r_.octet();
        line_head("SNGP", event_time());
        field(hi * 128 + lo);
        end_line();
        return true;
      }
      case 0xFF:
        return meta();
      default: {  // F4 to FE but F0, FF: a status without data bytes
        static const char* hex = "0123456789ABCDEF";
        const char name[5] = {'F', hex[status & 0x0F], 'X', 'X', 0};
        line_head(name, event_time());
        end_line();
        return true;
      }
    }
  }

  bool meta() {
    const uint8_t type = r_.octet();
    int64_t length = r_.octet();
    if (length > 127) length = (length - 128) * 128 + r_.octet();
    switch (type) {
      case 0x00: {
        const uint8_t a = r_.octet(), b = r_.octet();
        line_head("SEQN", event_time());
        field(a > 127 ? b + (a - 128) * 128 : b);
        end_line();
        return true;
      }
      case 0x01:
      case 0x02:
      case 0x03:
      case 0x04:
      case 0x05:
      case 0x06:
      case 0x07: {
        static const char* names[] = {"TEXT", "AUTH", "TNAM", "INST", "LYRC", "MARK", "CUEP"};
        line_head(names[type - 1], event_time());
        *end_++ = ' ';
        flush_line();
        out_ += r_.bloc(length);
        end_line();
        return true;
      }
      case 0x2F:
        return false;
      case 0x51:
        tempo();
        return true;
      case 0x54: {
        uint8_t v[5];
        for (auto& x : v) x = r_.octet();
        line_head("SMPT", event_time());
        for (uint8_t x : v) field(x);
        end_line();
        return true;
      }
      case 0x58: {
        const uint8_t num = r_.octet(), power = r_.octet(), clocks = r_.octet(), quarter = r_.octet();
        if (power <= 5) denominator_ = 1 << power;
        line_head("TIME", event_time());
        field(num);
        field(denominator_);
        field(clocks);
        field(quarter);
        end_line();
        return true;
      }
      case 0x59: {
        const uint8_t a = r_.octet(), b = r_.octet();
        line_head("KEYS", event_time());
        field(a);
        field(b);
        end_line();
        return true;
      }
      default:
        r_.saute(length);
        return true;
    }
  }

  void tempo() {
    if (format1_ && !first_) {
      r_.saute(3);  // later tracks of a format 1 file follow the first one's map
      return;
    }
    const int64_t t = be(r_.bloc(3));
    line_head("TEMP", event_time());
    field(t, 7);
    end_line();
    if (format1_) ++rang_tempo_;
    if (rang_tempo_ + 1 >= kTempoEntries) throw ArretMidi{kMidiTropDeTempos, false};
    tempo_tick_[rang_tempo_ + 1] = kEndOfTable;
    tempo_us_[rang_tempo_] = static_cast<int32_t>(t);
    tempo_tick_[rang_tempo_] = tick_;
    if (rang_tempo_ >= 999) throw ArretMidi{kMidiTropDeTempos, false};
  }

  void note_on(int channel, uint8_t key, uint8_t vel) {
    if (key > 127) return;  // no such key: nothing can be tracked
    if (debut_tick_[channel][key] == -1) {
      debut_tick_[channel][key] = tick_;
      velocite_[channel][key] = vel;
      open_index_[channel][key] = static_cast<int32_t>(open_.size());
      open_.push_back(static_cast<uint16_t>(channel << 7 | key));
    }
    ++nb_actives_[channel][key];
  }

  void note_off(int channel, uint8_t key) {
    if (key > 127 || debut_tick_[channel][key] == -1) return;
    if (--nb_actives_[channel][key] > 0) return;
    float s = static_cast<float>(static_cast<double>(ms_par_tick_) * (debut_tick_[channel][key] - dernier_tick_tempo_));
    s = static_cast<float>(s + cumul_ms_);
    s = static_cast<float>(s - ecoule_ms_[channel][key]);
    const int64_t start = static_cast<int64_t>(round_half_even(s));
    const int64_t end = event_time();
    line_head("NOTE", start);
    field(channel);
    field(key);
    field(end - start);
    field(static_cast<int64_t>(velocite_[channel][key]));
    *end_++ = ' ';
    for (const char* c = kPitchClasses[key % 12]; *c; ++c) *end_++ = *c;
    const int octave = std::abs(key / 12 - 2);
    if (octave >= 10) *end_++ = '1';
    *end_++ = static_cast<char>('0' + octave % 10);
    end_line();
    line_head("NOOF", end);
    field(channel);
    field(key);
    end_line();
    // Out of the open notes that the tempo walk carries.
    const int32_t at = open_index_[channel][key];
    const uint16_t last = open_.back();
    open_[static_cast<std::size_t>(at)] = last;
    open_index_[last >> 7][last & 0x7F] = at;
    open_.pop_back();
    debut_tick_[channel][key] = -1;
    nb_actives_[channel][key] = 0;
    ecoule_ms_[channel][key] = 0;
    if (static_cast<float>(end) > max_ms_) max_ms_ = static_cast<float>(end);
  }

  static constexpr std::size_t kFlushAt = 1 << 16;
  LectureMidi r_;
  std::string_view chemin_;
  const Sortie* sink_;
  std::string out_;
  char line_[96];  // the longest line: NOTE with its name
  char* end_ = line_;
  bool format1_ = false;
  bool first_ = false;
  double division_ = 1;
  std::array<int32_t, kTempoEntries> tempo_tick_{};
  std::array<int32_t, kTempoEntries> tempo_us_{};
  std::array<std::array<int32_t, 128>, kChannels> debut_tick_{};
  std::array<std::array<float, 128>, kChannels> ecoule_ms_{};
  std::array<std::array<int32_t, 128>, kChannels> nb_actives_{};
  std::array<std::array<float, 128>, kChannels> velocite_{};
  // The notes now open, as channel * 128 + key, and each one's place there.
  std::vector<uint16_t> open_;
  std::array<std::array<int32_t, 128>, kChannels> open_index_{};
  int rang_tempo_ = 0;
  int rang_lecture_ = 0;
  float ms_par_tick_ = 0;
  float cumul_ms_ = 0;
  int32_t dernier_tick_tempo_ = 0;
  int32_t tick_ = 0;
  float max_ms_ = 0;
  uint8_t statut_ = 0;
  int denominator_ = 4;
  int64_t location_ = 0;
  int64_t notes_sans_fin_ = 0;
  bool dans_piste_ = false;  // between a track's header and its End of Track
  int64_t pistes_lues_ = 0;
};

}  // namespace

VertalenResult vertalen(std::string_view midi_bytes, std::string_view chemin_midi,
                        const std::function<void(int64_t value, int64_t max)>& gauge) {
  SourceMemoire source(midi_bytes);
  return Converter(source, chemin_midi, gauge, nullptr).run();
}

VertalenResult vertalen(std::string_view midi_bytes, std::string_view chemin_midi,
                        const std::function<bool(std::string_view piece)>& sink,
                        const std::function<void(int64_t value, int64_t max)>& gauge) {
  SourceMemoire source(midi_bytes);
  return Converter(source, chemin_midi, gauge, &sink).run();
}

VertalenResult vertalen(SourceMidi& midi, std::string_view chemin_midi,
                        const std::function<bool(std::string_view piece)>& sink,
                        const std::function<void(int64_t value, int64_t max)>& gauge) {
  return Converter(midi, chemin_midi, gauge, &sink).run();
}

}  // namespace brivel
