#!/usr/bin/env bash
# The cost of a run on our firmware: punches the sample piece with the
# console against the firmware's image on the simulated chip
# (brivel-machine-sim --realtime, the sample instrument with its motors at
# 1 ms a step) and reports in one run the run's wall time against its
# physical floor (bench/machine_floor.awk) and the console's CPU.
# Usage: bench/machine_run.sh [BUILD_DIR]   (default build, as scripts/run-main.sh makes it)
set -euo pipefail
cd "$(dirname "$0")/.."
b=${1:-build}
elf="$PWD/$b/Brivel_uploader/Binaire/Brivel.cpp.elf"
[ -x "$b/apps/brivel-machine-sim/brivel-machine-sim" ] && [ -f "$elf" ] || {
  echo "brivel-machine-sim or the firmware missing in $b: run scripts/run-main.sh first" >&2; exit 1; }
home=$(mktemp -d)
trap 'kill $sim 2>/dev/null || true; rm -rf "$home"' EXIT
mkdir -p "$home/ports"
awk 'NR == 5 || NR == 6 { print "1000\r"; next } { print }' data/sample.set > "$home/rapide.set"
"$b/apps/brivel-machine-sim/brivel-machine-sim" --firmware "$elf" --link "$home/ports/com7" --log "$home/machine.log" \
  --realtime > "$home/sim.out" 2>&1 &
sim=$!
for _ in $(seq 100); do grep -q '^ready' "$home/sim.out" && break; sleep 0.1; done
BRIVEL_HOME="$home" QT_QPA_PLATFORM=offscreen /usr/bin/time -f '%U %S %e' -o "$home/time" \
  "$b/apps/brivel/brivel" --set "$home/rapide.set" --port 7 --ouvrir data/sample.mid --perforer
kill $sim; wait $sim 2>/dev/null || true
awk -f bench/machine_floor.awk "$home/machine.log"
read -r user sys wall < "$home/time"
awk -v u="$user" -v s="$sys" -v w="$wall" \
  'BEGIN { printf "Console : CPU %.2f s sur %.1f s, soit %.1f %% d'"'"'un cœur\n", u + s, w, 100 * (u + s) / w }'
