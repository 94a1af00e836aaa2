#!/usr/bin/env bash
# Makes the archives that are shipped, below out/packages: package.sh [--check] [NAME...]
#
# Names: x64-linux, arm64-linux, x64-windows, wasm; all four without any. Each archive holds the library, its header,
# the files by which CMake and pkg-config find it, and the licences of what is linked into it. With --check, each
# is unpacked and used by a small program, and made a second time in another folder, where it must come out the same
# to the byte.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

version=$(sed -n 's/^ *VERSION \([0-9.]*\)$/\1/p' CMakeLists.txt)
all=(x64-linux arm64-linux x64-windows wasm)
archives=$PWD/out/packages
umask 022

# What belongs to each platform: the compiler and the emulator for the check, Debian's packages, and those of them
# whose code is linked into the library.
describe() {
    linked_in=(rapidjson-dev)
    case $1 in
    x64-linux)
        packages=()
        compiler=gcc emulator=() linked_in+=(libstdc++-12-dev)
        ;;
    arm64-linux)
        packages=(g++-aarch64-linux-gnu qemu-user)
        compiler=aarch64-linux-gnu-gcc emulator=(qemu-aarch64 -L /usr/aarch64-linux-gnu)
        linked_in+=(libstdc++-12-dev-arm64-cross)
        ;;
    x64-windows)
        packages=(g++-mingw-w64-x86-64-posix wine wine64 zip)
        compiler=x86_64-w64-mingw32-gcc-posix emulator=(wine)
        # As in the preset: Wine's files stay out of the user's home.
        export WINEPREFIX=$PWD/build/wine WINEDEBUG=-all WINEDLLOVERRIDES=mscoree,mshtml,winemenubuilder.exe=
        linked_in+=(gcc-mingw-w64-base mingw-w64-common)
        ;;
    wasm) # Emscripten 3.1.6 would fetch its code, which newer Nodes do for other addresses than files.
        packages=(emscripten nodejs)
        compiler=emcc emulator=(node --no-experimental-fetch)
        linked_in+=(emscripten)
        export NODE_PATH=/usr/share/nodejs
        ;;
    *)
        echo "$1 is none of: ${all[*]}" >&2
        exit 1
        ;;
    esac
}

write_licences() {
    mkdir "$1/licences"
    {
        echo "No licence has been chosen for Velkori_Utility yet."
        echo
        echo "The library contains code of others; the folder licences has their terms, as Debian's packages state them:"
        printf '%s\n' "${linked_in[@]}"
    } >"$1/LICENCES.txt"
    for package in "${linked_in[@]}"; do
        cp -L "/usr/share/doc/$package/copyright" "$1/licences/$package.txt"
    done
}

# Nothing in an archive tells when, where or by whom it was made. It has its name only when it is whole.
write_archive() {
    local folder=$1 archive=$2 unfinished
    unfinished=$PWD/$(basename "$2")
    find "$folder" -exec touch -hd "@$SOURCE_DATE_EPOCH" {} +
    case $archive in
    *.zip) find "$folder" -type f | LC_ALL=C sort | zip -qX@ "$unfinished" ;;
    *) tar --sort=name --owner=0 --group=0 --numeric-owner --format=ustar -cf - "$folder" | gzip -9n >"$unfinished" ;;
    esac
    cp "$unfinished" "$archive.part" || { rm -f "$archive.part"; exit 1; }
    mv "$archive.part" "$archive"
}

archive_of() {
    case $1 in
    *windows) echo "$archives/velkori_utility-$version-$1.zip" ;;
    *) echo "$archives/velkori_utility-$version-$1.tar.gz" ;;
    esac
}

make_package() {
    local folder=velkori_utility-$version-$1
    scripts/install-packages.sh build-essential cmake git ninja-build pkg-config rapidjson-dev "${packages[@]}"
    # A folder that another compiler was used in would keep that, or lose what the preset sets, without a word.
    cmake --fresh --preset "$1" >/dev/null
    cmake --build --preset "$1" -j "$(nproc)" --target Velkori_Utility
    rm -rf "build/packages/$1"
    mkdir -p "build/packages/$1"
    cmake --install "build/$1" --strip --prefix "build/packages/$1/$folder" >/dev/null
    write_licences "build/packages/$1/$folder"
    (cd "build/packages/$1" && write_archive "$folder" "$(archive_of "$1")")
    ls -l "$(archive_of "$1")"
}

# Unpacked where nothing else is, and built again from a copy of the sources.
check_package() {
    local archive prefix="$scratch/$1/prefix" sources="$scratch/$1/sources" toolchain="$PWD/cmake/toolchains/$1.cmake"
    archive=$(archive_of "$1")
    mkdir -p "$prefix" "$sources"
    cmake --build --preset "$1" -j "$(nproc)" --target velkori_golden
    ctest --preset "$1"
    (cd "$prefix" && cmake -E tar xf "$archive")
    [ -f "$toolchain" ] || toolchain=''
    tests/install/check_prefix.sh "$prefix"/* "$compiler" "$toolchain" "${emulator[@]}"

    git ls-files -z --cached --others --exclude-standard |
        tar --null --ignore-failed-read -T - -cf - | tar -xf - -C "$sources"
    CCACHE_DISABLE=1 "$sources/scripts/package.sh" "$1" >/dev/null
    cmp "$archive" "$sources/out/packages/$(basename "$archive")"
    rm -rf "${scratch:?}/$1"
    echo "$1: it can be used, and comes out the same again."
}

check=false
if [ "${1:-}" = --check ]; then
    check=true
    shift
    scratch=$(mktemp -d)
    trap 'rm -rf "$scratch"' EXIT
fi
[ $# -gt 0 ] || set -- "${all[@]}"
for name in "$@"; do
    (describe "$name")
done
# Minutes of building would be lost at the end.
mkdir -p "$archives"
[ -w "$archives" ] || { echo "Can't write to $archives." >&2; exit 1; }

scripts/install-packages.sh git
SOURCE_DATE_EPOCH=${SOURCE_DATE_EPOCH:-$(git log -1 --format=%ct)} ||
    { echo "Without the sources' history, set SOURCE_DATE_EPOCH to the archives' date in seconds." >&2; exit 1; }
export SOURCE_DATE_EPOCH TZ=UTC
for name in "$@"; do
    describe "$name"
    make_package "$name"
    if $check; then
        check_package "$name"
    fi
done
