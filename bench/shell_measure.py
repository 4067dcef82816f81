"""Whole-process measurements of the application shell on a private Xvfb with
openbox and the trayer tray:
  1. start-up: from the moment vantrel is spawned to the "vantrel: ready" line
     (the event loop starts) and to its icon window embedded in the tray, and
     to the dinosaur's pixels on the screen there; over several launches;
  2. memory: VmRSS (and the heap/library split from /proc/PID/smaps) after
     start-up, then while the autopilot plays (--demo) for some minutes.
The desktop has a session bus, as a desktop session does; with "--no-bus" it
has none and the first launch autolaunches one (seconds).
Usage: python3 bench/shell_measure.py build/release [launches] [minutes] [--no-bus]"""

import os
import statistics
import sys
import time

sys.path.insert(0, os.path.join(os.path.dirname(__file__), "..", "tests", "e2e"))
from desktop import Desktop  # noqa: E402


def rss_kib(pid):
    with open("/proc/%d/status" % pid) as f:
        for line in f:
            if line.startswith("VmRSS:"):
                return int(line.split()[1])
    return 0


def rss_by_mapping(pid):
    """Resident KiB grouped as heap, anonymous, Qt libraries, other libraries and the rest."""
    groups = {}
    name = None
    with open("/proc/%d/smaps" % pid) as f:
        for line in f:
            fields = line.split()
            if "-" in fields[0] and len(fields[0]) > 8 and ":" not in fields[0]:
                path = fields[5] if len(fields) > 5 else ""
                if path == "[heap]":
                    name = "heap (malloc)"
                elif path == "":
                    name = "anonymous (malloc arenas, thread stacks, X shared memory)"
                elif "libQt6" in path:
                    name = "Qt libraries"
                elif path.startswith("/dev/shm") or path.startswith("/SYSV") or "memfd" in path:
                    name = "shared memory"
                elif ".so" in path:
                    name = "other libraries"
                elif path.endswith("/vantrel"):
                    name = "the vantrel executable"
                else:
                    name = "other (%s)" % path
            elif fields[0] == "Rss:" and name:
                groups[name] = groups.get(name, 0) + int(fields[1])
    return sorted(groups.items(), key=lambda item: -item[1])


def start(d, *args):
    log = open(os.path.join(d.tmp, "vantrel.log"), "w")
    d.log = log
    started = time.perf_counter()
    app = d._spawn([d.program, "--settings-file", d.settings, "--verbose"] + list(args), stderr=log)
    d.app = app
    return app, started


def icon_dark_pixels(d, icon):
    _, x, y, w, h = icon
    return sum(1 for row in d.screenshot(x, y, w, h) for p in row if max(p) < 60)


def startup(d, launches):
    ready, embedded, painted, resident = [], [], [], []
    for _ in range(launches):
        app, started = start(d)
        t_ready = t_embed = t_paint = None
        deadline = started + 20
        while time.perf_counter() < deadline and (t_paint is None or t_ready is None):
            now = time.perf_counter()
            if t_ready is None and "vantrel: ready" in d.stderr_text():
                t_ready = now - started
            if t_embed is None and d.tray_icon() is not None:
                t_embed = time.perf_counter() - started
            if t_paint is None and t_embed is not None and icon_dark_pixels(d, d.tray_icon()) > 50:
                t_paint = time.perf_counter() - started
        if t_paint is None or t_ready is None:
            raise RuntimeError("no icon within 20 s:\n" + d.stderr_text())
        print("  launch %d: ready %.0f ms, embedded %.0f ms, painted %.0f ms" % (
            len(ready) + 1, t_ready * 1000, t_embed * 1000, t_paint * 1000), flush=True)
        ready.append(t_ready)
        embedded.append(t_embed)
        painted.append(t_paint)
        time.sleep(1.0)
        resident.append(rss_kib(app.pid) / 1024)
        d.stop_vantrel()
        d.wait_for(lambda: d.tray_icon() is None, 5, "the icon stayed after the program ended")
        time.sleep(0.3)

    def row(label, values):
        ms = [v * 1000 for v in values]
        print("%-44s median %6.0f ms  min %6.0f  max %6.0f" % (label, statistics.median(ms), min(ms), max(ms)))

    print("== start-up over %d launches (polled; a screenshot takes about 40 ms, so painted is an upper bound)" % launches)
    row("spawn -> 'vantrel: ready' (event loop)", ready)
    row("spawn -> icon window embedded in the tray", embedded)
    row("spawn -> dinosaur pixels on screen in the tray", painted)
    print("VmRSS one second after start-up, playfield closed: median %.1f MB" % statistics.median(resident))


def memory(d, minutes):
    app, _ = start(d, "--demo")
    d.wait_for(lambda: d.tray_icon() is not None and d.panel_geometry() is not None, 20, "no demo")
    time.sleep(2)
    print("== memory (VmRSS) while the autopilot plays (--demo)")
    print("after start-up, playfield open: %.1f MB" % (rss_kib(app.pid) / 1024))
    samples = []
    started = time.time()
    while time.time() - started < minutes * 60:
        time.sleep(30)
        minute = (time.time() - started) / 60
        samples.append((minute, rss_kib(app.pid)))
        print("  %4.1f min: %.1f MB" % (minute, samples[-1][1] / 1024), flush=True)
    assert d.panel_geometry() is not None, "the playfield closed during the demo"
    print("where it goes at the end:")
    for name, kib in rss_by_mapping(app.pid):
        if kib >= 256:
            print("  %-60s %6.1f MB" % (name, kib / 1024))
    first = next((kib for minute, kib in samples if minute >= 1), samples[0][1])
    print("growth from minute 1 to the end: %+.1f MB" % ((samples[-1][1] - first) / 1024))
    d.stop_vantrel()
    print("best score in the settings file: %s" % d.read_settings().get("bestScore"))


def main(build, launches, minutes, session_bus):
    program = os.path.join(build, "Vantrel", "vantrel")
    with Desktop(program, session_bus=session_bus) as d:
        d.start_tray()
        d.move_to(900, 500)
        if launches > 0:
            startup(d, launches)
        if minutes > 0:
            memory(d, minutes)


if __name__ == "__main__":
    args = [a for a in sys.argv[1:] if a != "--no-bus"]
    main(args[0], int(args[1]) if len(args) > 1 else 10, float(args[2]) if len(args) > 2 else 10,
         "--no-bus" not in sys.argv)
