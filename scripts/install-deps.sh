#!/usr/bin/env bash
# Installs the Debian packages Norvik builds, tests and runs with, when some are missing.
# Needs root for apt-get; does nothing when everything is already there.
set -euo pipefail

packages=(
    build-essential cmake make clang clang-format libclang-rt-dev
    libgtest-dev libgmock-dev libbenchmark-dev
    unixodbc unixodbc-dev libsqliteodbc odbc-postgresql
    postgresql sqlite3
    libsodium-dev
    help2man pkgconf dpkg-dev
    libpugixml-dev rapidjson-dev
    libcpp-httplib-dev zlib1g-dev libssl-dev openssl fusioninventory-agent
)

missing=()
for package in "${packages[@]}"; do
    dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "install ok installed" || missing+=("$package")
done
[[ ${#missing[@]} -eq 0 ]] && exit 0

if [[ $EUID -ne 0 ]]; then
    echo "install-deps: missing packages: ${missing[*]} (run as root, or install them)" >&2
    exit 1
fi
echo "install-deps: installing ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
apt-get update -qq
apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
# The agent is here for the tests and the demo, which run it by hand; its own daemon would
# report to a server this machine does not have.
if [[ -d /run/systemd/system ]]; then
    systemctl disable --now fusioninventory-agent.service >/dev/null 2>&1 || true
fi
