"""A native Wayland window for the end-to-end tests: a GTK 3 window on the Wayland
backend, maximized so it fills the screen (full-screen with --fullscreen). It prints
one line per event that a test looks for, with a monotonic timestamp: "ready",
"focus-in", "focus-out", "key NAME", "button" (then "button-at X Y", in window
coordinates), and the pointer's arrival ("enter") and departure ("leave")."""

import os
import sys
import time

os.environ["GDK_BACKEND"] = "wayland"

import gi  # noqa: E402

gi.require_version("Gtk", "3.0")
from gi.repository import GLib, Gtk  # noqa: E402


def say(what):
    print("%.3f %s" % (time.monotonic(), what), flush=True)


def main():
    titles = [a for a in sys.argv[1:] if not a.startswith("--")]
    window = Gtk.Window(title=titles[0] if titles else "native")
    window.set_decorated(False)
    window.add_events(0xFFFFFF)  # every event mask bit: enter, leave, keys, buttons
    window.connect("focus-in-event", lambda *a: say("focus-in") or False)
    window.connect("focus-out-event", lambda *a: say("focus-out") or False)
    window.connect("key-press-event", lambda w, e: say("key " + Gtk.accelerator_name(e.keyval, 0)) or False)
    window.connect("button-press-event",
                   lambda w, e: say("button") or say("button-at %d %d" % (e.x, e.y)) or False)
    window.connect("enter-notify-event", lambda *a: say("enter") or False)
    window.connect("leave-notify-event", lambda *a: say("leave") or False)
    window.connect("destroy", Gtk.main_quit)
    if "--fullscreen" in sys.argv:
        window.fullscreen()
    else:
        window.maximize()
    window.show_all()
    GLib.idle_add(lambda: say("ready") or False)
    Gtk.main()


if __name__ == "__main__":
    main()
