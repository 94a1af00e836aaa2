#!/usr/bin/env bash
# Prints which lines and branches of the library its tests reach; details are in build/coverage/report.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

scripts/install-packages.sh build-essential cmake gcovr libgtest-dev locales ninja-build python3 rapidjson-dev
cmake -S . -B build/coverage -G Ninja -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_COMPILER=g++ \
    -DCMAKE_CXX_FLAGS="--coverage -O1 -fno-inline" -DVELKORI_BUILD_BENCHMARKS=OFF -DVELKORI_BUILD_TOOLS=OFF >/dev/null
cmake --build build/coverage -j "$(nproc)"
find build/coverage -name '*.gcda' -delete
ctest --test-dir build/coverage -j "$(nproc)" --output-on-failure -E '^Header|^Soak|^Library' | tail -n 5
mkdir -p build/coverage/report
# Branches that only an exception takes aren't ours to test one by one.
gcovr --root . --filter native_plugin/private/src --filter libraries --exclude-throw-branches \
    --exclude-unreachable-branches --html-details build/coverage/report/index.html --print-summary build/coverage
