#!/usr/bin/env bash
# Builds the benchmarks in release mode and runs them: bench.sh [benchmark options, e.g. --benchmark_filter=Set]
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

mapfile -t tool_packages <scripts/tool-packages.txt
scripts/install-packages.sh build-essential cmake libbenchmark-dev libgtest-dev ninja-build python3 rapidjson-dev \
    "${tool_packages[@]}"
cmake --preset release >/dev/null
cmake --build --preset release -j "$(nproc)" --target velkori_benchmarks
exec build/release/benchmarks/velkori_benchmarks "$@"
