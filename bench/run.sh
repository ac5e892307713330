#!/usr/bin/env bash
# Times our MIDI decoder against midicsv (Debian) on the same generated files,
# in one run, and reports the ratio and the peak memory of each; then runs the
# Google Benchmark programs (decoder, and an import at the 32767-row limit).
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh
b=build-bench
cmake -S . -B "$b" -G Ninja -DCMAKE_BUILD_TYPE=Release -DBRIVEL_BENCH=ON -DBRIVEL_TESTS=OFF > /dev/null
cmake --build "$b" --target brivel-make-midi brivel-vertalen bench_brivel brivel-card > /dev/null
mkdir -p "$b/data"
"$b/bench/brivel-make-midi" "$b/data/1mb.mid" 1048576 16 500
"$b/bench/brivel-make-midi" "$b/data/10mb.mid" 10485760 64 900
best() {  # best wall time of 5 runs, in ms
  local best=999999999
  for _ in 1 2 3 4 5; do
    local t0 t1
    t0=$(date +%s%N); "$@" > /dev/null; t1=$(date +%s%N)
    local ms=$(( (t1 - t0) / 1000000 ))
    (( ms < best )) && best=$ms
  done
  echo "$best"
}
peak() { /usr/bin/time -f %M "$@" 2>&1 > /dev/null | tail -1; }
printf '%-8s %12s %12s %8s %14s %14s\n' file brivel_ms midicsv_ms ratio brivel_peakKB midicsv_peakKB
for f in 1mb 10mb; do
  ours=$(best "$b/bench/brivel-vertalen" "$b/data/$f.mid")
  peer=$(best midicsv "$b/data/$f.mid" /dev/null)
  ratio=$(awk -v a="$peer" -v b="$ours" 'BEGIN { printf "%.2f", (b > 0 ? a / b : 0) }')
  printf '%-8s %12s %12s %8s %14s %14s\n' "$f" "$ours" "$peer" "${ratio}x" \
    "$(peak "$b/bench/brivel-vertalen" "$b/data/$f.mid")" "$(peak midicsv "$b/data/$f.mid" /dev/null)"
done
# A whole opening, as the console makes it: peak memory and time by file size.
bash bench/opening_memory.sh "$b"
"$b/bench/bench_brivel"
