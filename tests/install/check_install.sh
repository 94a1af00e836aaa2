#!/usr/bin/env bash
# Installs a build into a temporary prefix, then builds and runs a C program against it, found through CMake and
# through pkg-config: check_install.sh BUILD_DIR C_COMPILER
set -euo pipefail

build_dir=$1
compiler=$2
sample="$(cd "$(dirname "${BASH_SOURCE[0]}")/../../samples/minimal_host" && pwd)"
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

cmake --install "$build_dir" --prefix "$scratch/first" >/dev/null
# What is installed must not know where it was installed.
mv "$scratch/first" "$scratch/moved"
prefix="$scratch/moved"

cmake -S "$sample" -B "$scratch/build" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_C_COMPILER="$compiler" >/dev/null
cmake --build "$scratch/build" >/dev/null
"$scratch/build/minimal_host"

PKG_CONFIG_PATH=$(dirname "$(find "$prefix" -name velkori_utility.pc)")
export PKG_CONFIG_PATH
read -ra flags <<<"$(pkg-config --cflags --libs velkori_utility)"
"$compiler" -std=c99 -Wall -Wextra -Wpedantic -Werror "$sample/main.c" "${flags[@]}" -o "$scratch/with_pkg_config"
LD_LIBRARY_PATH=$(pkg-config --variable=libdir velkori_utility) "$scratch/with_pkg_config"
