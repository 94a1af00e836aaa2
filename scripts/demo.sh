#!/usr/bin/env bash
# The library's main job from nothing to a picture: installs what is missing, builds, and takes a captured clip
# to the sample character. What it makes is in out/.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

mapfile -t tool_packages <scripts/tool-packages.txt
scripts/install-packages.sh build-essential cmake ninja-build rapidjson-dev "${tool_packages[@]}"

# Carnegie Mellon University's motion capture, subject 1, trial 1: jumps forward, turns, comes back.
clip=/usr/share/assimp/models/BVH/01_01.bvh
tool=build/demo/tools/velkori/velkori

echo "== build =="
cmake --preset demo >/dev/null
cmake --build --preset demo -j "$(nproc)"
mkdir -p out

run() {
    printf '\n$ velkori %s\n' "$*"
    "$tool" "$@"
}
run rig "$clip" -o out/captured.json
run prepare --source out/captured.json --target samples/character.glb -o out/config.json \
    --name "A captured clip and the sample character"
run check out/config.json
run retarget out/config.json "$clip" -o out/character.glb --report
run retarget out/config.json "$clip" -o out/character.bvh
run score out/config.json "$clip"
run stream out/config.json "$clip"
run draw out/config.json "$clip" -o out/sheet.png --at 4,4.6,5,5.5,12

cat <<'END'

Made in out/:
  sheet.png       the person as captured and as the character, side by side: look at this first
  character.glb   the character with its skin, in motion; open it in any glTF viewer or animation program
  character.bvh   its skeleton alone for programs that read BVH, in centimetres
  captured.json   the captured body's rig
  config.json     the configuration that retargets it, as an engine loads it
END
