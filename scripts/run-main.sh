#!/usr/bin/env bash
# Builds Brivel and punches the sample piece on the simulated board: the
# board simulator behind a pseudo-terminal, the console connected to it as
# port 7 through a link in its folder, the instrument data/sample.set loaded
# and data/sample.mid opened. With a display
# the window opens there and the operator clicks "Perforer"; with none the
# console punches the piece on Qt's offscreen platform, prints the holes and
# the time taken, and ends.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh
build=${BUILD_DIR:-build}
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo
cmake --build "$build" -j"$(nproc)"

home="$PWD/$build/rehearsal"  # BRIVEL_HOME of the rehearsal: its .set files, Temp/, ports/
mkdir -p "$home/ports"
headless=0
[ -z "${DISPLAY:-}${WAYLAND_DISPLAY:-}" ] && headless=1
# Headless, every reply comes at once; on screen the board takes the time a
# machine would.
pace=--realistic
((headless)) && pace=--instant
"$build/apps/brivel-board-sim/brivel-board-sim" --link "$home/ports/com7" --log "$home/board.log" $pace \
  > "$home/board-sim.out" 2>&1 &
sim=$!
trap 'kill $sim 2>/dev/null || true' EXIT
for _ in $(seq 100); do
  grep -q '^ready' "$home/board-sim.out" 2>/dev/null && break
  sleep 0.1
done
grep -q '^ready' "$home/board-sim.out" || { cat "$home/board-sim.out" >&2; exit 1; }

export BRIVEL_HOME="$home"
if ((headless)); then
  QT_QPA_PLATFORM=offscreen "$build/apps/brivel/brivel" --set data/sample.set --port 7 --ouvrir data/sample.mid --perforer
  echo "Journal de la carte simulée : $home/board.log ($(grep -c ' \* ' "$home/board.log") trous)"
else
  "$build/apps/brivel/brivel" --set data/sample.set --port 7 --ouvrir data/sample.mid
fi
