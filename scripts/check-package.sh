#!/usr/bin/env bash
# Makes the .deb of a build (cpack) in a temporary folder and checks it: its dependencies, that
# it holds the tool, the versioned library, the public headers and the packages for CMake and
# pkg-config but nothing internal, and that the tool unpacked from it creates and reads a database.
#   check-package.sh BUILD_DIR
set -euo pipefail
build=$(cd "$1" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
fail() {
    echo "check-package: $*" >&2
    exit 1
}

(cd "$build" && cpack -G DEB -B "$work/out" >"$work/cpack.log" 2>&1) || { cat "$work/cpack.log" >&2; fail "cpack failed"; }
deb=$(find "$work/out" -maxdepth 1 -name 'norvik_*.deb' | head -n 1)
[[ -n $deb ]] || fail "cpack made no norvik_*.deb"

depends=$(dpkg-deb -f "$deb" Depends)
names=" $(sed 's/ *([^)]*)//g; s/,/ /g' <<<"$depends") "
for package in unixodbc libsqliteodbc libc6 libstdc++6; do
    [[ $names == *" $package "* ]] || fail "Depends lacks $package: $depends"
done

dpkg-deb -c "$deb" | awk '{print $6}' | sed 's|^\./|/|' >"$work/files"
for pattern in '^/usr/bin/norvik$' '^/usr/lib/.*libnorvik\.so\.[0-9.]+$' '^/usr/lib/.*libnorvik\.so$' \
    '^/usr/include/norvik/sql/norvik_sql\.h$' '^/usr/include/norvik/interface/norvik\.h$' \
    '^/usr/lib/.*cmake/Norvik/NorvikConfig\.cmake$' '^/usr/lib/.*cmake/Norvik/NorvikTargets\.cmake$' \
    '^/usr/lib/.*pkgconfig/norvik\.pc$' '^/usr/share/man/man1/norvik\.1' \
    '^/usr/share/bash-completion/completions/norvik$' '^/usr/lib/systemd/system/norvik\.service$'; do
    grep -Eq "$pattern" "$work/files" || fail "the package lacks $pattern"
done
for pattern in '\.a$' 'sql_recordset\.h$' 'odbc_statement\.h$' '^/usr/local/' '/cli/'; do
    if grep -Eq "$pattern" "$work/files"; then fail "the package holds $(grep -E "$pattern" "$work/files" | head -n 1)"; fi
done

# The unpacked tool on this machine's driver registration, as after `apt install ./norvik_*.deb`.
dpkg-deb -x "$deb" "$work/root"
(cd "$work" && root/usr/bin/norvik init >/dev/null && root/usr/bin/norvik info >/dev/null) ||
    fail "norvik init && norvik info fail with the packaged tool"
echo "check-package: ok ($(basename "$deb"), $(wc -l <"$work/files") entries, Depends: $depends)"
