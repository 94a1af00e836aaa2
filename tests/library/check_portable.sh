#!/usr/bin/env bash
# A library to ship must load on every Linux since glibc 2.28: looks at the libraries that it needs and at the
# versions of their symbols: check_portable.sh LIBRARY
set -euo pipefail

needed=$(readelf -dW "$1" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p')
others=$(grep -vE '^(libc\.so\.6|libgcc_s\.so\.1|ld-linux-.*\.so\.[12])$' <<<"$needed" || true)
if [ -z "$needed" ] || [ -n "$others" ]; then
    echo "$1 needs other libraries than the C library and the unwinder: ${others:-none found}" >&2
    exit 1
fi
newest=$(readelf -VW "$1" | grep -oE 'GLIBC_[0-9.]+' | sort -uV | tail -n 1)
if [ "$(printf 'GLIBC_2.28\n%s\n' "$newest" | sort -V | tail -n 1)" != GLIBC_2.28 ]; then
    echo "$1 needs $newest:" >&2
    nm -D --undefined-only "$1" | grep "$newest" >&2
    exit 1
fi
