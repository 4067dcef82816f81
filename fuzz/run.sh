#!/usr/bin/env bash
# Builds the release-artifact fuzzer with clang and libFuzzer (separately from
# the gcc build) into build/fuzz and runs it for the given number of seconds.
#   fuzz/run.sh [SECONDS]       default 60
# Exit status: 0 no finding, 1 a finding (the crashing input is kept in
# build/fuzz/findings/), 2 the fuzzer does not build, 77 when clang's fuzzer
# runtime is not installed.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
seconds="${1:-60}"
out="${FUZZ_BUILD_DIR:-$root/build/fuzz}"
mkdir -p "$out"

if ! command -v clang++ >/dev/null; then
  echo "SKIP: clang++ is not installed (scripts/install-deps.sh --test installs clang and libclang-rt-14-dev)"
  exit 77
fi
probe="$out/probe.cpp"
echo 'extern "C" int LLVMFuzzerTestOneInput(const unsigned char*, unsigned long) { return 0; }' > "$probe"
if ! clang++ -fsanitize=fuzzer,address,undefined "$probe" -o "$out/probe" 2>/dev/null; then
  echo "SKIP: clang's libFuzzer runtime is missing (install libclang-rt-14-dev)"
  exit 77
fi

# One build at a time (ctest may run this from two build trees).
exec 9>"$out/.lock"
flock 9

# fuzz/CMakeLists.txt as a project of its own, with clang; it compiles the core
# from VantrelCore/CMakeLists.txt, so the list of core sources lives there only.
# Warnings stop the build unless VANTREL_WERROR=OFF (as the main build passes
# it on when its own option is off). Ninja rebuilds only what changed.
echo "== building the fuzzer with $(clang++ --version | head -1)"
buildlog="$out/build.log"
if ! { cmake -S "$root/fuzz" -B "$out" -G Ninja -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ \
         -DVANTREL_WERROR="${VANTREL_WERROR:-ON}" &&
       cmake --build "$out" --target release_fuzzer seed_corpus; } >"$buildlog" 2>&1; then
  cat "$buildlog"
  echo "the fuzzer does not build"
  exit 2
fi

rm -rf "$out/seeds" "$out/findings"
mkdir -p "$out/seeds" "$out/corpus" "$out/findings"
"$out/seed_corpus" "$out/seeds"

echo "== fuzzing for $seconds s"
log="$out/last-run.log"
status=0
"$out/release_fuzzer" -max_total_time="$seconds" -max_len=16384 -rss_limit_mb=2048 -timeout=10 \
  -dict="$root/fuzz/release.dict" -artifact_prefix="$out/findings/" -print_final_stats=1 \
  "$out/corpus" "$out/seeds" "$root/fuzz/regressions" >"$log" 2>&1 || status=$?
grep -E "^(stat::number_of_executed_units|stat::average_exec_per_sec|stat::new_units_added|stat::peak_rss_mb)" "$log" || true
grep -E "#[0-9]+ +DONE" "$log" | tail -1 || true
if ((status != 0)); then
  echo "FINDING: the fuzzer stopped with status $status; input kept in $out/findings/"
  grep -E "ERROR|SUMMARY|==[0-9]+==" "$log" | head -20
  exit 1
fi
echo "no findings"
