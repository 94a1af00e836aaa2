#!/usr/bin/env bash
# Puts small faults into the library, one at a time, and tells which of them no test notices:
# mutate.sh [--rooms ROOM...] [--sample N] [--seed N] [--jobs N] [FILE...]
#
# All faults of all files take a day; twenty of each file, an hour or two. A fault counts if it compiles and is there
# in optimised code too. The sources stay as they are: copies of them are changed, below build/mutate.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

scripts/install-packages.sh build-essential clang cmake libgtest-dev locales ninja-build python3 rapidjson-dev
tree=build/mutate/tree
mkdir -p "$tree"
rm -rf build/mutate/work-*
git ls-files --cached --others --exclude-standard | while IFS= read -r file; do [ ! -f "$file" ] || echo "$file"; done >build/mutate/files
(cd "$tree" && find . -type f -printf '%P\n') | grep -vxFf build/mutate/files | (cd "$tree" && xargs -r -d '\n' rm) || true
# What is as it was keeps its time, so that it isn't built again.
while IFS= read -r file; do
    cmp -s "$file" "$tree/$file" || install -D -m "$(stat -c %a "$file")" "$file" "$tree/$file"
done <build/mutate/files
cmake -S "$tree" -B build/mutate/base -G Ninja -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_C_COMPILER=clang \
    -DCMAKE_BUILD_TYPE=None -DCMAKE_CXX_FLAGS="-O1 -D_GLIBCXX_ASSERTIONS" -DCMAKE_SKIP_BUILD_RPATH=ON \
    -DVELKORI_BUILD_TOOLS=OFF -DVELKORI_BUILD_BENCHMARKS=OFF >/dev/null
# The tests are listed by running them, and the library isn't on their path.
LD_LIBRARY_PATH="$PWD/build/mutate/base/native_plugin" \
    cmake --build build/mutate/base -j "${MUTATE_BUILD_JOBS:-$(nproc)}" --target velkori_golden velkori_unit_tests velkori_interface_tests | tail -n 1
exec scripts/mutation/run.py "$@"
