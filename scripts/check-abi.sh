#!/usr/bin/env bash
# Compares the library's binary interface with the description in abi/: check-abi.sh [--update]
#
# A changed record, export or signature fails. One that is meant is taken with --update, and the change of the
# description is part of the review.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

scripts/install-packages.sh abigail-tools build-essential cmake ninja-build rapidjson-dev
# Types are only in debug information.
cmake -S . -B build/abi -G Ninja -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_COMPILER=g++ -DVELKORI_BUILD_TESTS=OFF \
    -DVELKORI_BUILD_BENCHMARKS=OFF -DVELKORI_BUILD_TOOLS=OFF >/dev/null
cmake --build build/abi -j "$(nproc)" --target Velkori_Utility
abidw --no-corpus-path --no-comp-dir-path --no-show-locs --no-architecture --no-elf-needed \
    --no-write-default-sizes --exported-interfaces-only --drop-undefined-syms \
    --headers-dir "$PWD/native_plugin/include" --drop-private-types \
    build/abi/native_plugin/libVelkori_Utility.so | sed "s|path='$PWD/|path='|" >build/abi/Velkori_Utility.abi
if [ "${1:-}" = --update ]; then
    cp build/abi/Velkori_Utility.abi abi/Velkori_Utility.abi
    echo "abi/Velkori_Utility.abi is updated."
    exit 0
fi
abidiff --fail-no-debug-info abi/Velkori_Utility.abi build/abi/Velkori_Utility.abi ||
    { echo "The binary interface differs from abi/Velkori_Utility.abi. If it is meant: scripts/check-abi.sh --update" >&2
      exit 1; }
echo "ABI: unchanged."
