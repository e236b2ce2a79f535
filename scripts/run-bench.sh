#!/usr/bin/env bash
# Runs every benchmark program of a benchmark build folder (default build-bench), keeps what
# each one measured in OUT (default DIR/bench-results: Google Benchmark's JSON, serve_bench's
# table, site_bench's JSON) and renders them all into bench/RESULTS.md.
#   NORVIK_SITE_COMPUTERS, NORVIK_SITE_PG_COMPUTERS  the sizes site_bench grows its site through
#                            (default 1000 on both engines; see bench/site_bench.cpp)
#   NORVIK_SITE_RESULTS      site_bench --json files of bigger runs made apart, rendered beside
#                            this run's (a later file's figure wins)
#   NORVIK_BENCH_NOTE        a paragraph for RESULTS.md on how the figures were taken
#   NORVIK_BENCH_PROGRAMS    the programs to run, e.g. "import_bench serve_bench" (default: all)
#   NORVIK_BENCH_MIN_TIME    Google Benchmark's --benchmark_min_time for a shorter run, e.g. 0.2s
set -euo pipefail
dir=${1:-build-bench}
out=${NORVIK_BENCH_OUT:-$dir/bench-results}
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
rm -rf "$out"
mkdir -p "$out"
status=0
gbench_args=(--benchmark_counters_tabular=true --benchmark_out_format=json)
if [[ -n ${NORVIK_BENCH_MIN_TIME:-} ]]; then gbench_args+=("--benchmark_min_time=$NORVIK_BENCH_MIN_TIME"); fi
for program in "$dir"/bench/*_bench; do
    name=$(basename "$program")
    if [[ -n ${NORVIK_BENCH_PROGRAMS:-} && " $NORVIK_BENCH_PROGRAMS " != *" $name "* ]]; then continue; fi
    echo "== $name"
    case $name in
        serve_bench | two_servers_bench | history_purge_bench) "$program" | tee "$out/$name.txt" || status=1 ;;
        site_bench)
            NORVIK_SITE_COMPUTERS=${NORVIK_SITE_COMPUTERS:-1000} "$program" --json "$out/$name.json" || status=1 ;;
        *) "$program" "${gbench_args[@]}" --benchmark_out="$out/$name.json" || status=1 ;;
    esac
done
# shellcheck disable=SC2086  # a list of files
python3 "$here/../bench/render_results.py" "$out" ${NORVIK_SITE_RESULTS:-} > "$here/../bench/RESULTS.md"
echo "bench/RESULTS.md written"
exit $status
