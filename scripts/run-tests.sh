#!/usr/bin/env bash
# The whole test suite: the normal build and the sanitizer build, each run against SQLite and
# against one private PostgreSQL cluster started for the run (see with-pg-cluster.sh). The
# Release build (built with its tests so that a warning at -O3 fails) is installed and packaged
# by the tests labelled "install", which run there only.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
root=$(dirname "$here")
jobs=${NORVIK_JOBS:-$(nproc)}

# Leaks inside the ODBC driver manager and the drivers are theirs, not ours.
export LSAN_OPTIONS="suppressions=$root/tests/lsan.supp:print_suppressions=0"
export ASAN_OPTIONS="detect_leaks=1:abort_on_error=0"
export UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1"

status=0
for build in build build-asan; do
    echo "== ctest in $build"
    ctest --test-dir "$root/$build" -j "$jobs" --output-on-failure --timeout 300 -LE install || status=1
done
if [[ -d $root/build-release ]]; then
    echo "== ctest in build-release (install and package)"
    ctest --test-dir "$root/build-release" -j "$jobs" --output-on-failure -L install || status=1
fi
exit $status
