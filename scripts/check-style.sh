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

# Rooms know each other in one direction: check_rooms DIR RULES, where a line of RULES names a room and the rooms that it
# may use. A room that no rule names is that of the folder above it.
check_rooms() {
    (cd "$1" && grep -rE '^ *# *include *["<]' --include='*.h' --include='*.cpp' .) | awk -F'["<>]' -v rules="$2" '
    function folder(path) { return sub(/\/[^\/]*$/, "", path) ? path : "." }
    function room(path) {
        for (path = folder(path); !(path in may) && path != "."; path = folder(path)) {
        }
        return path
    }
    BEGIN {
        count = split(rules, lines, "\n")
        for (i = 1; i <= count; ++i) {
            colon = index(lines[i], ":")
            may[substr(lines[i], 1, colon - 1)] = substr(lines[i], colon + 1) " "
        }
    }
    {
        file = substr($1, 3, index($1, ":") - 3)
        from = room(file)
        to = room($2)
        if (file != "main.cpp" && (!(from in may) || (to in may && from != to && !index(may[from], " " to " ")))) {
            print file " must not include " $2
            isWrong = 1
        }
    }
    END { exit isWrong || NR == 0 }' >&2
}

check_rooms native_plugin/private/src 'shared:
core: shared
document: core shared
serialization/bits: shared
serialization/codec: serialization/bits shared
serialization/record: serialization/bits serialization/codec core shared
serialization/sender: serialization/bits serialization/codec serialization/record shared
serialization/receiver: serialization/bits serialization/codec serialization/record shared
serialization/playback: serialization/bits serialization/codec serialization/record shared
serialization: serialization/sender serialization/receiver serialization/playback serialization/record core shared
retargeting: core shared
retargeting/alignment: core shared
retargeting/preparation: core shared
interface: retargeting retargeting/alignment retargeting/preparation serialization serialization/record document core shared'
# document/ alone knows RapidJSON, and shows one header.
if (cd native_plugin/private/src && grep -rnE 'include [<"](rapidjson|document/)' --include='*.h' --include='*.cpp' . |
    grep -vE '^\./document/' | grep -v 'document/ConfigDocument.h') ||
    grep -nE 'include [<"](rapidjson|document/RapidJSON)' native_plugin/private/src/document/ConfigDocument.h; then
    echo "RapidJSON stays in document/." >&2
    exit 1
fi
# interface/ alone asks for the process's space: everyone else is given one.
if grep -rn 'shared/ProcessSpace\.h' native_plugin/private/src | grep -vE '/src/(interface|shared)/'; then
    echo "Only interface/ knows the process's space." >&2
    exit 1
fi

check_rooms tools/velkori '.:
motion: .
library: .
solve: .
character: motion .
rig: library motion .
host: library rig character motion solve .
score: host library rig solve .
draw: host library rig character .
commands: host library rig character motion score draw .'
if grep -rnE "\"([^\"]*[ '(])?(--[a-z]|velkori (rig|prepare|retarget|score|stream|draw|check))" tools/velkori \
    --include='*.cpp' --include='*.h' | grep -vE '^tools/velkori/(commands/|main.cpp)'; then
    echo "Only commands/ knows the program's options." >&2
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
