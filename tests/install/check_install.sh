#!/usr/bin/env bash
# Installs a build into a temporary prefix, moves that elsewhere, and uses it there:
# check_install.sh BUILD_DIR C_COMPILER
set -euo pipefail

build_dir=$1
compiler=$2
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

cmake --install "$build_dir" --prefix "$scratch/first" >/dev/null
# What is installed must not know where it was installed.
mv "$scratch/first" "$scratch/moved"
"$(dirname "${BASH_SOURCE[0]}")/check_prefix.sh" "$scratch/moved" "$compiler"
