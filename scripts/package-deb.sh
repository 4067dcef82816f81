#!/usr/bin/env bash
# Builds the Debian package vantrel_VERSION_ARCH.deb into build/package/.
# A build of its own (the `package` preset): installed to /usr, with the
# programs in /usr/games as Debian does for games, without tests or benchmarks.
# It compiles with the release build's flags, so with ccache it costs little
# after ./run.sh or ./test.sh.
#   scripts/package-deb.sh
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
scripts/build.sh package >/dev/null
ls build/package/vantrel_*.deb
