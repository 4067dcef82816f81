#!/usr/bin/env bash
# Sets everything up and runs Vantrel. Arguments are passed on to the program
# (see build/release/Vantrel/vantrel --help). Without a display (no DISPLAY and
# no WAYLAND_DISPLAY) it shows the program on a virtual display instead and
# saves screenshots of it (scripts/demo.sh).
set -euo pipefail
cd "$(dirname "$0")"
scripts/install-deps.sh
# Only the program: the tests and benchmarks are ./test.sh's business.
scripts/build.sh release vantrel

if [[ -z "${DISPLAY:-}" && -z "${WAYLAND_DISPLAY:-}" ]]; then
  echo
  echo "No display here: running Vantrel on a virtual display with the autopilot at the keys."
  exec scripts/demo.sh "$@"
fi
exec build/release/Vantrel/vantrel "$@"
