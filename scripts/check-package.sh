#!/usr/bin/env bash
# Installs the built package into a fresh, minimal Debian 12 root (debootstrap
# --variant=minbase) with apt, as a user would, and runs the installed
# programs there: vantrel --version, vantrel --help and a short replay.
#   scripts/check-package.sh [PACKAGE.deb]   (default: build/package/vantrel_*.deb)
# Needs root (for debootstrap and chroot) and Debian's package mirror; takes a few minutes.
set -euo pipefail
cd "$(dirname "$0")/.."
deb=${1:-$(ls build/package/vantrel_*.deb 2>/dev/null | head -n 1)}
if [[ -z "$deb" || ! -f "$deb" ]]; then
  echo "error: no package given and none in build/package/ (run scripts/package-deb.sh)" >&2
  exit 2
fi
if [[ $(id -u) -ne 0 ]]; then
  echo "error: debootstrap and chroot need root" >&2
  exit 2
fi
command -v debootstrap >/dev/null || { apt-get update -qq && apt-get install -y -qq debootstrap; }

mirror=${DEBIAN_MIRROR:-http://deb.debian.org/debian}
root=$(mktemp -d /tmp/vantrel-debroot.XXXXXX)
cleanup() {
  for m in proc dev/pts dev; do umount "$root/$m" 2>/dev/null || true; done
  rm -rf "$root"
}
trap cleanup EXIT

echo "== debootstrap --variant=minbase bookworm ($mirror)"
debootstrap --variant=minbase bookworm "$root" "$mirror" >/tmp/vantrel-debootstrap.log 2>&1 ||
  { tail -20 /tmp/vantrel-debootstrap.log; exit 1; }
mount -t proc proc "$root/proc"
mount --bind /dev "$root/dev"
cp /etc/resolv.conf "$root/etc/resolv.conf" 2>/dev/null || true
cp "$deb" "$root/tmp/"
name=$(basename "$deb")

run() { chroot "$root" /usr/bin/env -i PATH=/usr/local/bin:/usr/bin:/bin:/usr/games HOME=/root LANG=C.UTF-8 "$@"; }

echo "== apt-get install ./$name"
run apt-get update -qq
run env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "/tmp/$name" \
  >/tmp/vantrel-apt.log 2>&1 || { tail -30 /tmp/vantrel-apt.log; exit 1; }

failures=0
check() {
  local what=$1
  shift
  if out=$("$@" 2>&1); then
    echo "ok: $what"
    printf '%s\n' "$out" | sed 's/^/    /' | head -n 12
  else
    echo "FAIL: $what"
    printf '%s\n' "$out" | sed 's/^/    /' | head -n 20
    failures=$((failures + 1))
  fi
}
check "vantrel --version" run vantrel --version
check "vantrel --help" run vantrel --help
check "vantrel-sim replay" run sh -c "printf 'act\nadvance 0.1\nstate\n' | vantrel-sim replay --seed 7"
check "desktop entry, icon and manual page are in place" run sh -c \
  'test -f /usr/share/applications/org.vantrel.Vantrel.desktop &&
   test -f /usr/share/icons/hicolor/48x48/apps/org.vantrel.Vantrel.png &&
   test -f /usr/share/man/man6/vantrel.6.gz && echo present'
echo "package check: $((4 - failures)) passed, $failures failed"
exit $((failures > 0))
