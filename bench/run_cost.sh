#!/usr/bin/env bash
# The cost of a run, this build against another, in one run: punches the
# sample piece with each build's console against its brivel-board-sim
# (instant board) and prints what bench/punch_run.sh reports for each: wall
# time against the waits the console asks for, and the console's CPU.
# Usage: bench/run_cost.sh NEW_BUILD OLD_BUILD [PIECE.mid]
set -euo pipefail
cd "$(dirname "$0")/.."
new=${1:?build folder of this version}
old=${2:?build folder of the version to compare with}
piece=${3:-data/sample.mid}
for b in "$old" "$new"; do
  echo "== $b"
  bash bench/punch_run.sh "$b" "$piece"
done
