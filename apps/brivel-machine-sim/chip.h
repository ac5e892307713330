// The ATmega328P as a board holds it: 32 768 bytes of flash with a
// bootloader at its top and the fuses that start every reset in it, 1 024
// bytes of EEPROM, both kept in files across resets and restarts of the
// simulator, as a board keeps them unplugged overnight.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

extern "C" {
#include <simavr/sim_avr.h>
}

namespace brivel::machinesim {

// MCUSR's reset flags: what the bootloaders read to decide whether to
// listen (an external reset) or to start the application at once.
enum ResetFlag : uint8_t { kPowerOn = 1, kExternal = 2, kBrownOut = 4, kWatchdog = 8 };

struct ChipImages {
  std::string firmware;    // ELF of the application, written at address 0 ("" for none)
  std::string bootloader;  // Intel HEX of a bootloader, at its own address ("" for none)
  std::string flash;       // raw 32 768-byte file ("" to keep nothing)
  std::string eeprom;      // raw 1 024-byte file ("" to keep nothing)
};

// Reads an Intel HEX file's data records into `image`, `lowest` taking the
// lowest address written. False with the line and the reason in `error`.
bool read_intel_hex(const std::string& text, std::vector<uint8_t>* image, uint32_t* lowest, std::string* error);

// The boot section a bootloader at `start` needs, as the high fuse's
// BOOTSZ bits give it, with BOOTRST programmed: 0xDE for 512 bytes
// (Optiboot), 0xDA for 2 048 (ATmegaBOOT). 0 when no boot section starts
// there.
uint8_t high_fuse_for_boot_start(uint32_t start);

class Chip {
 public:
  static constexpr uint32_t kFlashSize = 32768;
  static constexpr uint32_t kEepromSize = 1024;

  Chip() = default;
  ~Chip();
  Chip(const Chip&) = delete;
  Chip& operator=(const Chip&) = delete;

  // Makes the chip and fills its memories: the flash file (blank when
  // absent), then the application, then the bootloader over it; the EEPROM
  // from its file (blank when absent). Written back at once, so that a new
  // board leaves its files. False with a French reason.
  bool load(const ChipImages& images, std::string* error);

  avr_t* avr() const { return avr_; }
  // Where the boot section starts; the flash's end when there is none.
  uint32_t boot_start() const { return boot_start_; }
  bool has_bootloader() const { return boot_start_ < kFlashSize; }
  bool in_boot() const { return avr_->pc >= boot_start_; }
  // True when the application's first word is blank (erased flash).
  bool application_blank() const;

  // A reset: registers and peripherals cleared, execution from the reset
  // vector (the boot section under BOOTRST), MCUSR holding `flags`.
  void reset(uint8_t flags);

  // Erased flash (0xFFFF words) runs on the silicon as if nothing were
  // there: execution slides to the next written word, past the flash's end
  // to its start. simavr decodes 0xFFFF as an instruction of its own, so the
  // slide is made here, before the word runs.
  // True when it slid.
  bool slide_over_erased() {
    if (!erased(avr_->pc)) return false;
    slide();
    return true;
  }

  // Every reset since start, those simavr makes for the watchdog too.
  int resets() const;

  // Writes the flash and EEPROM files again when the chip changed them.
  void save_if_changed();

 private:
  bool erased(uint32_t pc) const { return avr_->flash[pc] == 0xFF && avr_->flash[pc + 1] == 0xFF; }
  void slide();
  std::vector<uint8_t> eeprom() const;
  avr_t* avr_ = nullptr;
  uint32_t boot_start_ = kFlashSize;
  ChipImages files_;
  std::vector<uint8_t> saved_flash_, saved_eeprom_;
};

}  // namespace brivel::machinesim
