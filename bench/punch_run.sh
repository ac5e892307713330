#!/usr/bin/env bash
# Punches a piece with the real program on the real platform against
# brivel-board-sim in instant mode, and reports in one run:
#   - holes per second;
#   - the run's wall time (first "AGxxxxx" to the last "ZGxxxxx" in the
#     board's log) against the sum of the waits the console itself asks for:
#     25 ms behind each move and working-sequence end, 250 ms per working
#     sequence start, 500 ms per readiness answer, 25 + 200 ms per origin
#     search; the floor of a wait ("a tick strictly past its deadline", 1 ms)
#     and the board's 1 ms reply are shown beside them;
#   - the run's wall time against the machine's own time: those waits and
#     the board's 1 ms before each reply;
#   - where the console's time goes: the mean gap from a reply to the next
#     frame after a move (25 ms asked) and after a punch cycle (nothing asked:
#     the console's own work, a context written before a Y move included);
#   - the CPU time of the console process against its wall time;
#   - the same frames played by brivel-bare-console, which keeps the waits
#     and does nothing else (it spins for the replies): the machine's own
#     time on this computer, the link and the board's wake-ups included, and
#     the run against it (the target is 1.02 at most).
# Usage: bench/punch_run.sh [BUILD_DIR] [PIECE.mid]   (default build-bench, data/sample.mid)
# KEEP_LOG=FILE keeps the board's log of the console's run; BARE_CONSOLE=PATH
# takes the bare console from another build.
set -euo pipefail
cd "$(dirname "$0")/.."
b=${1:-build-bench}
piece=${2:-data/sample.mid}
bare=${BARE_CONSOLE:-$b/bench/brivel-bare-console}
if [ ! -x "$b/apps/brivel/brivel" ] || [ ! -x "$bare" ]; then
  cmake -S . -B "$b" -G Ninja -DCMAKE_BUILD_TYPE=Release -DBRIVEL_BENCH=ON -DBRIVEL_TESTS=OFF > /dev/null
  cmake --build "$b" --target brivel brivel-board-sim brivel-bare-console > /dev/null
fi
home=$(mktemp -d)
sim= sim2=
trap 'kill $sim $sim2 2>/dev/null; [ -z "${KEEP_LOG:-}" ] || cp "$home/board.log" "$KEEP_LOG"; rm -rf "$home"' EXIT
mkdir -p "$home/ports"
"$b/apps/brivel-board-sim/brivel-board-sim" --link "$home/ports/com7" --log "$home/board.log" --instant \
  > "$home/sim.out" 2>&1 &
sim=$!
for _ in $(seq 100); do grep -q '^ready' "$home/sim.out" && break; sleep 0.1; done
BRIVEL_HOME="$home" QT_QPA_PLATFORM=offscreen /usr/bin/time -f '%U %S %e' -o "$home/time" \
  "$b/apps/brivel/brivel" --port 7 --ouvrir "$piece" --perforer
awk -v cpu="$(cat "$home/time")" '
  $2 == ">" && replied != "" { gap[kind] += $1 - replied; gaps[kind]++ }
  $2 == ">" { kind = substr($3, 1, 2) ~ /^[Mm][XxY]$/ ? "move" : substr($3, 1, 2) ~ /^[Cc]Z$/ ? "cycle" : "other"; replied = "" }
  $2 == "<" { replied = $1 }
  $2 == ">" { f = substr($3, 1, 2)
              if (f == "AG") { if (!start) start = $1; asked += 250 }
              else if (f == "ZG") { stop = $1; asked += 25 }
              else if (f ~ /^[Mm][XxY]$/) asked += 25
              else if (f == "ON") asked += 500
              else if (f ~ /^[Oo]R$/) asked += 225
              else next
              if (start) waits++ }
  $2 == "<" && start { replies++ }
  $2 == "*" { holes++ }
  END {
    split(cpu, t, " "); wall = stop - start
    floor = asked + waits + replies
    printf "holes %d, run %.1f s, %.1f holes/s\n", holes, wall / 1000, holes * 1000 / wall
    printf "waits asked %.1f s: run/asked %.3f; with the 1 ms floor of each wait and of each reply %.1f s: run/that %.3f\n",
           asked / 1000, wall / asked, floor / 1000, wall / floor
    # The machine own time: the waits the console must keep and the
    # 1 ms the board takes before each reply. Whatever lies beyond is the console.
    machine = asked + replies
    printf "waits asked and 1 ms per reply of the board %.1f s: run/machine %.3f\n", machine / 1000, wall / machine
    printf "from a reply to the next frame: after a move %.2f ms (25 asked), after a punch cycle %.2f ms (none asked)\n",
           gap["move"] / gaps["move"], gap["cycle"] / gaps["cycle"]
    printf "console process: CPU %.2f s of %.1f s wall = %.1f %% of one core\n", t[1] + t[2], t[3], 100 * (t[1] + t[2]) / t[3]
  }' "$home/board.log"
# The peer, on a board of its own, with the frames the console sent.
mkdir -p "$home/bare"
"$b/apps/brivel-board-sim/brivel-board-sim" --link "$home/bare/com7" --log "$home/bare/board.log" --instant \
  > "$home/bare/sim.out" 2>&1 &
sim2=$!
for _ in $(seq 100); do grep -q '^ready' "$home/bare/sim.out" && break; sleep 0.1; done
"$bare" "$home/board.log" "$home/bare/com7" --spin > /dev/null
# Both runs timed alike: from the first "AGxxxxx" to the last "ZGxxxxx" the board received.
span() { awk '$2 == ">" && substr($3, 1, 2) == "AG" && !s { s = $1 } $2 == ">" && substr($3, 1, 2) == "ZG" { e = $1 } END { print e - s }' "$1"; }
awk -v run="$(span "$home/board.log")" -v bare="$(span "$home/bare/board.log")" 'BEGIN {
  printf "the same frames with only the waits (brivel-bare-console): %.1f s: run/bare %.3f\n", bare / 1000, run / bare }'
