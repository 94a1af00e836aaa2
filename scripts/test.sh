#!/usr/bin/env bash
# Builds and runs every test, from nothing: installs what is missing, checks the style, then builds and tests
# with GCC, with Clang, and under the address and undefined-behaviour sanitizers.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

scripts/install-packages.sh binutils build-essential clang clang-format clang-tidy cmake git libbenchmark-dev \
    libgtest-dev locales ninja-build pkg-config rapidjson-dev

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

printf '\nAll tests passed.\n'
