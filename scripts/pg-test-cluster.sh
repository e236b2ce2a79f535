#!/usr/bin/env bash
# Private, throw-away PostgreSQL cluster for the tests: one temporary folder holding the data,
# the log and the unix socket, listening on 127.0.0.1 only, on a free port, trust auth.
#
#   pg-test-cluster.sh start        creates and starts a cluster; prints "export" lines
#   pg-test-cluster.sh env [DIR]    prints the "export" lines of a running cluster
#   pg-test-cluster.sh stop [DIR]   stops the cluster and deletes its folder
#
# DIR defaults to $NORVIK_PG_DATADIR. Typical use:  eval "$(scripts/pg-test-cluster.sh start)"
# The exported NORVIK_TEST_PG_DSN is an ODBC connection string for the cluster's "postgres"
# database (encoding SQL_ASCII, locale C); PGHOST, PGPORT and PGUSER make psql and createdb
# reach the same cluster. The library itself sets the client encoding to SQL_ASCII on a
# SQL_ASCII database, so the DSN carries no encoding setting. One driver quirk is handled here:
#   - CommLog=0 in the DSN stops the per-connection log, but the driver still writes a
#     psqlodbc_*.log into /tmp on disconnect when the system driver list (odbcinst.ini)
#     says CommLog=1, as Debian's does; ODBCSYSINI is pointed at a copy of the system
#     driver list with logging switched off, kept in the cluster folder.
#
# PostgreSQL refuses to run as root, so when started by root the cluster belongs to and runs
# as the system user "postgres" (created when missing); any other user runs it as itself.
# Environment: NORVIK_PG_BINDIR (folder of initdb and pg_ctl; default: the newest
# /usr/lib/postgresql/*/bin, else the PATH), NORVIK_PG_TMPDIR (where the folder is made;
# default /tmp, which the postgres user can reach).
set -euo pipefail

readonly MARKER=norvik-test-cluster   # file in the folder; holds the port; guards "stop"
readonly CLUSTER_USER=postgres

die() { echo "pg-test-cluster: $*" >&2; exit 1; }

find_bindir() {
    if [[ -n "${NORVIK_PG_BINDIR:-}" ]]; then
        [[ -x "$NORVIK_PG_BINDIR/initdb" ]] || die "no initdb in NORVIK_PG_BINDIR=$NORVIK_PG_BINDIR"
        echo "$NORVIK_PG_BINDIR"
        return
    fi
    local dir version best="" best_version=-1
    for dir in /usr/lib/postgresql/*/bin; do
        [[ -x "$dir/initdb" && -x "$dir/pg_ctl" ]] || continue
        version=${dir#/usr/lib/postgresql/}
        version=${version%/bin}
        [[ "$version" =~ ^[0-9]+$ ]] || continue
        if ((version > best_version)); then
            best=$dir
            best_version=$version
        fi
    done
    if [[ -z "$best" ]]; then
        local initdb
        initdb=$(command -v initdb) || die "PostgreSQL server binaries (initdb, pg_ctl) not found"
        best=$(dirname "$initdb")
    fi
    echo "$best"
}

# Runs a command as the cluster's owner: the postgres user under root, else the caller.
as_owner() {
    if [[ $EUID -eq 0 ]]; then
        (cd / && runuser -u "$CLUSTER_USER" -- "$@")
    else
        "$@"
    fi
}

ensure_cluster_user() {
    [[ $EUID -eq 0 ]] || return 0
    id -u "$CLUSTER_USER" >/dev/null 2>&1 && return 0
    useradd --system --user-group --no-create-home --home-dir /nonexistent \
        --shell /usr/sbin/nologin --comment "PostgreSQL administrator" "$CLUSTER_USER" ||
        die "cannot create the system user $CLUSTER_USER"
}

port_in_use() {
    # A successful connect means someone listens there.
    (exec 3<>"/dev/tcp/127.0.0.1/$1") 2>/dev/null
}

print_env() {
    local dir=$1 port=$2
    cat <<EOF
export NORVIK_PG_PORT=$port
export NORVIK_PG_DATADIR=$dir
export NORVIK_TEST_PG_DSN='Driver={PostgreSQL ANSI};Server=127.0.0.1;Port=$port;Database=postgres;Uid=postgres;CommLog=0;Debug=0;'
export ODBCSYSINI=$dir/odbc
export PGHOST=127.0.0.1
export PGPORT=$port
export PGUSER=postgres
EOF
}

# A copy of the system's ODBC driver and data-source lists with driver logging off.
write_odbc_config() {
    local target=$1 sysdir
    sysdir=$(odbcinst -j 2>/dev/null | sed -n 's/^DRIVERS\.*: *//p')
    sysdir=$(dirname "${sysdir:-/etc/odbcinst.ini}")
    mkdir -p "$target"
    if [[ -f "$sysdir/odbcinst.ini" ]]; then
        sed -E 's/^[[:space:]]*(CommLog|Debug)[[:space:]]*=.*/\1=0/I' "$sysdir/odbcinst.ini" >"$target/odbcinst.ini"
    else
        : >"$target/odbcinst.ini"
    fi
    if [[ -f "$sysdir/odbc.ini" ]]; then cp "$sysdir/odbc.ini" "$target/odbc.ini"; else : >"$target/odbc.ini"; fi
}

