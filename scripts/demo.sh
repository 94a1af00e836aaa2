#!/usr/bin/env bash
# Will run the library's main job, retargeting a captured walk to a character, from nothing to a picture.
set -euo pipefail
echo "The demo can't run yet: the command-line tool that it drives is still to be built." >&2
exit 1
