#!/usr/bin/env bash
# The cost of a run, this build against another, in one run: punches the
# sample piece with each build's console against its brivel-board-sim
# (instant board) and prints what bench/punch_run.sh reports for each: wall
# time against the waits the console asks for and against a bare console
# playing the same frames, and the console's CPU. With ROUNDS=N the two
# builds take turns N times and the medians close the report: on a virtual
# machine two runs of one build differ by a few per cent.
# Usage: [ROUNDS=N] bench/run_cost.sh NEW_BUILD OLD_BUILD [PIECE.mid]
set -euo pipefail
cd "$(dirname "$0")/.."
new=${1:?build folder of this version}
old=${2:?build folder of the version to compare with}
piece=${3:-data/sample.mid}
rounds=${ROUNDS:-1}
# One bare console for both: the peer is the same whatever the builds.
[ -x "$new/bench/brivel-bare-console" ] || cmake --build "$new" --target brivel-bare-console > /dev/null
export BARE_CONSOLE=$new/bench/brivel-bare-console
report=$(mktemp)
trap 'rm -f "$report"' EXIT
for _ in $(seq "$rounds"); do
  for b in "$old" "$new"; do
    echo "== $b"
    out=$(bash bench/punch_run.sh "$b" "$piece")
    echo "$out"
    sed "s|^|$b |" <<< "$out" >> "$report"
  done
done
[ "$rounds" -gt 1 ] || exit 0
echo "== medians of $rounds rounds"
for b in "$old" "$new"; do
  awk -v b="$b" '
    function median(a, n,   i, j, t) {
      for (i = 1; i <= n; i++) for (j = i + 1; j <= n; j++) if (a[j] < a[i]) { t = a[i]; a[i] = a[j]; a[j] = t }
      return n % 2 ? a[(n + 1) / 2] : (a[n / 2] + a[n / 2 + 1]) / 2 }
    $1 != b { next }
    /run\/machine/ { m[++nm] = $NF }
    /run\/bare/ { r[++nr] = $NF }
    /% of one core/ { c[++nc] = $(NF - 4) }
    END { printf "%s: run/machine %.3f, run/bare %.3f, CPU %.1f %% of one core\n", b, median(m, nm), median(r, nr), median(c, nc) }' "$report"
done
