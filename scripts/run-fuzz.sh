#!/usr/bin/env bash
# A short run of every fuzz target (the Knowledge Base file reader, the query parser, the index
# builds and recognition over damaged files, and the inventory readers), each started from its
# checked-in seeds in fuzz/seeds/, for `make test`. Builds the targets with clang first (folder:
# $1, default build-fuzz). A finding fails the run; its input is kept in out/fuzz/ to become a
# regression test.
#   NORVIK_FUZZ_SECONDS   seconds per target (default 20)
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
root=$(dirname "$here")
build=${1:-$root/build-fuzz}
seconds=${NORVIK_FUZZ_SECONDS:-20}
targets=(kb_file kb_query kb_recognise inventory)

CC=clang CXX=clang++ cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DNORVIK_BUILD_FUZZ=ON -DNORVIK_WERROR=ON \
    -DNORVIK_BUILD_TESTS=OFF >/dev/null
cmake --build "$build" -j "${NORVIK_JOBS:-$(nproc)}" --target "${targets[@]/%/_fuzz}" >/dev/null

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
status=0
for target in "${targets[@]}"; do
    # New inputs go to the first folder only, so the seeds stay as they are.
    mkdir "$work/$target"
    options=(-max_total_time="$seconds" -rss_limit_mb=2048 -timeout=10 -artifact_prefix="$work/$target-")
    [[ -f "$root/fuzz/$target.dict" ]] && options+=(-dict="$root/fuzz/$target.dict")
    if "$build/fuzz/${target}_fuzz" "${options[@]}" "$work/$target" "$root/fuzz/seeds/$target" \
        >"$work/$target.log" 2>&1; then
        echo "fuzz $target: ${seconds} s, $(grep -o 'Done [0-9]* runs' "$work/$target.log" || true), no finding"
    else
        status=1
        mkdir -p "$root/out/fuzz"
        cp "$work/$target"-* "$root/out/fuzz/" 2>/dev/null || true
        tail -n 40 "$work/$target.log" >&2
        echo "fuzz $target: FINDING (input kept in out/fuzz/)" >&2
    fi
done
exit $status
