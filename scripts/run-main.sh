#!/usr/bin/env bash
# Builds Brivel and runs its main job. With a display the window opens; with
# none it runs on Qt's offscreen platform and says where its output went.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh
build=${BUILD_DIR:-build}
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo
cmake --build "$build" -j"$(nproc)"
if [ -z "${DISPLAY:-}${WAYLAND_DISPLAY:-}" ]; then
  export QT_QPA_PLATFORM=offscreen
  exec "$build/apps/brivel/brivel" --demo "$build/demo-output"
fi
exec "$build/apps/brivel/brivel"
