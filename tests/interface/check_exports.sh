#!/usr/bin/env bash
# Compares the dynamic symbols that a library defines with the names beside this script: check_exports.sh LIBRARY
set -euo pipefail

expected="$(dirname "${BASH_SOURCE[0]}")/exports.txt"
diff <(nm -D --defined-only "$1" | awk '{ print $3 }' | LC_ALL=C sort) "$expected" ||
    { echo "The library's exports (<) differ from the interface (>)." >&2; exit 1; }
