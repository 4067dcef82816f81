#!/usr/bin/env bash
# Builds the Debian package vantrel_VERSION_ARCH.deb into build/package/.
# A build of its own: installed to /usr, with the programs in /usr/games as
# Debian does for games, optimised, stripped, without tests or benchmarks.
#   scripts/package-deb.sh
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
dir=build/package
if [[ ! -f "$dir/build.ninja" ]]; then
  cmake -S . -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_INSTALL_PREFIX=/usr \
    -DCMAKE_INSTALL_BINDIR=games -DVANTREL_BUILD_TESTS=OFF -DVANTREL_BUILD_BENCH=OFF >/dev/null
fi
cmake --build "$dir" --target package-deb -- -j"$(nproc)" >/dev/null
ls "$dir"/vantrel_*.deb
