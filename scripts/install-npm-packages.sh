#!/usr/bin/env bash
# Installs what other programs' readers the tests try results with, into build/npm: Khronos' validator of glTF
# and three.js.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

command -v npm >/dev/null || scripts/install-packages.sh nodejs npm
mkdir -p build/npm
cd build/npm
if [ ! -d node_modules/gltf-validator ] || [ ! -d node_modules/three ]; then
    [ -f package.json ] || echo '{"private": true}' >package.json
    npm install --loglevel=error --no-audit --no-fund gltf-validator@2.0.0-dev.3.10 three@0.187.0
fi
