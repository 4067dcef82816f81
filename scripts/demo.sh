#!/usr/bin/env bash
# Shows Vantrel on a machine without a display: runs the program on a private
# virtual X display (Xvfb, with the openbox window manager and the trayer
# tray), lets the autopilot play, and saves screenshots of the top centre of
# the screen, collapsed, peeking and open, into a folder.
#   scripts/demo.sh [vantrel options...]
# The folder is demo-screenshots/ unless VANTREL_DEMO_DIR names another.
set -euo pipefail
cd "$(dirname "$0")/.."

program=build/release/Vantrel/vantrel
out=${VANTREL_DEMO_DIR:-demo-screenshots}
width=1280
height=800
cx=$((width / 2))
crop="800x280+$((cx - 400))+0" # the top centre: room for the larger playfield and its shadow

for tool in Xvfb openbox trayer xdotool xprop xwininfo xsetroot import; do
  if ! command -v "$tool" >/dev/null; then
    echo "error: $tool is missing; scripts/install-deps.sh installs it" >&2
    exit 1
  fi
done
if [[ ! -x "$program" ]]; then
  echo "error: $program is not built; run scripts/build.sh release first" >&2
  exit 1
fi

work=$(mktemp -d -t vantrel-demo-XXXXXX)
chmod 700 "$work"
pids=()
cleanup() {
  local pid
  for ((i = ${#pids[@]} - 1; i >= 0; i--)); do
    pid=${pids[i]}
    kill "$pid" 2>/dev/null || true
    wait "$pid" 2>/dev/null || true
  done
  rm -rf "$work"
}
trap cleanup EXIT

# Polls `condition` (a command) every 0.1 s for up to `seconds`.
wait_for() {
  local seconds=$1 message=$2
  shift 2
  local tries=$((seconds * 10))
  until "$@" >/dev/null 2>&1; do
    if ((--tries <= 0)); then
      echo "error: $message" >&2
      if [[ -s "$work/vantrel.log" ]]; then
        sed 's/^/  /' "$work/vantrel.log" >&2
      fi
      exit 1
    fi
    sleep 0.1
  done
}

# A free display number, reported by Xvfb itself.
Xvfb -displayfd 3 -screen 0 "${width}x${height}x24" -nolisten tcp +extension RANDR \
  3>"$work/display" >/dev/null 2>&1 &
pids+=($!)
wait_for 15 "Xvfb did not start" grep -q . "$work/display"
export DISPLAY=":$(head -n1 "$work/display")"

# A private session: own runtime folder (so a Vantrel running elsewhere is not
# asked instead), own settings, no session bus.
export HOME="$work" XDG_RUNTIME_DIR="$work" XDG_CONFIG_HOME="$work" QT_QPA_PLATFORM=xcb
unset DBUS_SESSION_BUS_ADDRESS WAYLAND_DISPLAY
settings="$work/Vantrel.conf"
printf '[General]\nhasCompletedOnboarding=true\n' >"$settings"

openbox --sm-disable >/dev/null 2>&1 &
pids+=($!)
wait_for 30 "openbox did not start" sh -c 'xprop -root _NET_SUPPORTING_WM_CHECK | grep -q "window id"'
xsetroot -solid '#5b7089' # a desktop colour, so the black panel stands out
trayer --edge top --align right --widthtype pixel --width 120 --heighttype pixel --height 28 \
  --SetDockType true --expand false >/dev/null 2>&1 &
pids+=($!)

"$program" --demo --settings-file "$settings" --verbose "$@" 2>"$work/vantrel.log" &
vantrel=$!
pids+=("$vantrel")
wait_for 20 "vantrel did not start" grep -q "vantrel: ready" "$work/vantrel.log"

panel_shown() {
  local id
  id=$(xdotool search --name '^Velt$' | head -n1)
  [[ -n "$id" ]] && xwininfo -id "$id" | grep -q IsViewable
}

panel_hidden() {
  ! panel_shown
}

# Moves the pointer by relative motion (real input events, unlike a warp).
pointer_to() {
  local x y X Y
  eval "$(xdotool getmouselocation --shell)"
  x=$1 y=$2
  xdotool mousemove_relative -- $((x - X)) $((y - Y))
}

shot() {
  import -silent -window root -crop "$crop" +repage "$out/$1"
  echo "  $out/$1"
}

mkdir -p "$out"
echo "Vantrel is running on the virtual display $DISPLAY; screenshots:"

# Open, with the autopilot a few seconds into its run.
wait_for 10 "the playfield did not open" panel_shown
sleep 4
shot 3-expanded.png

# Escape closes it (the run pauses).
xdotool key Escape
wait_for 5 "Escape did not close the playfield" panel_hidden
pointer_to "$cx" 400
sleep 0.5
shot 1-collapsed.png

# Resting the pointer just below the top centre makes it peek.
for y in 200 40 2; do
  pointer_to "$cx" "$y"
  sleep 0.05
done
wait_for 5 "the tab did not peek" panel_shown
sleep 0.4
shot 2-peeking.png

# Launching it again with --demo opens the playfield in the running one; the autopilot plays on.
"$program" --demo --settings-file "$settings"
pointer_to "$cx" 400
wait_for 5 "the second launch did not open the playfield" panel_shown
sleep 3
shot 4-expanded-again.png

kill -TERM "$vantrel"
status=0
wait "$vantrel" || status=$?
if ((status != 0)); then
  echo "error: vantrel exited with status $status" >&2
  sed 's/^/  /' "$work/vantrel.log" >&2
  exit 1
fi
best=$(sed -n 's/^bestScore=//p' "$settings")
echo "The autopilot's best score in this demo: ${best:-0}. Everything is stopped again."
