"""The welcome window at a scale of 2 (QT_SCALE_FACTOR=2 on a 1440x900 screen, so
720x450 points): it fits the screen, its title bar within reach, and its pages
scroll instead of running off the screen. At scale 1 it keeps its full size."""

import os
import subprocess
import sys

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), ".."))
from desktop import Desktop, run_checks, worst  # noqa: E402

WIDTH, HEIGHT = 1440, 900


def frame_geometry(d, client, wid):
    """The window with the window manager's frame (title bar included): the client's
    geometry grown by _NET_FRAME_EXTENTS (left, right, top, bottom)."""
    out = subprocess.run(["xprop", "-id", wid, "_NET_FRAME_EXTENTS"], env=d.env, capture_output=True,
                         text=True).stdout
    if "=" not in out:
        raise AssertionError("the window manager gave the window no frame extents: %r" % out.strip())
    left, right, top, bottom = (int(v) for v in out.split("=")[1].split(","))
    x, y, w, h = client
    return (x - left, y - top, w + left + right, h + top + bottom)


def welcome_window(program, scale, check):
    with Desktop(program, WIDTH, HEIGHT, onboarded=False) as d:
        if scale != 1:
            d.env["QT_SCALE_FACTOR"] = str(scale)
        d.start_vantrel()
        found = []

        def shown():
            found[:] = d.visible_windows(name="^Vantrel$")
            return bool(found)

        def fits():
            d.wait_for(shown, 10, "no welcome window")
            client = d.window_geometry(found[0])
            frame = frame_geometry(d, client, found[0])
            print("  scale %s: window %s, with its frame %s" % (scale, client, frame), flush=True)
            check(client, frame)

        return run_checks([("welcome window at scale %s" % scale, fits)])


def main(program):
    def fits_the_screen(client, frame):
        x, y, w, h = frame
        assert y >= 0, "the title bar starts at y=%d, above the screen" % y
        assert x >= 0 and x + w <= WIDTH, "the window runs off the screen sideways: %s" % (frame,)
        assert y + h <= HEIGHT, "the window runs off the bottom of the screen: %s" % (frame,)
        assert client[1] > y, "no title bar above the window: %s in %s" % (client, frame)

    def full_size(client, frame):
        assert (client[2], client[3]) == (600, 610), "the window is %dx%d, not 600x610" % client[2:]
        fits_the_screen(client, frame)

    return worst(welcome_window(program, 2, fits_the_screen), welcome_window(program, 1, full_size))


if __name__ == "__main__":
    sys.exit(main(sys.argv[1]))
