#!/usr/bin/env bash
# Runs a command against a private PostgreSQL test cluster:
#   with-pg-cluster.sh CMD [ARGS...]
# starts the cluster (pg-test-cluster.sh start), exports its environment (NORVIK_TEST_PG_DSN,
# NORVIK_PG_PORT, NORVIK_PG_DATADIR, ODBCSYSINI, PGHOST, PGPORT, PGUSER), runs CMD, then stops
# the cluster and deletes it whatever happened, and exits with CMD's exit code.
# Example:  scripts/with-pg-cluster.sh ctest --test-dir build --output-on-failure
set -uo pipefail

if [[ $# -eq 0 ]]; then
    echo "usage: $0 CMD [ARGS...]" >&2
    exit 2
fi

here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
cluster_env=$("$here/pg-test-cluster.sh" start) || { echo "with-pg-cluster: the cluster did not start" >&2; exit 1; }
eval "$cluster_env"

cleanup() { "$here/pg-test-cluster.sh" stop "$NORVIK_PG_DATADIR" || echo "with-pg-cluster: stopping the cluster failed" >&2; }
trap cleanup EXIT
# A signal ends this script through "exit", so the EXIT trap stops the cluster.
trap 'exit 129' HUP
trap 'exit 130' INT
trap 'exit 143' TERM

"$@"
exit $?
