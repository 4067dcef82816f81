"""What playing costs the whole process, measured the way the browser's dinosaur game is measured
beside it (../shared/peer): a fresh Xvfb 1440x900x24 with openbox, the trayer tray and a session bus
for each launch; `vantrel --demo` with a throw-away settings file (onboarding done), 10 s to settle,
then over 30 s:
  - CPU-seconds per second of the vantrel process, all threads (utime + stime from /proc/PID/stat),
  - the X server's CPU-seconds per second over the same window, reported beside it,
  - voluntary + involuntary context switches per second, all threads,
  - RSS and PSS at the end of the window (/proc/PID/smaps_rollup).
The same for idle: the program started without --demo, panel collapsed, the pointer far away.
Medians of 3 launches. Logging is off but for the demo's line per finished run (each costs
1.5 s without frames before the next run starts), counted to show the window was spent playing.

Usage: python3 bench/play_measure.py build/release [launches] [--scale 2] [--idle-only|--play-only]
       [--settle S] [--window S] [--minutes M (memory growth while playing, sampled every 30 s)]"""

import argparse
import os
import statistics
import sys
import time

sys.path.insert(0, os.path.join(os.path.dirname(__file__), "..", "tests", "e2e"))
from desktop import Desktop  # noqa: E402

TICKS = os.sysconf("SC_CLK_TCK")


def cpu_seconds(pid):
    with open("/proc/%d/stat" % pid) as f:
        fields = f.read().rsplit(")", 1)[1].split()
    # Fields 14 and 15 of stat (utime, stime) are the 12th and 13th after the command name.
    return (int(fields[11]) + int(fields[12])) / TICKS


def context_switches(pid):
    total = 0
    for tid in os.listdir("/proc/%d/task" % pid):
        try:
            with open("/proc/%d/task/%s/status" % (pid, tid)) as f:
                for line in f:
                    if line.startswith(("voluntary_ctxt_switches", "nonvoluntary_ctxt_switches")):
                        total += int(line.split()[1])
        except FileNotFoundError:
            pass
    return total


def memory_mib(pid):
    values = {}
    with open("/proc/%d/smaps_rollup" % pid) as f:
        for line in f:
            parts = line.split()
            if parts[0] in ("Rss:", "Pss:"):
                values[parts[0][:-1]] = int(parts[1]) / 1024
    return values["Rss"], values["Pss"]


def thread_cpu(pid):
    """CPU-seconds per thread name, to show which thread does the work."""
    threads = {}
    for tid in os.listdir("/proc/%d/task" % pid):
        try:
            with open("/proc/%d/task/%s/comm" % (pid, tid)) as f:
                name = f.read().strip()
            with open("/proc/%d/task/%s/stat" % (pid, tid)) as f:
                fields = f.read().rsplit(")", 1)[1].split()
            threads[name] = threads.get(name, 0) + (int(fields[11]) + int(fields[12])) / TICKS
        except FileNotFoundError:
            pass
    return threads


