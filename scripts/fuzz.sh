#!/usr/bin/env bash
# Fuzzes the library: fuzz.sh MINUTES, or fuzz.sh --seconds N for each of the four programs. New input that
# reaches new code is kept under build/fuzz/corpus; what breaks something is left in build/fuzz/findings.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

if [ "${1:-}" = --seconds ] && [ $# -eq 2 ]; then
    seconds=$2
elif [ $# -eq 1 ]; then
    seconds=$(($1 * 60))
else
    echo "usage: fuzz.sh MINUTES | fuzz.sh --seconds N" >&2
    exit 2
fi

scripts/install-packages.sh build-essential clang cmake libclang-rt-14-dev ninja-build rapidjson-dev
cmake --preset fuzz >/dev/null
cmake --build --preset fuzz -j "$(nproc)"
corpus=build/fuzz/corpus
build/fuzz/tests/fuzz/make_corpus "$corpus" samples
mkdir -p build/fuzz/findings

run_fuzzer() {
    local name=$1 options=()
    [ "$name" = document ] && options=(-dict=tests/fuzz/document.dict)
    build/fuzz/tests/fuzz/fuzz_"$name" -max_total_time="$seconds" -timeout=120 -rss_limit_mb=2560 \
        -print_final_stats=1 -artifact_prefix=build/fuzz/findings/"$name"- "${options[@]}" "$corpus/$name" \
        >build/fuzz/"$name".log 2>&1 ||
        { tail -n 60 build/fuzz/"$name".log >&2; echo "fuzz_$name found something." >&2; return 1; }
    grep -E 'stat::number_of_executed_units|stat::average_exec_per_sec' build/fuzz/"$name".log |
        sed "s/^/$name /"
    grep -E 'cov: ' build/fuzz/"$name".log | tail -n 1 | sed "s/^/$name /"
}

# Two at a time: as many as the smallest machine has cores.
failed=0
for pair in "document records" "snapshot interface"; do
    pids=()
    for name in $pair; do
        run_fuzzer "$name" &
        pids+=($!)
    done
    for pid in "${pids[@]}"; do
        wait "$pid" || failed=1
    done
done
exit "$failed"
