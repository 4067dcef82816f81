#!/usr/bin/env bash
# Configures (once) and builds one CMake preset incrementally.
#   scripts/build.sh [release|asan|nox11]
set -euo pipefail
cd "$(dirname "$0")/.."
preset="${1:-release}"
# ccache makes the second and third builds of the same sources (test.sh builds
# three presets) and every rebuild after a clean checkout cheap.
if command -v ccache >/dev/null; then
  export CMAKE_CXX_COMPILER_LAUNCHER=${CMAKE_CXX_COMPILER_LAUNCHER:-ccache}
  export CMAKE_C_COMPILER_LAUNCHER=${CMAKE_C_COMPILER_LAUNCHER:-ccache}
  export CCACHE_BASEDIR=${CCACHE_BASEDIR:-$PWD}
fi
if [[ ! -f "build/$preset/build.ninja" ]]; then
  cmake --preset "$preset" >/dev/null
fi
cmake --build --preset "$preset" -- -j"$(nproc)"
