#!/usr/bin/env bash
# A character's file that got a clip is sound to other programs: check_characters.sh VELKORI SAMPLES NPM_DIRECTORY
#
# Ends with 77 where the readers aren't installed; scripts/install-npm-packages.sh installs them.
set -euo pipefail
velkori=$1
samples=$2
npm=$3
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
clip=/usr/share/assimp/models/BVH/01_01.bvh

if [ ! -d "$npm/node_modules/three" ] || ! command -v node >/dev/null; then
    echo "three.js and the validator aren't installed"
    exit 77
fi
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

"$velkori" prepare --source "$clip" --target "$samples/character.glb" -o "$work/config.json" >/dev/null
"$velkori" retarget "$work/config.json" "$clip" -o "$work/character.glb" --force
"$velkori" retarget "$work/config.json" "$clip" -o "$work/bones.glb" --bones --force
node "$here/check_glb.mjs" "$npm" "$work/character.glb" "$work/bones.glb"

# A character of another format keeps its skinned mesh, as Blender sees it.
if command -v blender >/dev/null; then
    blender --background --factory-startup --python-exit-code 1 --python "$here/check_blender.py" -- \
        "$work/character.glb" "$work/bones.glb"
fi
