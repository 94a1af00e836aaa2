#!/usr/bin/env bash
# Builds and runs a C program against what lies below a prefix, found through CMake and through pkg-config:
# check_prefix.sh PREFIX C_COMPILER [TOOLCHAIN_FILE [EMULATOR...]]
set -euo pipefail

prefix=$(cd "$1" && pwd)
compiler=$2
toolchain=${3:-}
emulator=("${@:4}")
sample="$(cd "$(dirname "${BASH_SOURCE[0]}")/../../samples/minimal_host" && pwd)"
build=$(mktemp -d)
trap 'rm -rf "$build"' EXIT

# Programs are named differently from platform to platform, and a DLL must lie beside its program.
run() {
    local program
    program=$(find "$1" -maxdepth 1 -type f \( -name host -o -name minimal_host -o -name '*host.exe' -o -name '*host.js' \))
    find "$prefix/bin" -name '*.dll' -exec cp {} "$1" \; 2>/dev/null || true
    LD_LIBRARY_PATH="$prefix/lib" "${emulator[@]}" "$program"
}

cmake -S "$sample" -B "$build/cmake" -G Ninja -DCMAKE_BUILD_TYPE=Release -DCMAKE_C_COMPILER="$compiler" \
    ${toolchain:+"-DCMAKE_TOOLCHAIN_FILE=$toolchain"} \
    -DVelkori_Utility_DIR="$prefix/lib/cmake/Velkori_Utility" >/dev/null
cmake --build "$build/cmake" >/dev/null
run "$build/cmake"

# Its output is quoted for a shell: a prefix may have a space.
eval "flags=($(PKG_CONFIG_PATH="$prefix/lib/pkgconfig" pkg-config --cflags --libs velkori_utility))"
mkdir "$build/pkg-config"
case $compiler in
*mingw*) program=host.exe ;;
*emcc) program=host.js ;;
*) program=host ;;
esac
"$compiler" -std=c99 -Wall -Wextra -Wpedantic -Werror "$sample/main.c" "${flags[@]}" -o "$build/pkg-config/$program"
run "$build/pkg-config"
