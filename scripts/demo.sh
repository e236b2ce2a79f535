#!/usr/bin/env bash
# The demonstration: an audit database made from nothing with the norvik tool, filled with a
# small site (locations, assets, hardware, history), then with an inventory of this machine made
# by the Debian agent and a few inventories of our own, imported twice, and described by
# `norvik report`. The agent is installed when missing (as root); without it the demo goes on
# with our inventories alone.
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

# This machine, inventoried by the agent. Only its stand-alone inventory tool is used: it
# writes the inventory to standard output and talks to no server.
agent_package=fusioninventory-agent
if ! command -v fusioninventory-inventory >/dev/null; then
    if [[ $EUID -eq 0 ]]; then
        echo "\$ apt-get install -y $agent_package"
        DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "$agent_package" >/dev/null ||
            echo "demo: $agent_package cannot be installed: this machine is left out" >&2
        # The package also brings a daemon meant to report to a server; the demo needs none.
        if [[ -d /run/systemd/system ]]; then
            systemctl disable --now fusioninventory-agent.service >/dev/null 2>&1 || true
        fi
    else
        echo "demo: $agent_package is not installed and this is not root: this machine is left out" >&2
    fi
fi
inventories=()
if command -v fusioninventory-inventory >/dev/null; then
    machine="$dir/this-machine.xml"
    [[ $EUID -eq 0 ]] || echo "demo: not root: the agent sees less of the hardware" >&2
    echo "\$ fusioninventory-inventory > $machine"
    if fusioninventory-inventory >"$machine" 2>"$dir/agent.log"; then
        inventories+=("$machine")
    else
        echo "demo: the agent failed (see $dir/agent.log): this machine is left out" >&2
    fi
    echo
fi

# Imported with inventories of our own, then again: nothing has changed the second time. Then a
# licence is counted against them, and the site is described.
inventories+=(tests/data/inventories/workstation.xml tests/data/inventories/laptop.json
              tests/data/inventories/placeholders.ocs)
run import "${inventories[@]}"
run import "${inventories[@]}"
run app list --asset WS-ALPHA
run licence type add "Per Seat" --per-pc
run licence set bash --type "Per Seat" --count 0
run licence check
run report
# The server: this machine's agent reports to `norvik serve` as every computer of a site does,
# into a database of its own (so that the machine is new there). The categories that change
# from one minute to the next on a live machine (free disk space, processes, users) are left
# out, so that the second report shows the machine unchanged.
if command -v fusioninventory-agent >/dev/null; then
    served="$dir/served.db"
    "$norvik" --db "$served" init >/dev/null
    echo "\$ norvik --db $served serve --listen 127.0.0.1:0 --log $dir/serve.log &"
    "$norvik" --db "$served" serve --listen 127.0.0.1:0 --log "$dir/serve.log" >"$dir/serve.out" 2>&1 &
    server=$!
    url=
    for _ in $(seq 1 200); do
        url=$(sed -n 's/^listening on //p' "$dir/serve.out")
        [[ -n $url ]] && break
        sleep 0.05
    done
    if [[ -z $url ]]; then
        echo "demo: the server did not start (see $dir/serve.out)" >&2
        kill "$server" 2>/dev/null || true
    else
        cat "$dir/serve.out"
        agent=(fusioninventory-agent --server "$url" --tasks inventory --force
               --no-category printer,process,environment,user,drive)
        for round in first second; do
            echo "\$ ${agent[*]}   # $round report"
            "${agent[@]}" >"$dir/agent-$round.log" 2>&1 || echo "demo: the agent failed (see $dir/agent-$round.log)" >&2
            tail -n 1 "$dir/serve.log"
            echo
        done
        run_served() {
            echo "\$ norvik --db $served $*"
            "$norvik" --db "$served" "$@"
            echo
        }
        run_served asset list
        # The console as a browser shows it: the overview and this machine's page.
        if command -v chromium >/dev/null; then
            asset=$("$norvik" --db "$served" --json asset list | grep -o '"id": [0-9]*' | head -n 1 | grep -o '[0-9]*')
            profile=$(mktemp -d)
            for page in overview "asset:assets/$asset"; do
                name=${page%%:*}
                path=${page#*:}
                [[ $path == overview ]] && path=
                chromium --headless --no-sandbox --disable-gpu --disable-quic --no-first-run \
                    --disable-background-networking --disable-component-update --disable-sync \
                    --user-data-dir="$profile" --window-size=1280,1024 \
                    --screenshot="$dir/console-$name.png" "$url$path" >/dev/null 2>&1 ||
                    echo "demo: chromium could not take the $name screenshot" >&2
            done
            rm -rf "$profile"
            echo "Console screenshots: $dir/console-overview.png, $dir/console-asset.png"
            echo
        fi
        echo "\$ kill -TERM $server"
        kill -TERM "$server"
        wait "$server" || true
        cat "$dir/serve.out"
        echo
        echo "To run the server for real (agents then use --server http://THIS-HOST:8080/, and the"
        echo "console is http://THIS-HOST:8080/ in a browser; without --open-console, switch security"
        echo "on first with a console user: norvik user add, norvik user password, norvik security on):"
        echo "  $norvik --db $served serve --listen 0.0.0.0:8080 --open-console --log $dir/serve.log"
        echo
    fi
fi
echo "The audit database is $db and the Knowledge Base $kb; try: $norvik --help"
