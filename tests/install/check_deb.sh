#!/usr/bin/env bash
# Checks a built Debian package from outside: its control fields, that its
# dependencies were computed from the linked libraries, that it holds every
# file a desktop needs, and that lintian finds no error or warning.
#   check_deb.sh PACKAGE.deb
set -uo pipefail
deb=$1
failures=0
passes=0
fail() { echo "FAIL: $*"; failures=$((failures + 1)); }
pass() { echo "ok: $*"; passes=$((passes + 1)); }

info=$(dpkg-deb --info "$deb") || { echo "FAIL: dpkg-deb cannot read $deb"; exit 1; }
field() { dpkg-deb --field "$deb" "$1"; }
[[ $(field Package) == vantrel ]] && pass "Package: vantrel" || fail "Package: $(field Package)"
version=$(sed -n 's/^project(Vantrel VERSION \([0-9.]*\).*/\1/p' "$(dirname "$0")/../../CMakeLists.txt")
[[ $(field Version) == "$version" ]] && pass "Version: $version" || fail "Version: $(field Version)"
[[ $(basename "$deb") == "vantrel_${version}_$(dpkg --print-architecture).deb" ]] &&
  pass "file name $(basename "$deb")" || fail "file name $(basename "$deb")"
[[ $(field Section) == games ]] && pass "Section: games" || fail "Section: $(field Section)"
[[ -n $(field Maintainer) && -n $(field Description) ]] && pass "Maintainer and Description" ||
  fail "Maintainer or Description missing"
depends=$(field Depends)
missing=()
# Libraries the programs link; dpkg-shlibdeps names their packages with versions.
for lib in libqt6core6 libqt6widgets6 libqt6multimedia6 libqt6dbus6 libsodium23 liburiparser1 libxcb1 libc6; do
  [[ "$depends" == *"$lib ("* ]] || missing+=("$lib")
done
((${#missing[@]} == 0)) && pass "Depends computed from the linked libraries" ||
  fail "Depends lacks ${missing[*]}: $depends"
[[ "$depends" == *qt6-qpa-plugins* ]] && pass "Depends: qt6-qpa-plugins (loaded at run time)" ||
  fail "Depends lacks qt6-qpa-plugins"

contents=$(dpkg-deb --contents "$deb" | awk '{print $6}')
for f in ./usr/games/vantrel ./usr/games/vantrel-sim \
  ./usr/share/applications/org.vantrel.Vantrel.desktop \
  ./usr/share/metainfo/org.vantrel.Vantrel.metainfo.xml \
  ./usr/share/icons/hicolor/48x48/apps/org.vantrel.Vantrel.png \
  ./usr/share/icons/hicolor/scalable/apps/org.vantrel.Vantrel.svg \
  ./usr/share/man/man6/vantrel.6.gz ./usr/share/man/man6/vantrel-sim.6.gz \
  ./usr/share/doc/vantrel/copyright ./usr/share/doc/vantrel/changelog.gz; do
  grep -qx -- "$f" <<<"$contents" && pass "contains $f" || fail "does not contain $f"
done
grep -q 'vantrel-release' <<<"$contents" && fail "contains the maintainers' vantrel-release" ||
  pass "leaves the maintainers' tool out"

if command -v lintian >/dev/null; then
  # Running as root is only a note from lintian, not a finding about the package.
  findings=$(lintian --tag-display-limit 0 "$deb" 2>&1 | grep -E '^[EW]: ' || true)
  [[ -z "$findings" ]] && pass "lintian: no errors, no warnings" || fail "lintian: $findings"
else
  fail "lintian is missing (scripts/install-deps.sh --test installs it)"
fi
echo "package: $passes passed, $failures failed"
exit $((failures > 0))