cluster_dir() {
    local dir=${1:-${NORVIK_PG_DATADIR:-}}
    [[ -n "$dir" ]] || die "no cluster folder given and NORVIK_PG_DATADIR is not set"
    [[ -f "$dir/$MARKER" ]] || die "$dir is not a test cluster made by this script"
    echo "$dir"
}

cmd_start() {
    local bindir dir port attempt started=""
    bindir=$(find_bindir)
    ensure_cluster_user
    local base=${NORVIK_PG_TMPDIR:-/tmp}
    dir=$(mktemp -d "$base/norvik-pg.XXXXXX")
    # From here on a failure removes the half-made cluster.
    trap 'as_owner "$bindir/pg_ctl" -D "$dir" -m immediate stop >/dev/null 2>&1 || true; rm -rf "$dir"' EXIT
    if [[ $EUID -eq 0 ]]; then chown "$CLUSTER_USER:" "$dir"; fi
    chmod 700 "$dir"

    as_owner "$bindir/initdb" -D "$dir" -U postgres -A trust -E SQL_ASCII --locale=C \
        --no-sync >"$dir.initdb.log" 2>&1 || { cat "$dir.initdb.log" >&2; rm -f "$dir.initdb.log"; die "initdb failed"; }
    rm -f "$dir.initdb.log"

    # Loopback only, socket in the folder, and no durability: the cluster dies with the test.
    as_owner tee -a "$dir/postgresql.conf" >/dev/null <<EOF

# Test cluster settings
listen_addresses = '127.0.0.1'
unix_socket_directories = '$dir'
fsync = off
synchronous_commit = off
full_page_writes = off
max_connections = 200
EOF
    as_owner tee "$dir/pg_hba.conf" >/dev/null <<EOF
local all all trust
host all all 127.0.0.1/32 trust
EOF

    # A port free now may be taken before the server binds it; try a few. The last "port"
    # line of postgresql.conf wins, so each attempt appends its own.
    for attempt in 1 2 3 4 5 6 7 8 9 10; do
        port=$((20000 + (RANDOM * 32768 + RANDOM) % 30000))
        port_in_use "$port" && continue
        echo "port = $port" | as_owner tee -a "$dir/postgresql.conf" >/dev/null
        if as_owner "$bindir/pg_ctl" -D "$dir" -l "$dir/postgres.log" -w -t 60 start >/dev/null 2>&1; then
            started=1
            break
        fi
    done
    [[ -n "$started" ]] || { cat "$dir/postgres.log" >&2 2>/dev/null || true; die "the server did not start"; }
    echo "$port" | as_owner tee "$dir/$MARKER" >/dev/null
    write_odbc_config "$dir/odbc"
    trap - EXIT
    print_env "$dir" "$port"
}

cmd_env() {
    local dir
    dir=$(cluster_dir "${1:-}")
    print_env "$dir" "$(cat "$dir/$MARKER")"
}

cmd_stop() {
    local dir bindir
    dir=$(cluster_dir "${1:-}")
    bindir=$(find_bindir)
    if [[ -f "$dir/postmaster.pid" ]]; then
        as_owner "$bindir/pg_ctl" -D "$dir" -m fast -w -t 60 stop >/dev/null ||
            as_owner "$bindir/pg_ctl" -D "$dir" -m immediate -w stop >/dev/null || true
    fi
    rm -rf -- "$dir"
}

case "${1:-}" in
    start) cmd_start ;;
    env) cmd_env "${2:-}" ;;
    stop) cmd_stop "${2:-}" ;;
    *) echo "usage: $0 start | env [DIR] | stop [DIR]" >&2; exit 2 ;;
esac
