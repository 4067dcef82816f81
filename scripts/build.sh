#!/usr/bin/env bash
# Configures (once) and builds one CMake preset incrementally: everything, or
# only the targets named after the preset.
#   scripts/build.sh [release|asan|nox11] [target...]
set -euo pipefail
cd "$(dirname "$0")/.."
preset="${1:-release}"
shift || true
targets=()
if (($# > 0)); then
  targets=(--target "$@")
fi
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
cmake --build --preset "$preset" "${targets[@]}" -- -j"$(nproc)"
