#!/usr/bin/env bash
# Flags get lost silently: looks for what they leave in a library: check_hardening.sh LIBRARY
set -euo pipefail

status=0
expect() {
    grep -qE "$2" <<<"$facts" || { echo "$1 is missing in the library." >&2; status=1; }
}
if [[ $1 == *.dll ]]; then
    facts=$(x86_64-w64-mingw32-objdump -pt "$1")
    expect "Loading at a random address" 'HIGH_ENTROPY_VA'
    expect "Data that isn't executed" 'NX_COMPAT'
    expect "The stack protector" '__stack_chk_fail'
    expect "Checks of the sizes of buffers" '__(v?snprintf|mem[a-z]+)_chk'
    exit $status
fi
facts=$(readelf -ldnW "$1" && nm -D --undefined-only "$1")
expect "Relocations that are read-only" 'GNU_RELRO'
expect "Binding at load time" 'FLAGS.*NOW'
expect "A stack that isn't executable" 'GNU_STACK.* RW '
expect "The stack protector" '__stack_chk_fail'
expect "Checks of the sizes of buffers" '__(v?snprintf|mem[a-z]+)_chk'
if grep -q 'X86_64' <<<"$(readelf -hW "$1" | tr - _ | tr a-z A-Z)"; then
    expect "The mark for a shadow stack" 'SHSTK'
fi
exit $status
