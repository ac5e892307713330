#!/usr/bin/env bash
# Builds the decoder's fuzz target with clang (libFuzzer, address and
# undefined-behaviour sanitizers) and runs it for SECONDS (default 600) on
# the seed corpus. Findings land in build-fuzz/ as crash-* files.
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-600}
out=build-fuzz
mkdir -p "$out/corpus"
cp fuzz/seeds/* "$out/corpus/" 2>/dev/null || true
clang++ -std=c++20 -g -O1 -fsanitize=fuzzer,address,undefined -fno-sanitize-recover=undefined -Isrc \
  fuzz/vertalen_fuzz.cpp src/import/vertalen.cpp src/core/numbers.cpp src/core/cp1252.cpp -o "$out/vertalen_fuzz"
cd "$out"
./vertalen_fuzz -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -print_final_stats=1 corpus
