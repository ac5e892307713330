#!/usr/bin/env bash
# Builds the fuzz targets with clang (libFuzzer, address and
# undefined-behaviour sanitizers) in build-fuzz and runs each for SECONDS
# (default 600) on its seeds: the MIDI decoder, then the readers of .set and
# .sav files (seeds set_* and sav_*); further arguments go to the fuzzer
# (for example -max_len=20000 to cross many read windows). Findings land in build-fuzz/ as crash-*,
# leak-* or timeout-* files; each one becomes a regression test.
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-600}
b=build-fuzz
# clang and its libFuzzer runtime come from the distribution.
if ! command -v clang++ > /dev/null; then
  sudo=$([[ $(id -u) -eq 0 ]] && echo "" || echo sudo)
  $sudo apt-get update -q && $sudo apt-get install -y -q clang
fi
CC=clang CXX=clang++ cmake -S . -B "$b" -G Ninja -DCMAKE_BUILD_TYPE=Debug -DBRIVEL_FUZZ=ON \
  -DBRIVEL_GUI=OFF -DBRIVEL_TESTS=OFF > /dev/null
cmake --build "$b" --target vertalen_fuzz fichiers_fuzz
mkdir -p "$b/corpus" "$b/corpus-fichiers"
cp fuzz/seeds/*.mid data/sample.mid "$b/corpus/"
cp fuzz/seeds/set_* fuzz/seeds/sav_* "$b/corpus-fichiers/"
cd "$b"
./fuzz/vertalen_fuzz -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -print_final_stats=1 \
  -dict=../fuzz/midi.dict "${@:2}" corpus
./fuzz/fichiers_fuzz -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -print_final_stats=1 \
  "${@:2}" corpus-fichiers
