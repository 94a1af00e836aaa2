#!/usr/bin/env bash
# Compares what a shared library or DLL exports with the names beside this script: check_exports.sh LIBRARY
set -euo pipefail

expected="$(dirname "${BASH_SOURCE[0]}")/exports.txt"
case "$1" in
*.dll) names() { x86_64-w64-mingw32-objdump -p "$1" | awk '/^\[Ordinal\/Name Pointer\]/ { on = 1; next } !NF { on = 0 } on { print $NF }'; } ;;
*) names() { nm -D --defined-only "$1" | awk '{ print $3 }'; } ;;
esac
diff <(names "$1" | LC_ALL=C sort) "$expected" ||
    { echo "The library's exports (<) differ from the interface (>)." >&2; exit 1; }
