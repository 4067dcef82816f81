#!/usr/bin/env bash
# ./run.sh on a fresh checkout builds the program it runs and nothing else: a copy of
# the source tree without its build folder runs `./run.sh --version`, which must print
# the version, leave the program built, and leave the tests and benchmarks unbuilt.
# ccache (when present) keeps the build short.
set -euo pipefail
source_dir=$(cd "$(dirname "$0")/../.." && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
tar -C "$source_dir" --exclude=./build --exclude=./.git -cf - . | tar -C "$work" -xf -
cd "$work"

# A display name, so that run.sh starts the program itself rather than its virtual-display
# demo; --version needs no display to answer.
output=$(env -u WAYLAND_DISPLAY DISPLAY=:999 ./run.sh --version 2>&1) || {
  echo "FAIL: ./run.sh --version failed:"
  echo "$output" | tail -20
  exit 1
}
status=0
if ! grep -q "^vantrel [0-9]" <<<"$output"; then
  echo "FAIL: ./run.sh --version did not print the version:"
  echo "$output" | tail -5
  status=1
fi
[[ -x build/release/Vantrel/vantrel ]] || { echo "FAIL: the program was not built"; status=1; }
for unwanted in build/release/tests/app/app_tests build/release/tests/core/core_tests \
  build/release/bench/bench_views build/release/tools/vantrel-sim/vantrel-sim; do
  if [[ -e "$unwanted" ]]; then
    echo "FAIL: ./run.sh built $unwanted, which it does not run"
    status=1
  fi
done
if ((status == 0)); then
  echo "PASS: ./run.sh built only the program ($(find build/release -type f -perm -u+x -name 'vantrel*' | wc -l) programs named vantrel*)"
fi
exit "$status"
