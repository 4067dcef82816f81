#!/usr/bin/env bash
# Installs the build into a staging folder (DESTDIR) and checks what a desktop
# would see: every file in its freedesktop place and nothing outside the
# prefix, a valid desktop entry and catalogue entry, manual pages that render
# without warnings, and a program that reports its version.
#   check_install.sh BUILD_DIR
# Exit 77 (skipped) when a validator is missing; scripts/install-deps.sh --test installs them.
set -euo pipefail
build=$1
for tool in desktop-file-validate appstreamcli man identify convert; do
  if ! command -v "$tool" >/dev/null; then
    echo "SKIP: $tool is missing (scripts/install-deps.sh --test installs it)"
    exit 77
  fi
done

stage=$(mktemp -d)
trap 'rm -rf "$stage"' EXIT
failures=0
passes=0
fail() { echo "FAIL: $*"; failures=$((failures + 1)); }
pass() { echo "ok: $*"; passes=$((passes + 1)); }

DESTDIR="$stage" cmake --install "$build" --prefix /opt/vantrel-check >/dev/null
prefix="$stage/opt/vantrel-check"

outside=$(cd "$stage" && find . -mindepth 1 -maxdepth 2 ! -path ./opt ! -path ./opt/vantrel-check)
[[ -z "$outside" ]] && pass "nothing installed outside the prefix" || fail "installed outside the prefix: $outside"

expected=(
  bin/vantrel
  bin/vantrel-sim
  share/applications/org.vantrel.Vantrel.desktop
  share/metainfo/org.vantrel.Vantrel.metainfo.xml
  share/man/man6/vantrel.6.gz
  share/man/man6/vantrel-sim.6.gz
)
for f in "${expected[@]}"; do
  [[ -f "$prefix/$f" ]] && pass "$f" || fail "$f is not installed"
done
[[ -x "$prefix/bin/vantrel" && -x "$prefix/bin/vantrel-sim" ]] && pass "programs are executable" ||
  fail "programs are not executable"
[[ ! -e "$prefix/bin/vantrel-release" ]] && pass "the maintainers' tool stays out of the default install" ||
  fail "vantrel-release was installed without its component"

DESTDIR="$stage" cmake --install "$build" --prefix /opt/vantrel-check --component maintainer >/dev/null
[[ -x "$prefix/bin/vantrel-release" ]] && pass "the maintainer component installs vantrel-release" ||
  fail "the maintainer component did not install vantrel-release"

# Icons: the right size, a figure drawn on them, and square pixels of it (no blur: only the
# tile's corners may hold colours between black and the figure's white).
for size in 16 22 24 32 48 64 128 256; do
  icon="$prefix/share/icons/hicolor/${size}x${size}/apps/org.vantrel.Vantrel.png"
  if [[ ! -f "$icon" ]]; then
    fail "icon ${size}x${size} is not installed"
    continue
  fi
  dims=$(identify -format '%w %h' "$icon")
  lit=$(convert "$icon" -alpha off -colorspace gray -fx 'r>0.9?1:0' -format '%[fx:round(mean*w*h)]' info:)
  grey=$(convert "$icon" -alpha off -colorspace gray -fx 'r>0.05&&r<0.9?1:0' -format '%[fx:round(mean*w*h)]' info:)
  if [[ "$dims" == "$size $size" && "$lit" -gt $((size * size / 16)) && "$grey" -eq 0 ]]; then
    pass "icon ${size}x${size}: $lit figure pixels, none blurred"
  else
    fail "icon ${size}x${size}: size $dims, $lit figure pixels, $grey blurred"
  fi
done
svg="$prefix/share/icons/hicolor/scalable/apps/org.vantrel.Vantrel.svg"
[[ -f "$svg" ]] && grep -q '<svg' "$svg" && [[ $(grep -c '<rect' "$svg") -gt 100 ]] &&
  pass "scalable icon" || fail "scalable icon missing or empty"

if out=$(desktop-file-validate "$prefix/share/applications/org.vantrel.Vantrel.desktop" 2>&1) && [[ -z "$out" ]]; then
  pass "desktop-file-validate"
else
  fail "desktop-file-validate: $out"
fi
grep -qx 'Exec=vantrel --toggle' "$prefix/share/applications/org.vantrel.Vantrel.desktop" &&
  pass "the desktop action toggles the playfield" || fail "no toggle action in the desktop entry"

if out=$(appstreamcli validate --no-net --pedantic "$prefix/share/metainfo/org.vantrel.Vantrel.metainfo.xml" 2>&1); then
  pass "appstreamcli validate"
else
  fail "appstreamcli validate: $out"
fi
version=$(sed -n 's/^project(Vantrel VERSION \([0-9.]*\).*/\1/p' "$(dirname "$0")/../../CMakeLists.txt")
grep -q "<release version=\"$version\"" "$prefix/share/metainfo/org.vantrel.Vantrel.metainfo.xml" &&
  pass "the catalogue names release $version" || fail "the catalogue does not name release $version"

# Every screenshot the catalogue names is one that vantrel-snapshot draws (and a maintainer publishes).
shots="$stage/screenshots"
QT_QPA_PLATFORM=offscreen ASAN_OPTIONS=detect_leaks=0 "$build/tools/vantrel-snapshot/vantrel-snapshot" "$shots" >/dev/null
named=$(grep -o '<image[^>]*>[^<]*</image>' "$prefix/share/metainfo/org.vantrel.Vantrel.metainfo.xml" |
  sed 's/.*>\([^<]*\)<.*/\1/')
if [[ -z "$named" ]]; then
  fail "the catalogue names no screenshot"
fi
for url in $named; do
  file="$shots/$(basename "$url")"
  [[ "$url" == https://* && -f "$file" ]] && pass "screenshot $(basename "$url") is drawn by vantrel-snapshot" ||
    fail "screenshot $url is not an https URL of an image vantrel-snapshot draws"
done

for page in vantrel vantrel-sim; do
  warnings=$(LC_ALL=C.UTF-8 MANWIDTH=80 man --warnings -E UTF-8 -l "$prefix/share/man/man6/$page.6.gz" 2>&1 >/dev/null)
  text=$(LC_ALL=C.UTF-8 MANWIDTH=80 man -E UTF-8 -l "$prefix/share/man/man6/$page.6.gz" 2>/dev/null)
  if [[ -z "$warnings" && "$text" == *"SYNOPSIS"* && "$text" == *"$version"* ]]; then
    pass "man page $page renders"
  else
    fail "man page $page: ${warnings:-no SYNOPSIS or version}"
  fi
done

printed=$("$prefix/bin/vantrel" --version)
[[ "$printed" =~ ^vantrel\ $version\ \(build\ [0-9]+\)$ ]] && pass "vantrel --version: $printed" ||
  fail "vantrel --version printed: $printed"
state=$(printf 'act\nstate\n' | "$prefix/bin/vantrel-sim" replay --seed 3)
[[ "$state" == *'"phase":"running"'* ]] && pass "the installed vantrel-sim replays" || fail "vantrel-sim replay: $state"

echo "install: $passes passed, $failures failed"
exit $((failures > 0))
