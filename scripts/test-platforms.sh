#!/usr/bin/env bash
# Builds the library for other platforms, runs a fixed workload on each, and compares what comes out with
# tests/golden/golden.txt: test-platforms.sh [PRESET...]. Without a name, all platforms. Logs are in build/platforms.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

all=(release clang debug sanitize x86-64-v3 libcxx x86-linux arm64-linux s390x-linux x64-windows wasm)
[ $# -gt 0 ] || set -- "${all[@]}"

# What a platform needs beside CMake, Ninja, RapidJSON and, for the checks of what was built, the machine's own tools.
packages_of() {
    case "$1" in
    release | debug) echo libbenchmark-dev libgtest-dev python3 $(<scripts/tool-packages.txt) ;;
    clang) echo clang libbenchmark-dev libgtest-dev python3 $(<scripts/tool-packages.txt) ;;
    sanitize) echo clang libbenchmark-dev libclang-rt-14-dev libgtest-dev python3 $(<scripts/tool-packages.txt) ;;
    x86-64-v3) ;;
    libcxx) echo clang-19 libc++-19-dev libc++abi-19-dev ;;
    x86-linux) echo g++-i686-linux-gnu ;;
    arm64-linux) echo g++-aarch64-linux-gnu qemu-user ;;
    s390x-linux) echo g++-s390x-linux-gnu qemu-user ;;
    x64-windows) echo g++-mingw-w64-x86-64-posix wine wine64 ;;
    wasm) echo emscripten nodejs ;;
    *)
        echo "$1 is none of: ${all[*]}" >&2
        return 1
        ;;
    esac
}

packages=(build-essential cmake ninja-build rapidjson-dev)
for platform in "$@"; do
    list=$(packages_of "$platform")
    read -ra more <<<"$list"
    packages+=("${more[@]}")
done
scripts/install-packages.sh "${packages[@]}"

mkdir -p build/platforms
build() {
    # A folder that another compiler was used in would keep that, or lose what the preset sets, without a word.
    cmake --fresh --preset "$1" && cmake --build --preset "$1" -j "$(nproc)" --target velkori_golden &&
        ctest --preset "$1" -R '^Library' --output-on-failure
}

rows=()
failed=0
for platform in "$@"; do
    log=build/platforms/$platform.log
    built=no run=no equal=no
    if build "$platform" >"$log" 2>&1; then
        built=yes
        if ctest --preset "$platform" -R '^Golden' --no-tests=error -V >>"$log" 2>&1; then
            run=yes equal=yes
        elif grep -qE '[0-9]+ stages, [0-9]+ differences' "$log"; then
            run=yes
        fi
    fi
    if [ $equal = no ]; then
        failed=1
        echo "== $platform =="
        tail -n 40 "$log"
    fi
    rows+=("$(printf '%-12s | %-5s | %-3s | %s' "$platform" $built $run $equal)")
done

printf '\n%-12s | %-5s | %-3s | %s\n' platform built run equal
printf '%s\n' "${rows[@]}"
exit $failed
