#!/usr/bin/env bash
# Runs every benchmark program of a benchmark build folder (default build-bench).
set -euo pipefail
dir=${1:-build-bench}
for program in "$dir"/bench/*_bench; do
    echo "== $(basename "$program")"
    "$program" --benchmark_counters_tabular=true
done
