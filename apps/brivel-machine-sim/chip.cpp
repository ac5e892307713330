#include "chip.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>

extern "C" {
#include <simavr/avr_eeprom.h>
#include <simavr/sim_core.h>
#include <simavr/sim_elf.h>
}

namespace brivel::machinesim {

namespace {

constexpr uint16_t kMcusr = 0x54;  // data-space address on the ATmega328P

// simavr resets the chip itself for its watchdog: its core's reset hook is
// wrapped to count every reset, whoever made it.
void (*g_core_reset)(avr_t*) = nullptr;
int g_resets = 0;
void counting_reset(avr_t* avr) {
  ++g_resets;
  if (g_core_reset) g_core_reset(avr);
}

// Reads a raw memory file of exactly `size` bytes. Absent: `out` blank
// (0xFF, as an erased chip reads) and true.
bool read_raw(const std::string& path, uint32_t size, std::vector<uint8_t>* out, std::string* error) {
  out->assign(size, 0xFF);
  if (path.empty()) return true;
  std::error_code ec;
  if (!std::filesystem::exists(path, ec)) return true;
  std::ifstream in(path, std::ios::binary);
  std::vector<uint8_t> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  if (!in.good() && !in.eof()) return *error = path + " : illisible", false;
  if (bytes.size() != size)
    return *error = path + " : " + std::to_string(bytes.size()) + " octets, " + std::to_string(size) + " attendus",
           false;
  *out = std::move(bytes);
  return true;
}

// Whole and renamed into place: a simulator killed mid-write leaves the
// older memory, never half of it.
void write_raw(const std::string& path, const uint8_t* data, uint32_t size) {
  if (path.empty()) return;
  const std::string tmp = path + ".tmp";
  {
    std::ofstream out(tmp, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(data), size);
    if (!out) return;
  }
  std::rename(tmp.c_str(), path.c_str());
}

}  // namespace

bool read_intel_hex(const std::string& text, std::vector<uint8_t>* image, uint32_t* lowest, std::string* error) {
  uint32_t base = 0;
  int line_no = 0;
  std::size_t pos = 0;
  auto byte_at = [&](const std::string& line, std::size_t i, uint8_t* out) {
    if (i + 2 > line.size()) return false;
    char* end = nullptr;
    const std::string two = line.substr(i, 2);
    const unsigned long v = std::strtoul(two.c_str(), &end, 16);
    if (end != two.c_str() + 2) return false;
    *out = static_cast<uint8_t>(v);
    return true;
  };
  while (pos < text.size()) {
    std::size_t eol = text.find('\n', pos);
    if (eol == std::string::npos) eol = text.size();
    std::string line = text.substr(pos, eol - pos);
    pos = eol + 1;
    ++line_no;
    while (!line.empty() && (line.back() == '\r' || line.back() == ' ')) line.pop_back();
    if (line.empty()) continue;
    const std::string where = "ligne " + std::to_string(line_no);
    std::vector<uint8_t> rec;
    uint8_t b = 0;
    for (std::size_t i = 1; line[0] == ':' && byte_at(line, i, &b); i += 2) rec.push_back(b);
    if (line[0] != ':' || rec.size() < 5 || rec.size() != rec[0] + 5u || (line.size() - 1) % 2)
      return *error = where + " : enregistrement Intel HEX mal formé", false;
    uint8_t sum = 0;
    for (uint8_t v : rec) sum = static_cast<uint8_t>(sum + v);
    if (sum != 0) return *error = where + " : somme de contrôle fausse", false;
    const uint32_t addr = static_cast<uint32_t>(rec[1] << 8 | rec[2]);
    switch (rec[3]) {
      case 0x00:
        for (uint32_t i = 0; i < rec[0]; ++i) {
          const uint32_t a = base + addr + i;
          if (a >= image->size()) return *error = where + " : adresse hors de la flash", false;
          (*image)[a] = rec[4 + i];
          *lowest = std::min(*lowest, a);
        }
        break;
      case 0x01: return true;
      case 0x02: base = static_cast<uint32_t>(rec[4] << 8 | rec[5]) << 4; break;
      case 0x04: base = static_cast<uint32_t>(rec[4] << 8 | rec[5]) << 16; break;
      default: break;  // start addresses (03, 05): a reset starts where the fuses say
    }
  }
  return *error = "pas d'enregistrement de fin", false;
}

uint8_t high_fuse_for_boot_start(uint32_t start) {
  // BOOTSZ1:0 in bits 2:1 (0 = programmed), BOOTRST in bit 0 programmed;
  // SPIEN programmed and EESAVE not, as on an Arduino board.
  switch (start) {
    case 0x7E00: return 0xDE;  // 256 words
    case 0x7C00: return 0xDC;  // 512 words
    case 0x7800: return 0xDA;  // 1 024 words
    case 0x7000: return 0xD8;  // 2 048 words
    default: return 0;
  }
}

Chip::~Chip() {
  if (avr_) save_if_changed();
}

bool Chip::load(const ChipImages& images, std::string* error) {
  files_ = images;
  avr_ = avr_make_mcu_by_name("atmega328p");
  if (!avr_) return *error = "simavr ne connaît pas l'ATmega328P", false;
  avr_init(avr_);
  avr_->frequency = 16000000;
  g_core_reset = avr_->reset;
  avr_->reset = counting_reset;

  std::vector<uint8_t> flash;
  if (!read_raw(images.flash, kFlashSize, &flash, error)) return false;
  std::memcpy(avr_->flash, flash.data(), kFlashSize);

  if (!images.firmware.empty()) {
    elf_firmware_t f = {};
    if (elf_read_firmware(images.firmware.c_str(), &f) != 0)
      return *error = "image illisible : " + images.firmware, false;
    if (f.flashbase + f.flashsize > kFlashSize) return *error = "image trop grande : " + images.firmware, false;
    std::memcpy(avr_->flash + f.flashbase, f.flash, f.flashsize);
  }

  if (!images.bootloader.empty()) {
    std::ifstream in(images.bootloader);
    std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    std::vector<uint8_t> image(kFlashSize, 0xFF);
    uint32_t start = kFlashSize;
    if (!in || !read_intel_hex(text, &image, &start, error)) {
      *error = images.bootloader + " : " + (in ? *error : std::string("illisible"));
      return false;
    }
    const uint8_t hfuse = high_fuse_for_boot_start(start);
    if (hfuse == 0)
      return *error = images.bootloader + " : ce n'est pas un chargeur de l'ATmega328P (section de démarrage)", false;
    std::memcpy(avr_->flash + start, image.data() + start, kFlashSize - start);
    boot_start_ = start;
    avr_->fuse[AVR_FUSE_LOW] = 0xFF;
    avr_->fuse[AVR_FUSE_HIGH] = hfuse;
    avr_->fuse[AVR_FUSE_EXT] = 0xFD;  // brown-out at 2.7 V
    avr_->reset_pc = start;
  }
  // Every word may run: the bootloader's and whatever it writes below it.
  avr_->codeend = kFlashSize - 1;

  std::vector<uint8_t> eeprom;
  if (!read_raw(images.eeprom, kEepromSize, &eeprom, error)) return false;
  avr_eeprom_desc_t d{eeprom.data(), 0, kEepromSize};
  avr_ioctl(avr_, AVR_IOCTL_EEPROM_SET, &d);

  save_if_changed();
  return true;
}

bool Chip::application_blank() const { return avr_->flash[0] == 0xFF && avr_->flash[1] == 0xFF; }

int Chip::resets() const { return g_resets; }

void Chip::reset(uint8_t flags) {
  avr_reset(avr_);
  avr_->pc = avr_->reset_pc;
  avr_->data[kMcusr] = flags;
}

void Chip::slide() {
  for (uint32_t n = 0, pc = avr_->pc; n < kFlashSize; n += 2, pc = (pc + 2) % kFlashSize) {
    if (!erased(pc)) {
      // An erased application handed to by the bootloader turns round into
      // the bootloader again, which calls it again: its stack is taken back
      // to the top, or each turn would leave a return address behind.
      if (pc >= boot_start_) _avr_sp_set(avr_, avr_->ramend);
      avr_->pc = pc;
      return;
    }
  }
  // The whole flash erased: a chip with nothing in it, standing still.
  avr_->state = cpu_Stopped;
}

std::vector<uint8_t> Chip::eeprom() const {
  // simavr's GET copies the cells and answers -1 all the same: the copy is
  // taken as it is.
  std::vector<uint8_t> out(kEepromSize, 0xFF);
  avr_eeprom_desc_t d{out.data(), 0, kEepromSize};
  avr_ioctl(avr_, AVR_IOCTL_EEPROM_GET, &d);
  return out;
}

void Chip::save_if_changed() {
  if (!files_.flash.empty() &&
      (saved_flash_.size() != kFlashSize || std::memcmp(saved_flash_.data(), avr_->flash, kFlashSize) != 0)) {
    saved_flash_.assign(avr_->flash, avr_->flash + kFlashSize);
    write_raw(files_.flash, saved_flash_.data(), kFlashSize);
  }
  std::vector<uint8_t> ee = eeprom();
  if (!files_.eeprom.empty() && ee != saved_eeprom_) {
    saved_eeprom_ = std::move(ee);
    write_raw(files_.eeprom, saved_eeprom_.data(), kEepromSize);
  }
}

}  // namespace brivel::machinesim
