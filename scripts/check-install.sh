#!/usr/bin/env bash
# Installs a build into a temporary prefix and uses it from outside the tree as a user would:
# the tool (--version, init, the man page, bash completion) and a small program built against
# the installed package both ways, with find_package(Norvik) and with pkg-config, each run on a
# SQLite database to add an asset. Every installed header must compile on its own.
#   check-install.sh BUILD_DIR CXX_COMPILER
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
root=$(dirname "$here")
build=$1
cxx=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix
fail() {
    echo "check-install: $*" >&2
    exit 1
}

cmake --install "$build" --prefix "$prefix" >/dev/null
tool=$prefix/bin/norvik
version=$(sed -n 's/^project(norvik VERSION \([0-9.]*\).*/\1/p' "$root/CMakeLists.txt")
[[ $("$tool" --version) == "norvik $version" ]] || fail "norvik --version says '$("$tool" --version)'"
libdir=$(dirname "$(find "$prefix" -name 'libnorvik.so' | head -n 1)")
[[ -L $libdir/libnorvik.so ]] || fail "libnorvik.so is not a link to the versioned library"
[[ -z $(find "$prefix" -name '*.a') ]] || fail "a static library was installed"
[[ -f $prefix/share/man/man1/norvik.1 ]] || fail "no man page"
grep -q '^\.SS asset' "$prefix/share/man/man1/norvik.1" || fail "the man page lacks the asset command"

# Bash completion, against the installed tool.
complete_words() {
    bash -c 'source "$1"; shift; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); _norvik; echo "${COMPREPLY[*]}"' \
        _ "$prefix/share/bash-completion/completions/norvik" "$tool" "$@"
}
[[ $(complete_words as) == asset ]] || fail "completion of 'as' gave '$(complete_words as)'"
[[ $(complete_words --db x.db asset re) == rename ]] || fail "completion of 'asset re' gave '$(complete_words --db x.db asset re)'"
[[ $(complete_words kb check) == check-common ]] || fail "completion of 'kb check' gave '$(complete_words kb check)'"

# CMake: find_package(Norvik); the database made by the installed tool.
cmake -S "$root/tests/install/consumer" -B "$work/cmake-build" -DCMAKE_CXX_COMPILER="$cxx" \
    -DCMAKE_PREFIX_PATH="$prefix" >"$work/cmake.log" 2>&1 || { cat "$work/cmake.log" >&2; fail "configuring the consumer failed"; }
cmake --build "$work/cmake-build" >"$work/build.log" 2>&1 || { cat "$work/build.log" >&2; fail "building the consumer failed"; }
"$tool" --db "$work/a.db" init >/dev/null
LD_LIBRARY_PATH=$libdir "$work/cmake-build/consumer" "$work/a.db" "PC-01" >"$work/out" || fail "the CMake consumer failed"
grep -q '^[1-9][0-9]* PC-01$' "$work/out" || fail "the CMake consumer printed '$(cat "$work/out")'"
"$tool" --db "$work/a.db" asset list | grep -q 'PC-01' || fail "the tool does not list the consumer's asset"

# pkg-config; the database made by the library.
export PKG_CONFIG_PATH=$libdir/pkgconfig
[[ $(pkg-config --modversion norvik) == "$version" ]] || fail "pkg-config gives version $(pkg-config --modversion norvik)"
read -r -a flags <<<"$(pkg-config --cflags --libs norvik)"
"$cxx" -std=c++20 "$root/tests/install/consumer/main.cpp" "${flags[@]}" -Wl,-rpath,"$libdir" -o "$work/consumer" ||
    fail "building the consumer with pkg-config failed"
"$work/consumer" "$work/b.db" "PC-02" >"$work/out" || fail "the pkg-config consumer failed"
grep -q '^[1-9][0-9]* PC-02$' "$work/out" || fail "the pkg-config consumer printed '$(cat "$work/out")'"
"$tool" --db "$work/b.db" info >/dev/null || fail "norvik info fails on the database the library made"

read -r -a cflags <<<"$(pkg-config --cflags norvik)"
includedir=${cflags[0]#-I}
while read -r header; do
    echo "#include \"$header\"" | "$cxx" -std=c++20 -Wall -Wextra -Werror -fsyntax-only "${cflags[@]}" -x c++ - ||
        fail "the installed $header does not compile on its own"
done < <(cd "$includedir" && find . -name '*.h' | sed 's|^\./||')
echo "check-install: ok ($prefix: $(find "$prefix" -type f | wc -l) files)"
