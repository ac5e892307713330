#!/usr/bin/env bash
# Installs what Brivel needs to build and test on Debian 12. Run as root (or
# with sudo available). Packages already present are left alone.
set -euo pipefail
pkgs=(cmake ninja-build g++ pkg-config qt6-base-dev qt6-serialport-dev libudev-dev libgl-dev
      libgtest-dev libgmock-dev libbenchmark-dev midicsv fonts-dejavu-core time avrdude qt6-translations-l10n
      gcc-avr avr-libc binutils-avr simavr libsimavr-dev libelf-dev arduino-core-avr
      libfluidsynth-dev timgm6mb-soundfont)
missing=()
for p in "${pkgs[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done
if ((${#missing[@]})); then
  SUDO=""
  [ "$(id -u)" -eq 0 ] || SUDO=sudo
  $SUDO apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi
