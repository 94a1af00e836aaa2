#!/usr/bin/env bash
# Checks the house rules that a machine can keep: check-style.sh BUILD_DIR [--all]
#
# Format is checked on every file. clang-tidy, with the compile commands of BUILD_DIR (a Clang build), looks at
# the sources that differ from the main line; with --all, or where there is no main line to compare with (a
# fresh clone, as in CI), at all of them.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

build_dir=$1
if [ ! -f "$build_dir/compile_commands.json" ]; then
    echo "$build_dir has no compile_commands.json: configure it first." >&2
    exit 1
fi
mapfile -t files < <(git ls-files --cached --others --exclude-standard -- '*.cpp' '*.h' '*.c')
mapfile -t present < <(for file in "${files[@]}"; do [ -f "$file" ] && echo "$file"; done)

if [ ${#present[@]} -eq 0 ]; then
    echo "No sources found: is this a git checkout?" >&2
    exit 1
fi

clang-format --dry-run --Werror "${present[@]}"
echo "Format: ${#present[@]} files."

# Compilers that only test-platforms.sh runs, without a name, have no range algorithms and no std::bit_cast.
if grep -rnE 'std::(ranges|views|bit_cast|weak_order|strong_order|format)\b' native_plugin libraries --include='*.cpp' --include='*.h' |
    grep -vE ':[0-9]+: *//'; then
    echo "The standard libraries of some platforms lack this." >&2
    exit 1
fi

# Rooms of the library know each other in one direction. document/ alone knows RapidJSON, and shows one header.
# interface/ alone asks for the process's space: everyone else is given one.
if ! (cd native_plugin/private/src && grep -rE '^ *# *include *["<]' --include='*.h' --include='*.cpp' .) | awk -F'["<>]' '
    function folder(path) { sub(/\/?[^\/]*$/, "", path); return path }
    function room(path) { path = folder(path); return path in may ? path : substr(path, 1, index(path "/", "/") - 1) }
    BEGIN {
        may["shared"] = ""
        may["core"] = "shared"
        may["document"] = "core shared"
        may["serialization/bits"] = "shared"
        may["serialization/codec"] = "serialization/bits shared"
        may["serialization/record"] = "serialization/bits serialization/codec core shared"
        may["serialization/sender"] = may["serialization/receiver"] = may["serialization/playback"] = \
            "serialization/bits serialization/codec serialization/record shared"
        may["serialization"] = \
            "serialization/sender serialization/receiver serialization/playback serialization/record core shared"
        may["retargeting"] = may["retargeting/alignment"] = may["retargeting/preparation"] = "core shared"
        may["interface"] = "retargeting retargeting/alignment retargeting/preparation serialization serialization/record document core shared"
        door = "document/ConfigDocument.h"
    }
    {
        file = substr($1, 3, index($1, ":") - 3)
        from = room(file)
        to = room($2)
        isAllowed = from in may && (!(to in may) || from == to || index(" " may[from] " ", " " to " "))
        isBehindDoor = to == "rapidjson" || (to == "document" && $2 != door)
        isProcessWide = $2 == "shared/ProcessSpace.h" && from != "interface" && from != "shared"
        if (!isAllowed || isProcessWide || (isBehindDoor && (from != "document" || file == door))) {
            print file " must not include " $2
            isWrong = 1
        }
    }
    END { exit isWrong || NR == 0 }' >&2; then
    exit 1
fi

base=$(git merge-base HEAD '@{upstream}' 2>/dev/null || true)
if [ "${2:-}" = --all ] || [ -z "$base" ] || { [ "$base" = "$(git rev-parse HEAD)" ] && [ -z "$(git status --porcelain)" ]; }; then
    candidates=("${present[@]}")
else
    mapfile -t candidates < <({ git diff --name-only "$base"; git ls-files --others --exclude-standard; } | sort -u)
fi

# A header is checked with the sources that include it: where one changed, all are looked at.
if printf '%s\n' "${candidates[@]}" | grep -q '\.h$'; then
    candidates=("${present[@]}")
fi
# Only what the build compiles has compile commands.
sources=()
for file in "${candidates[@]}"; do
    if [[ $file == *.cpp && -f $file ]] && grep -q "/$file\"" "$build_dir/compile_commands.json"; then
        sources+=("$file")
    fi
done
if [ ${#sources[@]} -gt 0 ]; then
    printf '%s\0' "${sources[@]}" | xargs -0 -n 1 -P "$(nproc)" clang-tidy --quiet --warnings-as-errors='*' -p "$build_dir" 2>/dev/null
fi
echo "Tidy: ${#sources[@]} sources."
