#!/usr/bin/env bash
# Sets everything up and runs every test: first under AddressSanitizer and
# UndefinedBehaviorSanitizer, then the release build, then the Debian package,
# then the unit tests of a build without the X11 library.
set -euo pipefail
cd "$(dirname "$0")"
scripts/install-deps.sh --test

scripts/build.sh asan
echo "== tests under ASan+UBSan"
ctest --preset asan --output-on-failure -j"$(nproc)"

scripts/build.sh release
echo "== tests (release build)"
ctest --preset release --output-on-failure -j"$(nproc)"

# The Debian package, built as a user would and checked from outside.
echo "== the Debian package"
scripts/package-deb.sh
tests/install/check_deb.sh build/package/vantrel_*.deb

# The application must also stand on the do-nothing desktop services alone.
scripts/build.sh nox11
echo "== unit tests without the X11 library"
ctest --preset nox11 --output-on-failure -j"$(nproc)"
