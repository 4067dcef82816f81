"""A plain native Wayland window for the compositor tests: GTK 3 on its Wayland
backend, as large as the compositor lets it be. It prints one line per event a
test wants to see, flushed at once:
  ready
  focus-in / focus-out
  key NAME
  button X Y      (a press, in window coordinates)
"""

import os
import sys

os.environ["GDK_BACKEND"] = "wayland"

import gi  # noqa: E402

gi.require_version("Gdk", "3.0")
gi.require_version("Gtk", "3.0")
from gi.repository import Gdk, Gtk  # noqa: E402


def say(line):
    print(line, flush=True)


def main():
    window = Gtk.Window(title="native")
    window.set_default_size(1440, 900)
    window.connect("destroy", Gtk.main_quit)
    window.connect("focus-in-event", lambda *_: say("focus-in"))
    window.connect("focus-out-event", lambda *_: say("focus-out"))
    window.connect("key-press-event", lambda _w, e: say("key " + Gdk.keyval_name(e.keyval)))
    window.connect("button-press-event", lambda _w, e: say("button %d %d" % (e.x, e.y)))
    window.add_events(Gdk.EventMask.BUTTON_PRESS_MASK | Gdk.EventMask.KEY_PRESS_MASK)
    window.connect("map-event", lambda *_: say("ready"))
    window.show_all()
    if len(sys.argv) > 1 and sys.argv[1] == "--fullscreen":
        window.fullscreen()
    Gtk.main()


if __name__ == "__main__":
    main()
