#!/usr/bin/env bash
# Builds and runs every test, from nothing: installs what is missing, then builds and tests with GCC and with Clang
# under the address and undefined-behaviour sanitizers, runs handles on threads under the thread sanitizer, checks the
# style, makes this platform's package twice, compares the binary interface with its description and the results on five
# platforms with the golden ones, and fuzzes for a while.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

mapfile -t tool_packages <scripts/tool-packages.txt
scripts/install-packages.sh abigail-tools binutils blender build-essential clang clang-format clang-tidy cmake git libbenchmark-dev \
    libclang-rt-14-dev libgtest-dev locales ninja-build python3 python3-numpy rapidjson-dev "${tool_packages[@]}"

scripts/install-npm-packages.sh

jobs=$(nproc)
heading() { printf '\n== %s, after %d:%02d ==\n' "$1" $((SECONDS / 60)) $((SECONDS % 60)); }
build_and_test() {
    local preset=$1
    heading "$preset"
    cmake --preset "$preset" >/dev/null
    cmake --build --preset "$preset" -j "$jobs"
    ctest --preset "$preset" -j "$jobs"
}

build_and_test release
heading "package"
scripts/package.sh --check x64-linux
build_and_test sanitize
build_and_test thread-sanitize
heading "style"
scripts/check-style.sh build/sanitize
heading "binary interface"
scripts/check-abi.sh
heading "platforms"
# The others take longer to install or to build; test-platforms.sh without names has them all.
scripts/test-platforms.sh clang x86-64-v3 libcxx x86-linux arm64-linux
heading "fuzzers"
scripts/fuzz.sh --seconds 20

heading "all tests passed"
