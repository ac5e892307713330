#!/usr/bin/env bash
# Builds Brivel and punches the sample piece data/sample.mid for the sample
# instrument data/sample.set on a simulated machine.
#   - With a display the window opens on the rehearsal machine (port 99: the
#     board model inside the program, taking the time a machine would), with
#     the instrument loaded and the piece open; the operator clicks
#     "Perforer".
#   - With none, the proof runs over a real serial stack, on our firmware:
#     its image runs on a simulated ATmega328P in brivel-machine-sim behind
#     a pseudo-terminal linked as port 7, with a machine modelled from the
#     chip's pins; the console punches the piece on Qt's offscreen platform
#     (the sample instrument with its motors at 1 ms a step, so that the
#     run takes minutes, not a quarter of an hour), prints the holes and the
#     time taken, then the holes measured at the pins and the run's cost:
#     its wall time against the physical floor (the console's mandated
#     waits, the motor time of the moves sent, the punch cycles and the
#     bytes on the wire at 57600 baud). Without the AVR tool chain or
#     simavr it falls back to brivel-board-sim, answering at once.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh
build=${BUILD_DIR:-build}
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DBRIVEL_TESTS=OFF
targets=(brivel brivel-board-sim)
if cmake --build "$build" --target help | grep -q 'brivel-machine-sim' &&
   cmake --build "$build" --target help | grep -q 'brivel_firmware'; then
  targets+=(brivel-machine-sim brivel_firmware)
fi
cmake --build "$build" -j"$(nproc)" --target "${targets[@]}"

home="$PWD/$build/rehearsal"  # BRIVEL_HOME of the rehearsal: its .set files, Temp/, ports/
mkdir -p "$home/ports"
export BRIVEL_HOME="$home"
if [ -n "${DISPLAY:-}${WAYLAND_DISPLAY:-}" ]; then
  exec "$build/apps/brivel/brivel" --set data/sample.set --port 99 --ouvrir data/sample.mid
fi

elf="$PWD/$build/Brivel_uploader/Binaire/Brivel.cpp.elf"
machine="$build/apps/brivel-machine-sim/brivel-machine-sim"
if [ -x "$machine" ] && [ -f "$elf" ]; then
  # The sample instrument with faster motors: lines 5 and 6, the X and Y step
  # durations, at 1000 microseconds.
  awk 'NR == 5 || NR == 6 { print "1000\r"; next } { print }' data/sample.set > "$home/sample-rapide.set"
  "$machine" --firmware "$elf" --link "$home/ports/com7" --log "$home/machine.log" --realtime > "$home/sim.out" 2>&1 &
  set_file="$home/sample-rapide.set"
  log="$home/machine.log"
else
  "$build/apps/brivel-board-sim/brivel-board-sim" --link "$home/ports/com7" --log "$home/board.log" --instant \
    > "$home/sim.out" 2>&1 &
  set_file=data/sample.set
  log="$home/board.log"
fi
sim=$!
trap 'kill $sim 2>/dev/null || true' EXIT
for _ in $(seq 100); do
  grep -q '^ready' "$home/sim.out" 2>/dev/null && break
  sleep 0.1
done
grep -q '^ready' "$home/sim.out" || { cat "$home/sim.out" >&2; exit 1; }
QT_QPA_PLATFORM=offscreen "$build/apps/brivel/brivel" --set "$set_file" --port 7 --ouvrir data/sample.mid --perforer
if [ "$log" = "$home/machine.log" ]; then
  kill $sim; wait $sim 2>/dev/null || true
  awk -f bench/machine_floor.awk "$log"
  echo "Journal de la machine simulée : $log"
else
  echo "Journal de la carte simulée : $log ($(grep -c ' \* ' "$log") trous)"
fi
