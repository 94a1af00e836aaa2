#!/usr/bin/env bash
# Will run the library's main job, retargeting a captured walk to a character, from nothing to a picture.
set -euo pipefail
echo "The demo can't run yet: retargeting and the command-line tool that drives it are still to be built." >&2
exit 1
