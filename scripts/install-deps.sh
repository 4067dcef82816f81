#!/usr/bin/env bash
# Installs the Debian packages that Vantrel needs to build, run and test.
# Only missing packages are installed, so a second run is quick.
#   scripts/install-deps.sh            build and run dependencies
#   scripts/install-deps.sh --test     also what the end-to-end tests need
set -euo pipefail

build_pkgs=(
  build-essential cmake ninja-build pkg-config git ca-certificates ccache
  qt6-base-dev qt6-base-dev-tools qt6-multimedia-dev libqt6svg6
  libxcb1-dev libxcb-xinput-dev libxcb-keysyms1-dev libxcb-shape0-dev libxcb-xfixes0-dev libxcb-shm0-dev libx11-dev libx11-xcb-dev libxkbcommon-dev libglib2.0-dev
  libwayland-dev libwayland-bin wayland-protocols qt6-base-private-dev
  libsodium-dev nlohmann-json3-dev liburiparser-dev
  libgtest-dev libgmock-dev libbenchmark-dev npm
  qt6-qpa-plugins libqt6multimedia6 gstreamer1.0-plugins-base
  xvfb xauth openbox x11-utils x11-xserver-utils xdotool imagemagick trayer
)
test_pkgs=(
  clang libclang-rt-14-dev
  wmctrl xterm dbus dbus-x11 python3 python3-dbus python3-gi
  pulseaudio pulseaudio-utils sox libsox-fmt-all gsettings-desktop-schemas libglib2.0-bin
  openssl clang-format strace
  xdg-desktop-portal-dev gnome-settings-daemon-common
  kwin-wayland xdg-desktop-portal xdg-desktop-portal-kde qtwayland5
  desktop-file-utils appstream man-db lintian dpkg-dev
  xcompmgr xwayland gir1.2-gtk-3.0 qt6-wayland sway grim wtype plasma-wayland-protocols kwin-wayland mutter
)

want=("${build_pkgs[@]}")
if [[ "${1:-}" == "--test" ]]; then
  want+=("${test_pkgs[@]}")
fi

missing=()
for p in "${want[@]}"; do
  # Node.js from another source ships its own npm; Debian's npm package would clash with it.
  if [[ "$p" == npm ]] && command -v npm >/dev/null; then
    continue
  fi
  status=$(dpkg-query -W -f='${Status}' "$p" 2>/dev/null || true)
  if [[ "$status" != "install ok installed" ]]; then
    missing+=("$p")
  fi
done

if ((${#missing[@]} == 0)); then
  exit 0
fi

echo "Installing missing packages: ${missing[*]}"
sudo_cmd=()
if [[ $(id -u) -ne 0 ]]; then
  if command -v sudo >/dev/null; then
    sudo_cmd=(sudo)
  else
    echo "error: these packages are missing and neither root nor sudo is available: ${missing[*]}" >&2
    exit 1
  fi
fi
export DEBIAN_FRONTEND=noninteractive
"${sudo_cmd[@]}" apt-get update -qq
"${sudo_cmd[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}"
