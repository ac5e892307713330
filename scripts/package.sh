#!/usr/bin/env bash
# Builds Brivel in Release and makes its Debian package with cpack; lists
# what the package holds. The .deb lands in build-deb/.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh
command -v dpkg-shlibdeps > /dev/null || { SUDO=""; [ "$(id -u)" -eq 0 ] || SUDO=sudo
  $SUDO apt-get install -y -qq --no-install-recommends dpkg-dev; }
build=${BUILD_DIR:-build-deb}
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DBRIVEL_TESTS=OFF
cmake --build "$build" -j"$(nproc)"
(cd "$build" && cpack -G DEB)
deb=$(ls "$build"/brivel_*.deb | head -1)
dpkg-deb --info "$deb" | sed -n '/Package:/,$p'
dpkg-deb -c "$deb"
echo "$deb"
