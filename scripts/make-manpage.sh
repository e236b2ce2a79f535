#!/usr/bin/env bash
# Makes the norvik man page from the tool's help texts with help2man: the synopsis and global
# options from `norvik --help`, then one COMMANDS entry per verb from `norvik VERB --help`.
#   make-manpage.sh TOOL OUTPUT
set -euo pipefail
tool=$1
output=$2
include=$(mktemp)
trap 'rm -f "$include"' EXIT

# The verbs are the first words of the lines under "Commands:" in the main help.
verbs=$("$tool" --help | sed -n '/^Commands:/,/^$/p' | sed -n 's/^  \([a-z][a-z-]*\) .*/\1/p' | awk '!seen[$0]++')
{
    echo "[COMMANDS]"
    for verb in $verbs; do
        echo ".SS $verb"
        echo ".nf"
        "$tool" "$verb" --help | sed 's/\\/\\e/g; s/^\./\\\&./; s/^'"'"'/\\\&'"'"'/'
        echo ".fi"
    done
    echo "[SEE ALSO]"
    echo "odbcinst(1), sqlite3(1)"
} >"$include"

help2man --no-info --no-discard-stderr --section 1 \
    --name "the Audit Database and the Knowledge Base from the command line" \
    --include "$include" --output "$output" "$tool"
