"""Whole-process measurements of the notch panel on a private Xvfb with openbox:
  1. idle wake-ups: system calls of every thread of vantrel over 30 s with the
     panel collapsed and the pointer resting away from it (strace -f -c);
  2. the same while the pointer moves far from the panel, by device motion
     and by XWarpPointer (no device moves; remote desktops move it so);
  3. the expansion animation against a real X server (bench_panel on xcb): the
     real-time animation first, in a process of its own, then the cost of a frame.
     The frame benchmarks send the server tens of thousands of frames in a second
     or two, and an animation started right after them shows one stall of 50-115 ms
     (even from another process, even after a round trip has drained the queue),
     which is the flood's after-effect and not the panel's.
Usage: python3 bench/panel_measure.py build/release [seconds]"""

import os
import subprocess
import sys
import time

sys.path.insert(0, os.path.join(os.path.dirname(__file__), "..", "tests", "e2e"))
from desktop import Desktop, Warper  # noqa: E402


def without_attach_lines(strace_output):
    return "\n".join(line for line in strace_output.splitlines()
                     if not line.startswith("strace: Process"))


def main(build, seconds):
    program = os.path.join(build, "Vantrel", "vantrel")
    with Desktop(program, session_bus=True) as d:
        app = d.start_vantrel()
        d.move_to(900, 500)
        time.sleep(1.0)
        proc = subprocess.Popen(["strace", "-f", "-c", "-p", str(app.pid)], env=d.env,
                                stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        time.sleep(seconds)
        proc.send_signal(2)
        _, summary = proc.communicate(timeout=30)
        summary = without_attach_lines(summary)
        print("== idle: system calls of vantrel (all threads) over %d s, panel collapsed, pointer still" % seconds)
        print(summary.strip() or "(no system calls at all)")

        print("== the same %d s with the pointer moving far from the panel (50 moves)" % 10)
        proc = subprocess.Popen(["strace", "-f", "-c", "-p", str(app.pid)], env=d.env,
                                stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        for i in range(50):
            d.move_to(900 + (i % 2) * 20, 500)
            time.sleep(0.2)
        proc.send_signal(2)
        _, summary = proc.communicate(timeout=30)
        print(without_attach_lines(summary).strip())

        print("== the same %d s with the pointer warped far from the panel (50 warps)" % 10)
        warper = Warper(d.display)
        proc = subprocess.Popen(["strace", "-f", "-c", "-p", str(app.pid)], env=d.env,
                                stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        for i in range(50):
            warper.warp(900 + (i % 2) * 20, 500)
            time.sleep(0.2)
        proc.send_signal(2)
        _, summary = proc.communicate(timeout=30)
        warper.close()
        print(without_attach_lines(summary).strip() or "(no system calls at all)")
        d.stop_vantrel()
        if not os.path.exists(os.path.join(build, "bench", "bench_panel")):
            print("== (bench_panel is not built: no animation figures)")
            return

        print("== expansion animation on X11")
        bench = os.path.join(build, "bench", "bench_panel")
        env = dict(d.env, QT_QPA_PLATFORM="xcb")
        for selection in ("RealTimeExpansion", "ExpansionFrame"):
            print(subprocess.run([bench, "--benchmark_filter=" + selection], env=env, capture_output=True,
                                 text=True).stdout)


if __name__ == "__main__":
    main(sys.argv[1], int(sys.argv[2]) if len(sys.argv) > 2 else 30)
