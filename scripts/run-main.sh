#!/usr/bin/env bash
# Builds Brivel and punches the sample piece data/sample.mid for the sample
# instrument data/sample.set on a simulated machine.
#   - With a display the window opens on the rehearsal machine (port 99: the
#     board model inside the program, taking the time a machine would), with
#     the instrument loaded and the piece open; the operator clicks
#     "Perforer".
#   - With none, the proof runs over a real serial stack: brivel-board-sim
#     behind a pseudo-terminal, linked as port 7, answering at once; the
#     console punches the piece on Qt's offscreen platform, prints the holes
#     and the time taken, then the board's own count, and ends.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh
build=${BUILD_DIR:-build}
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo
cmake --build "$build" -j"$(nproc)"

home="$PWD/$build/rehearsal"  # BRIVEL_HOME of the rehearsal: its .set files, Temp/, ports/
mkdir -p "$home/ports"
export BRIVEL_HOME="$home"
if [ -n "${DISPLAY:-}${WAYLAND_DISPLAY:-}" ]; then
  exec "$build/apps/brivel/brivel" --set data/sample.set --port 99 --ouvrir data/sample.mid
fi

"$build/apps/brivel-board-sim/brivel-board-sim" --link "$home/ports/com7" --log "$home/board.log" --instant \
  > "$home/board-sim.out" 2>&1 &
sim=$!
trap 'kill $sim 2>/dev/null || true' EXIT
for _ in $(seq 100); do
  grep -q '^ready' "$home/board-sim.out" 2>/dev/null && break
  sleep 0.1
done
grep -q '^ready' "$home/board-sim.out" || { cat "$home/board-sim.out" >&2; exit 1; }
QT_QPA_PLATFORM=offscreen "$build/apps/brivel/brivel" --set data/sample.set --port 7 --ouvrir data/sample.mid --perforer
echo "Journal de la carte simulée : $home/board.log ($(grep -c ' \* ' "$home/board.log") trous)"
