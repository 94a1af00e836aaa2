#!/usr/bin/env bash
# Builds and runs every test, from nothing: installs what is missing, checks the style, then builds and tests
# with GCC, with Clang, and under the address and undefined-behaviour sanitizers, compares the binary interface
# with its description, and fuzzes for a while.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

mapfile -t tool_packages <scripts/tool-packages.txt
scripts/install-packages.sh abigail-tools binutils build-essential clang clang-format clang-tidy cmake git libbenchmark-dev \
    libgtest-dev locales ninja-build rapidjson-dev "${tool_packages[@]}"

jobs=$(nproc)
build_and_test() {
    local preset=$1
    printf '\n== %s ==\n' "$preset"
    cmake --preset "$preset" >/dev/null
    cmake --build --preset "$preset" -j "$jobs"
    ctest --preset "$preset" -j "$jobs"
}

build_and_test release
build_and_test clang
printf '\n== style ==\n'
scripts/check-style.sh build/clang
build_and_test sanitize
printf '\n== binary interface ==\n'
scripts/check-abi.sh
printf '\n== fuzzers ==\n'
scripts/fuzz.sh --seconds 20

printf '\nAll tests passed.\n'
