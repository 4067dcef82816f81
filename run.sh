#!/usr/bin/env bash
# Sets everything up and runs Vantrel.
set -euo pipefail
cd "$(dirname "$0")"
scripts/install-deps.sh
scripts/build.sh release

echo
echo "The desktop program is still being built; meanwhile here is the game core"
echo "playing a headless minute (seed 7) with the autopilot at the keys:"
build/release/tools/vantrel-sim/vantrel-sim bot --seed 7 --minutes 1
