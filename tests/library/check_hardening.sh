#!/usr/bin/env bash
# Flags get lost silently: looks for what they leave in a library: check_hardening.sh LIBRARY
set -euo pipefail

facts=$(readelf -ldnW "$1" && nm -D --undefined-only "$1")
status=0
expect() {
    grep -qE "$2" <<<"$facts" || { echo "$1 is missing in the library." >&2; status=1; }
}
expect "Relocations that are read-only" 'GNU_RELRO'
expect "Binding at load time" 'FLAGS.*NOW'
expect "A stack that isn't executable" 'GNU_STACK.* RW '
expect "The stack protector" '__stack_chk_fail'
expect "Checks of the sizes of buffers" '__(v?snprintf|mem[a-z]+)_chk'
if grep -q 'X86_64' <<<"$(readelf -hW "$1" | tr - _ | tr a-z A-Z)"; then
    expect "The mark for a shadow stack" 'SHSTK'
fi
exit $status
