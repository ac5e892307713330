#!/usr/bin/env bash
# Builds Brivel and punches the sample piece data/sample.mid for the sample
# instrument data/sample.set on a simulated machine.
#   - With a display the window opens on the rehearsal machine (port 99: the
#     board model inside the program, taking the time a machine would), with
#     the instrument loaded and the piece open; the operator clicks
#     "Perforer".
#   - With none, the whole road of a new board, over a real serial stack: a
#     simulated Arduino Uno as sold (an ATmega328P in brivel-machine-sim with
#     nothing but its Optiboot bootloader, behind a pseudo-terminal linked as
#     port 7, with a machine modelled from the chip's pins) is flashed with
#     our firmware by the console's own "Programmation Atmega" (the real
#     avrdude, through the bootloader), then the console punches the piece
#     on it on Qt's offscreen platform (the sample instrument with its motors
#     at 1 ms a step, so that the run takes minutes, not a quarter of an
#     hour). It prints the upload's outcome, the holes and the time taken,
#     then the holes measured at the pins, the bytes lost and the run's cost:
#     its wall time against the physical floor (the console's mandated
#     waits, the motor time of the moves sent, the punch cycles and the
#     bytes on the wire at 57600 baud).
#   The modem lines of a pseudo-terminal reach the simulated board through
#   brivel-modem-lines.so (LD_PRELOAD), as DTR reaches a real one.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh
build=${BUILD_DIR:-build}
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DBRIVEL_TESTS=OFF
home="$PWD/$build/rehearsal"  # BRIVEL_HOME of the rehearsal: its .set files, Temp/, ports/
mkdir -p "$home/ports"
export BRIVEL_HOME="$home"
if [ -n "${DISPLAY:-}${WAYLAND_DISPLAY:-}" ]; then
  cmake --build "$build" -j"$(nproc)" --target brivel
  exec "$build/apps/brivel/brivel" --set data/sample.set --port 99 --ouvrir data/sample.mid
fi

# The whole output of help first: grep -q would close the pipe at its first
# match and cmake could die of SIGPIPE under pipefail.
help=$(cmake --build "$build" --target help)
for t in brivel-machine-sim brivel_firmware brivel_bootloaders brivel-modem-lines; do
  if ! grep -q "$t" <<<"$help"; then
    echo "run-main: the target $t is missing although scripts/install-deps.sh succeeded:" >&2
    echo "  look at the configure output of $build (avr-gcc, libsimavr-dev, arduino-core-avr)." >&2
    exit 1
  fi
done
cmake --build "$build" -j"$(nproc)" --target brivel brivel-script brivel-machine-sim brivel_firmware \
  brivel_bootloaders brivel-modem-lines

machine="$build/apps/brivel-machine-sim/brivel-machine-sim"
log="$home/machine.log"
rm -f "$home/flash.bin" "$home/eeprom.bin"
# The image where "Programmation Atmega" takes it, in the console's folder.
mkdir -p "$home/Brivel_uploader/Binaire"
cp "$build/Brivel_uploader/Binaire/Brivel.cpp.hex" "$home/Brivel_uploader/Binaire/"
# The sample instrument with faster motors: lines 5 and 6, the X and Y step
# durations, at 1000 microseconds.
awk 'NR == 5 || NR == 6 { print "1000\r"; next } { print }' data/sample.set > "$home/sample-rapide.set"
"$machine" --bootloader "$build/bootloaders/optiboot_atmega328.hex" --flash "$home/flash.bin" \
  --eeprom "$home/eeprom.bin" --link "$home/ports/com7" --log "$log" --realtime > "$home/sim.out" 2>&1 &
sim=$!
trap 'kill $sim 2>/dev/null || true' EXIT
for _ in $(seq 100); do
  grep -q '^ready' "$home/sim.out" 2>/dev/null && break
  sleep 0.1
done
grep -q '^ready' "$home/sim.out" || { cat "$home/sim.out" >&2; exit 1; }

export LD_PRELOAD="$PWD/$build/apps/brivel-machine-sim/brivel-modem-lines.so"
echo "Carte neuve : un Uno simulé avec son seul chargeur Optiboot, port 7"
QT_QPA_PLATFORM=offscreen "$build/apps/brivel-script/brivel-script" - <<'SCRIPT'
click fenetre_moteurs
set AdressePort 7
wait Shape1 = 10 10
answer yes
click Prog_uno_rev3
wait Upload.status ~ (.|\n)*(reconnectée|ne s'ouvre plus)(.|\n)* 120
print Upload.status
wait Shape1 = 10 1
quit
SCRIPT
QT_QPA_PLATFORM=offscreen "$build/apps/brivel/brivel" --set "$home/sample-rapide.set" --port 7 \
  --ouvrir data/sample.mid --perforer
unset LD_PRELOAD
kill $sim; wait $sim 2>/dev/null || true
awk -f bench/machine_floor.awk "$log"
boot=$(grep -o '[0-9]* octets reçus par le chargeur' "$log" | tail -1 | cut -d' ' -f1)
echo "Octets de la console reçus par le chargeur après la programmation : ${boot:-0}"
echo "Journal de la machine simulée : $log"
