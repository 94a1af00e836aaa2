#!/usr/bin/env bash
# Results are the same bits everywhere only if the library does all arithmetic itself and rounds after every step.
# Looks for calls of the C library's mathematics and for fused instructions in a library's object files:
# check_arithmetic.sh NM OBJDUMP OBJECT...
set -euo pipefail

nm=$1
objdump=$2
shift 2
status=0

report() {
    if [ -n "$2" ]; then
        printf '%s\n%s\n' "$1" "$2" >&2
        status=1
    fi
}

# The machine's own C library knows the names; they are the same on every platform.
# What is exact has one result everywhere: square roots and signs, which unoptimised builds call, and ceilf, by which
# libc++'s hash tables count their buckets.
mathematics=$(nm -D --defined-only "$(cc -print-file-name=libm.so.6)" |
    awk '{ sub(/@.*/, "", $3) } $3 !~ /^(sqrtf?|copysignf?|ceilf)$/ { print $3 }' | sort -u)
calls=$("$nm" --undefined-only "$@" | awk '$1 == "U" { print $2 }' | sort -u)
[ -n "$mathematics" ] && [ -n "$calls" ] || { echo "No symbols found." >&2; exit 1; }
report "Functions of the C library's mathematics:" "$(comm -12 <(echo "$mathematics") <(echo "$calls"))"

# x86: vfmadd, vfnmsub and the like, fused and alternating; arm64: fmadd, fmla and the like; s390x: madbr, msebr.
fused='vfn?m(add|sub)[a-z0-9]*|fn?m(add|sub)|fml[as]l?2?|m[as](d|e|x)br?'
instructions=$("$objdump" -dC --no-show-raw-insn "$@" | awk -F '\t' -v fused="^($fused)\$" '
    / <.*>:$/ { function_name = $0 }
    NF > 1 { ++seen; split($2, word, " "); if (word[1] ~ fused) print function_name, word[1] }
    END { if (seen < 1000) { print "No code found." > "/dev/stderr"; exit 1 } }' | sort | uniq -c)
report "Fused instructions, by function:" "$instructions"
exit $status
