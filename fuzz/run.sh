#!/usr/bin/env bash
# Builds the release-artifact fuzzer with clang and libFuzzer (separately from
# the gcc build) into build/fuzz and runs it for the given number of seconds.
#   fuzz/run.sh [SECONDS]       default 60
# Exit status: 0 no finding, 1 a finding (the crashing input is kept in
# build/fuzz/findings/), 77 when clang's fuzzer runtime is not installed.
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

core=(ReleaseError DecodingError ReleasePatterns Sha256 SignedArtifact SystemVersion VeltRelease)
sources=()
for name in "${core[@]}"; do sources+=("$root/VantrelCore/$name.cpp"); done
flags=(-std=c++20 -O1 -g -I"$root" -I"$root/fuzz" -Wall -Wextra -Werror -ffp-contract=off)
libs=(-lsodium -luriparser)

# One build at a time (ctest may run this from two build trees).
exec 9>"$out/.lock"
flock 9

# Rebuild only when a source is newer than the binaries.
newest=$(ls -t "${sources[@]}" "$root"/VantrelCore/*.h "$root"/fuzz/*.cpp "$root"/fuzz/*.h "$root/fuzz/run.sh" | head -1)
if [[ ! -x "$out/release_fuzzer" || "$newest" -nt "$out/release_fuzzer" ]]; then
  echo "== building the fuzzer with $(clang++ --version | head -1)"
  clang++ "${flags[@]}" -fsanitize=fuzzer,address,undefined -fno-sanitize-recover=undefined \
    "${sources[@]}" "$root/fuzz/ReleaseFuzzer.cpp" "${libs[@]}" -o "$out/release_fuzzer.new"
  clang++ "${flags[@]}" "${sources[@]}" "$root/fuzz/SeedCorpus.cpp" "${libs[@]}" -o "$out/seed_corpus"
  mv "$out/release_fuzzer.new" "$out/release_fuzzer"
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