def one_launch(program, scale, playing, settle, window, minutes):
    with Desktop(program, width=1440, height=900, session_bus=True) as d:
        d.start_tray()
        d.move_to(1200, 700)
        env = dict(d.env)
        # Only the demo's line per finished run, to tell a measurement of play from one of waiting.
        env["QT_LOGGING_RULES"] = "vantrel.shell.debug=true"
        env.pop("QT_MESSAGE_PATTERN", None)
        if scale != 1:
            env["QT_SCALE_FACTOR"] = str(scale)
        args = [program, "--settings-file", d.settings] + (["--demo"] if playing else [])
        log = open(os.path.join(d.tmp, "vantrel.log"), "w")
        d.log = log
        app = d._spawn(args, env=env, stderr=log)
        d.app = app
        if playing:
            d.wait_for(lambda: (d.panel_geometry() or (0, 0, 0, 0))[3] >= 150, 20,
                       "the demo did not open the playfield")
        else:
            d.wait_for(lambda: d.tray_icon() is not None, 20, "no tray icon")
        time.sleep(settle)
        xserver = d.procs[0].pid
        log.flush()
        runs_before = d.stderr_text().count("demo: run over")
        cpu0, x0, cs0, threads0 = cpu_seconds(app.pid), cpu_seconds(xserver), context_switches(app.pid), \
            thread_cpu(app.pid)
        t0 = time.monotonic()
        time.sleep(window)
        elapsed = time.monotonic() - t0
        cpu1, x1, cs1, threads1 = cpu_seconds(app.pid), cpu_seconds(xserver), context_switches(app.pid), \
            thread_cpu(app.pid)
        rss, pss = memory_mib(app.pid)
        runs_ended = d.stderr_text().count("demo: run over") - runs_before
        if app.poll() is not None:
            raise RuntimeError("vantrel exited during the window")
        if playing and (d.panel_geometry() or (0, 0, 0, 0))[3] < 150:
            raise RuntimeError("the playfield closed during the window: %s" % (d.panel_geometry(),))
        growth = None
        if minutes:
            first = rss
            for _ in range(int(minutes * 2)):
                time.sleep(30)
            growth = memory_mib(app.pid)[0] - first
        per_thread = {name: (threads1.get(name, 0) - threads0.get(name, 0)) / elapsed for name in threads1}
        d.stop_vantrel()
        return dict(cpu=(cpu1 - cpu0) / elapsed, x=(x1 - x0) / elapsed, cs=(cs1 - cs0) / elapsed,
                    rss=rss, pss=pss, growth=growth, threads=per_thread, runs_ended=runs_ended)


def report(label, runs):
    def med(key):
        return statistics.median(r[key] for r in runs)

    def rng(key, fmt):
        return (fmt + ".." + fmt) % (min(r[key] for r in runs), max(r[key] for r in runs))

    print("%s: cpu_per_s=%.4f rss_mb=%.1f pss_mb=%.1f (median of %d) | range cpu_per_s=%s pss_mb=%s | "
          "xserver_cpu_per_s=%.4f ctxsw_per_s=%.0f" % (
              label, med("cpu"), med("rss"), med("pss"), len(runs), rng("cpu", "%.4f"), rng("pss", "%.1f"),
              med("x"), med("cs")), flush=True)
    names = sorted(runs[0]["threads"], key=lambda n: -runs[0]["threads"][n])
    print("  per thread (median): " + ", ".join(
        "%s %.4f" % (n, statistics.median(r["threads"].get(n, 0) for r in runs)) for n in names
        if statistics.median(r["threads"].get(n, 0) for r in runs) >= 0.0005), flush=True)
    growth = [r["growth"] for r in runs if r["growth"] is not None]
    if growth:
        print("  RSS growth over the extra minutes: %s MB" % ", ".join("%+.1f" % g for g in growth))


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("build")
    parser.add_argument("launches", nargs="?", type=int, default=3)
    parser.add_argument("--scale", type=float, default=1)
    parser.add_argument("--idle-only", action="store_true")
    parser.add_argument("--play-only", action="store_true")
    parser.add_argument("--settle", type=float, default=10)
    parser.add_argument("--window", type=float, default=30)
    parser.add_argument("--minutes", type=float, default=0)
    a = parser.parse_args()
    program = os.path.join(a.build, "Vantrel", "vantrel")
    label = "vantrel %gx" % a.scale
    if not a.idle_only:
        runs = []
        for i in range(a.launches):
            runs.append(one_launch(program, a.scale, True, a.settle, a.window, a.minutes))
            print("  launch %d playing: cpu_per_s=%.4f pss_mb=%.1f xserver=%.4f runs_ended_in_window=%d" % (
                i + 1, runs[-1]["cpu"], runs[-1]["pss"], runs[-1]["x"], runs[-1]["runs_ended"]), flush=True)
        report(label + " playing", runs)
    if not a.play_only:
        runs = []
        for i in range(a.launches):
            runs.append(one_launch(program, a.scale, False, a.settle, a.window, 0))
        report(label + " idle", runs)


if __name__ == "__main__":
    main()
