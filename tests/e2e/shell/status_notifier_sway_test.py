"""A real StatusNotifierItem host that comes late: sway's swaybar (its tray is a
StatusNotifierWatcher and host on the session bus), held back until the program
has run for three seconds with no tray of any kind. The item registers with
swaybar's watcher within a second, swaybar draws the dinosaur from the item's
pixels, and a click on it in the bar opens the playfield.
Arguments: the vantrel program, the wl-input tool. Exit status 77: skipped."""

import os
import subprocess
import sys
import time

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(HERE, "..", "wayland"))
from compositor import Lines, Sway  # noqa: E402

WIDTH, HEIGHT = 1280, 800
CX = WIDTH // 2
BAR = 40  # the bottom rows, where swaybar sits with its tray at the right end


class LateBarSway(Sway):
    """sway whose bar (and so its tray) starts only when the test says so."""

    tray_at_start = False

    def bar_config(self):
        go = self.path("start-bar")
        script = self.path("late-swaybar")
        with open(script, "w") as f:
            f.write("#!/bin/sh\nwhile [ ! -e %s ]; do sleep 0.05; done\nexec swaybar \"$@\"\n" % go)
        os.chmod(script, 0o755)
        self._own(script)
        return "bar {\n  position bottom\n  tray_output *\n  swaybar_command %s\n}\n" % script

    def start_bar(self):
        with open(self.path("start-bar"), "w"):
            pass

    def registered_items(self):
        try:
            out = self.run("dbus-send", "--session", "--print-reply", "--dest=org.kde.StatusNotifierWatcher",
                           "/StatusNotifierWatcher", "org.freedesktop.DBus.Properties.Get",
                           "string:org.kde.StatusNotifierWatcher", "string:RegisteredStatusNotifierItems")
        except AssertionError:
            return []
        return [line.split('"')[1] for line in out.decode().splitlines() if line.strip().startswith("string")]


def light_pixels(s, x0):
    """(count, mean x) of light pixels in the bar's right part: the icon's light outline on the
    dark bar (nothing else is drawn there: no status line, the workspace button is at the left)."""
    shot = s.screenshot(x0, HEIGHT - BAR, WIDTH - x0, BAR)
    xs = [x0 + c for row in shot for c, p in enumerate(row) if min(p) > 200]
    return len(xs), (sum(xs) // len(xs) if xs else None)


def main(program, input_tool):
    with LateBarSway(input_tool, WIDTH, HEIGHT) as s:
        settings = os.path.join(s.tmp, "Vantrel.conf")
        with open(settings, "w") as f:
            f.write("[General]\nhasCompletedOnboarding=true\n")
        s.writable(settings)
        app = s.spawn([program, "--settings-file", settings, "--verbose"], stdout=subprocess.PIPE,
                      stderr=subprocess.STDOUT, text=True, env=dict(s.env, VANTREL_TRAY_WAIT_SECONDS="6",
                                                                QT_LOGGING_RULES="vantrel.panel.debug=true"))
        log = Lines(app)
        if not log.wait_for("vantrel: ready", 15):
            raise SystemExit("FAIL vantrel did not start:\n" + "\n".join(log.seen[-15:]))
        failures = 0

        def check(title, condition, detail):
            nonlocal failures
            print(("PASS " if condition else "FAIL ") + title + ("" if condition else ": " + detail), flush=True)
            failures += 0 if condition else 1

        check("no tray at the start", "vantrel: tray not available" in log.seen and
              not s.name_on_bus("org.kde.StatusNotifierWatcher"), "\n".join(log.seen[-10:]))
        time.sleep(3.0)  # a slow login: the panel comes three seconds after the program
        before = light_pixels(s, WIDTH - 200)
        s.start_bar()
        s.wait(lambda: s.name_on_bus("org.kde.StatusNotifierWatcher"), 10, "swaybar's watcher did not appear")
        appeared = time.time()
        items = []
        while time.time() < appeared + 1.0 and not items:
            items = s.registered_items()
        check("the item registers with swaybar's watcher within 1 s (%.0f ms)" % ((time.time() - appeared) * 1000),
              bool(items), "registered items: %s" % items)
        drawn = [(0, None)]

        def icon_drawn():
            drawn[0] = light_pixels(s, WIDTH - 200)
            return drawn[0][0] > 20

        try:
            s.wait(icon_drawn, 3, "")
        except AssertionError:
            pass
        check("swaybar draws the icon from the item's pixels", drawn[0][0] > 20,
              "light pixels at the bar's right end: before %s, after %s" % (before, drawn[0]))
        time.sleep(max(0.0, appeared + 4.0 - time.time()))  # past the 6 s tray wait
        # The notice is a desktop notification, or a window of its own where (as here) no
        # notification service runs: the window would be in sway's tree.
        check("no notice about a missing tray", "Vantrel is running" not in s.windows(),
              "a notice window: %s" % s.windows()[:300])
        if drawn[0][1] is not None:
            s.click(drawn[0][1], HEIGHT - BAR // 2)
            opened = False
            end = time.time() + 3
            while time.time() < end and not opened:
                opened = any(line.endswith(": expand; expanded false visible false") or
                             line.startswith("vantrel.panel: expand;") for line in log.seen)
                time.sleep(0.05)
            check("a click on the icon in swaybar opens the playfield (swaybar calls Activate)", opened,
                  "\n".join(log.seen[-10:]))
        return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1], sys.argv[2]))
