#!/usr/bin/env bash
# Peak memory and time of a whole opening of a piece (brivel-card: the
# console's own "Ouvrir Fichier Midi...", conversion, Temp/midid.dat written
# and read back, event list) on generated files of 1, 10 and 50 MB.
#   bench/opening_memory.sh BUILD_DIR [OTHER_BRIVEL_CARD]
# With a second brivel-card (an older build), both are measured in the same
# run, on the same files, and the ratio of their peaks is printed.
set -euo pipefail
b=$1
other=${2:-}
mkdir -p "$b/data"
for mb in 1 10 50; do
  f="$b/data/${mb}mb.mid"
  [[ -f $f ]] || "$b/bench/brivel-make-midi" "$f" $((mb * 1048576)) 16 500
done
# Peak resident memory in KB and wall time in ms of one run.
measure() {
  local t0 t1 kb
  t0=$(date +%s%N)
  # brivel-card ends with status 1 on a piece past the row limit: still measured
  kb=$( (/usr/bin/time -f %M "$@" 2>&1 > /dev/null || true) | tail -1)
  t1=$(date +%s%N)
  echo "$kb $(( (t1 - t0) / 1000000 ))"
}
printf '%-6s %14s %10s' file peak_KB ms
[[ -n $other ]] && printf ' %16s %10s %8s' other_peak_KB other_ms ratio
printf '\n'
for mb in 1 10 50; do
  f="$b/data/${mb}mb.mid"
  read -r kb ms < <(measure "$b/apps/brivel-card/brivel-card" "$f")
  printf '%-6s %14s %10s' "${mb}MB" "$kb" "$ms"
  if [[ -n $other ]]; then
    read -r okb oms < <(measure "$other" "$f")
    printf ' %16s %10s %7sx' "$okb" "$oms" "$(awk -v a="$okb" -v b="$kb" 'BEGIN { printf "%.1f", a / b }')"
  fi
  printf '\n'
done
