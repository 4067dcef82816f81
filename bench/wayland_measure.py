"""The panel on a headless sway (the layer-shell path), measured from outside:
  1. idle: system calls of every thread of vantrel over 30 s with the panel
     collapsed, first with the pointer still, then moving over a native window
     every 50 ms (strace -f -c);
  2. hover reveal latency: the pointer comes to rest in the strip under the top
     edge, then screenshots are taken as fast as grim allows until the panel's
     first frame shows (row 4) and until the tab has grown out (row 12, most of
     its 24 rows). The rest delay is 0.25 s; grim needs a few tens of
     milliseconds a shot, so the numbers are upper bounds.
Usage: python3 bench/wayland_measure.py build/release [seconds] [reveals]"""

import os
import statistics
import subprocess
import sys
import threading
import time

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(HERE, "..", "tests", "e2e", "wayland"))
from compositor import Lines, Sway  # noqa: E402

WIDTH, HEIGHT = 1440, 900
CX = WIDTH // 2


def count_syscalls(pid, seconds, mover=None):
    stop = threading.Event()
    if mover is not None:
        thread = threading.Thread(target=mover, args=(stop,), daemon=True)
        thread.start()
    result = subprocess.run(["timeout", "-s", "INT", str(seconds), "strace", "-f", "-c", "-p", str(pid)],
                            capture_output=True, text=True)
    stop.set()
    # The summary's last row: % time, seconds, usecs/call, calls, [errors,] "total".
    for line in result.stderr.splitlines():
        tokens = line.split()
        if tokens and tokens[-1] == "total":
            return int(tokens[3])
    return 0


def main(build, seconds, reveals):
    program = os.path.join(build, "Vantrel", "vantrel")
    input_tool = os.path.join(build, "tests", "e2e", "wayland", "wl-input")
    with Sway(input_tool, WIDTH, HEIGHT) as s:
        settings = os.path.join(s.tmp, "Vantrel.conf")
        with open(settings, "w") as f:
            f.write("[General]\nhasCompletedOnboarding=true\n")
        s.writable(settings)
        s.start_native()
        app = s.spawn([program, "--settings-file", settings, "--verbose"], stdout=subprocess.PIPE,
                      stderr=subprocess.STDOUT, text=True)
        log = Lines(app)
        if not log.wait_for("vantrel: ready", 15):
            raise SystemExit("vantrel did not start")
        s.move(CX, 500)
        time.sleep(2)

        still = count_syscalls(app.pid, seconds)

        def mover(stop):
            i = 0
            while not stop.is_set():
                s.move(200 + (i * 37) % 1000, 300 + (i * 23) % 500)
                i += 1
                time.sleep(0.05)

        moving = count_syscalls(app.pid, seconds, mover)
        print("idle over %d s: %d system calls with the pointer still, %d with it moving elsewhere"
              % (seconds, still, moving), flush=True)

        first, out = [], []
        for _ in range(reveals):
            s.move(CX, 500)
            time.sleep(0.6)
            s.move(CX, 1)
            rested = time.time()
            seen = None
            while time.time() - rested < 2:
                column = s.screenshot(CX - 60, 4, 1, 9)
                now = time.time() - rested
                if seen is None and max(column[0][0]) < 40:
                    seen = now
                if max(column[8][0]) < 40:
                    first.append(seen if seen is not None else now)
                    out.append(now)
                    break
            else:
                print("a reveal did not happen within 2 s")
        s.move(CX, 500)
        for name, values in (("first frame of the panel", first), ("tab grown out", out)):
            if values:
                print("hover reveal, rest -> %s (upper bound): median %.0f ms, %.0f-%.0f ms over %d"
                      % (name, statistics.median(values) * 1000, min(values) * 1000, max(values) * 1000,
                         len(values)))
        app.terminate()
        app.wait(10)


if __name__ == "__main__":
    main(sys.argv[1], int(sys.argv[2]) if len(sys.argv) > 2 else 30, int(sys.argv[3]) if len(sys.argv) > 3 else 10)
