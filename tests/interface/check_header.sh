#!/usr/bin/env bash
# Compiles the public header alone in every language version that it promises, and compares the functions that it
# declares with the names beside this script: check_header.sh HEADER
set -eu

header="$1"
expected="$(dirname "${BASH_SOURCE[0]}")/exports.txt"

compile() {
    local command=("$@" -Wall -Wextra -Wpedantic -Werror -fsyntax-only)
    "${command[@]}" || { echo "The header alone doesn't compile cleanly: ${command[*]}" >&2; exit 1; }
}

# Once included by an otherwise empty file, and once as the compiled file itself, whose unused constants warn.
check() {
    local compiler="$1" language="$2" standard="$3"
    compile "$compiler" "-std=$standard" -x "$language" -include "$header" /dev/null
    compile "$compiler" "-std=$standard" -x "$language" "$header"
}

for standard in c99 c11; do
    check gcc c "$standard"
    check clang c "$standard"
done
for standard in c++11 c++17 c++20; do
    check g++ c++ "$standard"
    check clang++ c++ "$standard"
done

# A name that is declared twice differs, too.
gcc -E -P -x c "$header" | grep -oE '\<(velkori|brenvik)_[a-z][A-Za-z0-9]*\(' | tr -d '(' | LC_ALL=C sort |
    diff - "$expected" ||
    { echo "The functions that the header declares (<) differ from the interface (>)." >&2; exit 1; }
