#!/usr/bin/env bash
# The demonstration: an audit database made from nothing with the norvik tool, then described.
set -euo pipefail
norvik=${1:-build/cli/norvik}
dir=out/demo
rm -rf "$dir"
mkdir -p "$dir"
db="$dir/audit.db"

run() {
    echo "\$ norvik $*"
    "$norvik" "$@"
    echo
}

run --db "$db" init
run --db "$db" option set CompanyName "Example Works Ltd"
run --db "$db" option get CompanyName
run --db "$db" info
echo "The audit database is $db; try: $norvik --db $db --help"
