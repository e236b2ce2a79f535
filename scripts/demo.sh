#!/usr/bin/env bash
# The demonstration: an audit database made from nothing with the norvik tool, filled with a
# small site (locations, assets, hardware, history), then described.
set -euo pipefail
norvik=${1:-build/cli/norvik}
dir=out/demo
rm -rf "$dir"
mkdir -p "$dir"
db="$dir/audit.db"

run() {
    echo "\$ norvik $*"
    "$norvik" --db "$db" "$@"
    echo
}

run init
run option set CompanyName "Example Works Ltd"
run loctype add Site
run loctype add Building --parent Site
run loctype add Room --parent Building
run location add "Head Office;North Wing;Room 101"
run location add "Head Office;South Wing;Server Room"
run location ranges "Head Office;South Wing;Server Room" "10.20.0.1;10.20.1.1" "10.20.0.254;10.20.1.254"
run location list --tree
run location find-ip 10.20.1.17
run asset add "PC-0042" --location "Head Office;North Wing;Room 101"
run asset add "SRV-DB01" --location "Head Office;South Wing;Server Room"
run hw set SRV-DB01 "Motherboard|CPU" Processor "Intel(R) Xeon(R) CPU E5-2620 v4 @ 2.10GHz"
run hw set SRV-DB01 "Motherboard|Memory" "Total Memory" 3221225472 --flags 0x2002
run hw SRV-DB01
run asset rename PC-0042 "PC-0042-FIN"
run asset move PC-0042-FIN --location "Head Office;South Wing;Server Room"
run history PC-0042-FIN
run asset list --location "Head Office" --recursive
run location export "$dir/locations.csv"
cat "$dir/locations.csv"
echo
run info

# The Knowledge Base: built from the sample CSV data, then used to recognise the files of an audit.
kb="$dir/knowledge.ids"
echo "\$ norvik kb build $kb --from tests/data/kb"
"$norvik" kb build "$kb" --from tests/data/kb
echo "\$ norvik kb info $kb"
"$norvik" kb info "$kb"
echo "\$ norvik kb recognise $kb --files tests/data/kb/audit_files.txt"
"$norvik" kb recognise "$kb" --files tests/data/kb/audit_files.txt
echo

# Agent inventories: imported, imported again (nothing changed), then a licence counted against them.
inventories=(tests/data/inventories/workstation.xml tests/data/inventories/laptop.json
             tests/data/inventories/placeholders.ocs)
run import "${inventories[@]}"
run import "${inventories[@]}"
run app list --asset WS-ALPHA
run licence type add "Per Seat" --per-pc
run licence set bash --type "Per Seat" --count 0
run licence check
run licence report
echo "The audit database is $db and the Knowledge Base $kb; try: $norvik --help"
