"""End-to-end tests of vantrel on a headless GNOME compositor (mutter 43), where there
is no layer-shell and vantrel runs through XWayland: with a native Wayland window
filling the screen, hovering in the trigger strip reveals the peek tab, leaving hides
it, passing through does not reveal, a click on the tab opens the playfield, and
Escape gives the keyboard back to the native window. Without XWayland (--no-x11) the
program runs as a native Wayland client instead of aborting.

Input goes through mutter's RemoteDesktop D-Bus API; the panel is looked at on the
XWayland display with xwininfo. Exit status 77 means skipped.

usage: mutter_test.py path/to/vantrel"""

import os
import shutil
import subprocess
import sys
import time

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, HERE)
sys.path.insert(0, os.path.join(HERE, ".."))
import mutter  # noqa: E402
from desktop import SKIP, Undecided, run_checks, worst  # noqa: E402

TRIGGER = (720, 1)      # the middle of the trigger strip, the pointer pushed against the top
ELSEWHERE = (700, 420)  # over the native window, far from the strip
ESCAPE, SPACE = 1, 57   # evdev key codes


class Session:
    def __init__(self, program, m):
        self.program = program
        self.m = m
        self.settings = os.path.join(m.tmp, "Vantrel.conf")
        with open(self.settings, "w") as f:
            f.write("[General]\nhasCompletedOnboarding=true\n")
        self.env = dict(m.env, VANTREL_TRAY_WAIT_SECONDS="3600", QT_LOGGING_RULES="vantrel.*.debug=true",
                        QT_MESSAGE_PATTERN="%{time process} %{category}: %{message}",
                        # Only read by the sanitizer build: Qt's own leaks are not ours.
                        LSAN_OPTIONS="suppressions=%s:fast_unwind_on_malloc=0" % os.path.join(HERE, "lsan.supp"))
        self.log_path = os.path.join(m.tmp, "vantrel.log")
        self.app = None
        self.wid = None

    def start(self):
        self.log = open(self.log_path, "w")
        self.app = self.m._spawn([self.program, "--settings-file", self.settings, "--verbose"], env=self.env,
                                 stderr=self.log)
        mutter.wait_for(lambda: "vantrel: ready" in self.stderr() or self.app.poll() is not None, 30,
                        "vantrel did not finish starting")
        if self.app.poll() is not None:
            raise AssertionError("vantrel exited with %s:\n%s" % (self.app.returncode, self.stderr()[-800:]))

    def stderr(self):
        with open(self.log_path) as f:
            return f.read()

    def x(self, *argv):
        return subprocess.run(list(argv), env=self.env, capture_output=True, text=True, timeout=20).stdout

    def panel(self):
        """(x, y, width, height) of the panel while it is viewable, else None."""
        if self.wid is None:
            found = self.x("xdotool", "search", "--name", "^Velt$").split()
            self.wid = found[0] if found else None
            if self.wid is None:
                return None
        info = self.x("xwininfo", "-id", self.wid)
        if "IsViewable" not in info:
            return None
        values = {}
        for line in info.splitlines():
            key, _, value = line.strip().partition(":")
            if key in ("Absolute upper-left X", "Absolute upper-left Y", "Width", "Height"):
                values[key] = int(value)
        return (values["Absolute upper-left X"], values["Absolute upper-left Y"], values["Width"],
                values["Height"])

    def strip(self):
        """The hover strip's window line in the root window's tree, or None."""
        for line in self.x("xwininfo", "-root", "-tree").splitlines():
            if '"Vantrel hover strip"' in line:
                return line.strip()
        return None

    def strip_viewable(self):
        line = self.strip()
        if line is None:
            return False
        return "IsViewable" in self.x("xwininfo", "-id", line.split()[0])

    def tail(self, lines=15):
        return "\n  vantrel's log ends:\n    " + "\n    ".join(self.stderr().strip().splitlines()[-lines:])

    def stop(self):
        if self.app is not None and self.app.poll() is None:
            self.app.terminate()
            try:
                return self.app.wait(10)
            except subprocess.TimeoutExpired:
                self.app.kill()
                raise AssertionError("vantrel did not quit on SIGTERM")
        return self.app.returncode if self.app else None


def peeking(geometry):
    return geometry is not None and geometry[1] == 0 and geometry[3] < 60


def expanded(geometry):
    return geometry is not None and geometry[3] >= 100


class NoCompositor(Exception):
    """mutter or the native window did not come up here: nothing of ours was tested."""


def start_mutter(x11, native=False):
    try:
        m = mutter.Mutter(x11=x11)
    except AssertionError as error:
        raise NoCompositor(str(error))
    if native:
        try:
            m.start_native_window("native")
        except AssertionError as error:
            m.close()
            raise NoCompositor(str(error))
    return m


def hover_checks(program):
    m = start_mutter(x11=True, native=True)
    try:
        m.key(SPACE)  # the virtual keyboard exists from the first key on; the native window gets it
        s = Session(program, m)
        s.start()
        latencies = []

        def strip_is_up():
            line = mutter.wait_for(s.strip, 10, "no hover strip window" + s.tail())
            mutter.wait_for(s.strip_viewable, 5, "the hover strip is not mapped: " + line + s.tail())
            assert "88x6+676+-3" in line, "hover strip not over the trigger strip: " + line
            assert "Wayland session through XWayland: a transparent strip" in s.stderr(), s.tail()

        def reveal_over_native_window():
            for attempt in range(3):
                m.move_to(*ELSEWHERE)
                mutter.wait_for(lambda: s.panel() is None, 5, "the peek did not go away" + s.tail())
                time.sleep(0.3)
                m.move_to(*TRIGGER)
                rested = time.monotonic()
                mutter.wait_for(lambda: peeking(s.panel()), 5,
                                lambda: "no peek over the native window (panel %s)%s" % (s.panel(), s.tail()))
                latencies.append(time.monotonic() - rested)
            print("reveal latency over the native window, pointer rest -> panel viewable (s): %s" %
                  " ".join("%.3f" % t for t in latencies), flush=True)
            assert min(latencies) >= 0.2, "revealed before the 0.25 s rest: %s" % latencies

        def leaving_hides():
            mutter.wait_for(lambda: peeking(s.panel()), 5, "no peek to leave")
            m.move_to(*ELSEWHERE)
            left = time.monotonic()
            mutter.wait_for(lambda: s.panel() is None, 3, "the peek stayed after the pointer left" + s.tail())
            print("hidden %.3f s after leaving" % (time.monotonic() - left), flush=True)

        def passing_through_does_not_reveal():
            # The compositor moves the pointer when it gets to it: on a loaded machine a pass meant
            # to last 0.08 s may rest longer. The native window's leave and enter events say how
            # long the pointer really was over the strip; a reveal after a real rest decides nothing.
            dwells = []
            for attempt in range(3):
                mutter.wait_for(lambda: s.panel() is None, 3, "the peek is out before the test")
                seen = len(m.native_events().splitlines())
                for _ in range(3):
                    m.move_to(*TRIGGER)
                    time.sleep(0.08)
                    m.move_to(*ELSEWHERE)
                    time.sleep(0.05)
                revealed = None
                deadline = time.time() + 1.0
                while time.time() < deadline and revealed is None:
                    revealed = s.panel()
                    time.sleep(0.05)
                if revealed is None:
                    return
                events = [line.split(" ", 1) for line in m.native_events().splitlines()[seen:]]
                left = [float(t) for t, what in events if what == "leave"]
                back = [float(t) for t, what in events if what == "enter"]
                dwells = [b - a for a, b in zip(left, back)]
                assert dwells and max(dwells) >= 0.2, "passing through revealed the peek: %s, the pointer " \
                    "over the strip for %s s%s" % (revealed, " ".join("%.3f" % d for d in dwells), s.tail())
                m.move_to(*ELSEWHERE)
            raise Undecided("the compositor kept the pointer over the strip for 0.2 s or more on every "
                            "attempt (last: %s s)" % " ".join("%.3f" % d for d in dwells))

        def quiet_while_the_pointer_moves_over_the_native_window():
            if shutil.which("strace") is None:
                raise Undecided("no strace to count system calls")
            m.move_to(*ELSEWHERE)
            mutter.wait_for(lambda: s.panel() is None, 3, "the peek is out before the test")
            time.sleep(0.5)
            def count_calls(seconds, move):
                """System calls of every vantrel thread over `seconds`, the pointer moving or still."""
                counts = os.path.join(m.tmp, "strace.txt")
                tracer = subprocess.Popen(["strace", "-f", "-c", "-o", counts, "-p", str(s.app.pid)],
                                          stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True)
                time.sleep(0.5)
                if tracer.poll() is not None:
                    raise Undecided("strace cannot attach here: " + tracer.stderr.read().strip())
                started, moves = time.time(), 0
                while time.time() - started < seconds:
                    if move:
                        m.move_to(500 + (moves % 40) * 10, 300 + (moves % 25) * 12)
                        moves += 1
                    time.sleep(0.02)
                m.move_to(*ELSEWHERE)
                tracer.terminate()
                tracer.wait(10)
                # With no system call at all strace writes no table: its own word says it was there.
                if "attached" not in tracer.stderr.read():
                    raise Undecided("strace did not report attaching to vantrel")
                with open(counts) as f:
                    lines = [line.split() for line in f.read().splitlines()]
                return next((int(line[3]) for line in lines if line and line[-1] == "total"), 0), moves

            # The program's own timers (a notice, a retry) may tick meanwhile: what the moves
            # add over the same time with the pointer still is what counts.
            still, _ = count_calls(5.0, False)
            moving, moves = count_calls(5.0, True)
            print("system calls in 5 s: %d with the pointer still, %d while it moved %d times over the native "
                  "window" % (still, moving, moves), flush=True)
            assert moving <= still + 5, "vantrel woke up while the pointer moved elsewhere: %d system calls" % moving

        def click_on_tab_opens_then_escape_gives_focus_back():
            m.move_to(*TRIGGER)
            mutter.wait_for(lambda: peeking(s.panel()), 5, "no peek to click" + s.tail())
            active = s.x("xprop", "-root", "_NET_ACTIVE_WINDOW").strip()
            print("XWayland's _NET_ACTIVE_WINDOW while the native window has focus: " + active, flush=True)
            outs = len(m.native_lines("focus-out"))
            ins = len(m.native_lines("focus-in"))
            m.click()  # on the strip, over the tab's top rows
            mutter.wait_for(lambda: expanded(s.panel()), 5,
                            lambda: "the click did not open the playfield (panel %s)%s" % (s.panel(), s.tail()))
            assert not s.strip_viewable(), "the hover strip stays up over the open playfield"
            mutter.wait_for(lambda: len(m.native_lines("focus-out")) > outs, 5,
                            "the native window kept the keyboard after the playfield opened:\n" +
                            m.native_events()[-400:])
            spaces = m.native_events().count("key space")
            m.key(SPACE)  # a jump: the game has the keyboard, the native window must not see it
            time.sleep(0.3)
            assert m.native_events().count("key space") == spaces, "the space went to the native window"
            m.key(ESCAPE)
            pressed = time.monotonic()
            mutter.wait_for(lambda: s.panel() is None or not expanded(s.panel()), 5,
                            "Escape did not close the playfield" + s.tail())
            back = mutter.wait_for(lambda: [t for t in m.native_lines("focus-in")[ins:] if t >= pressed - 0.05], 5,
                                   "the native window did not get the keyboard back after Escape:\n" +
                                   m.native_events()[-400:] + s.tail())
            print("native window focused again %.3f s after Escape" % (back[0] - pressed), flush=True)
            mutter.wait_for(s.strip_viewable, 5, "the hover strip did not come back after closing")

        def toggle_opens_and_escape_gives_focus_back():
            m.move_to(*ELSEWHERE)
            mutter.wait_for(lambda: s.panel() is None, 5, "the panel did not hide")
            ins = len(m.native_lines("focus-in"))
            subprocess.run([program, "--toggle", "--settings-file", s.settings], env=s.env, timeout=20,
                           capture_output=True)
            mutter.wait_for(lambda: expanded(s.panel()), 5, "--toggle did not open the playfield" + s.tail())
            time.sleep(0.3)
            m.key(ESCAPE)
            pressed = time.monotonic()
            mutter.wait_for(lambda: [t for t in m.native_lines("focus-in")[ins:] if t >= pressed - 0.05], 5,
                            "the native window did not get the keyboard back after Escape:\n" +
                            m.native_events()[-400:] + s.tail())

        status = run_checks([
            ("hover strip over the trigger strip", strip_is_up),
            ("hover reveals the peek over a native window", reveal_over_native_window),
            ("leaving over the native window hides the peek", leaving_hides),
            ("passing through does not reveal", passing_through_does_not_reveal),
            ("quiet while the pointer moves over the native window",
             quiet_while_the_pointer_moves_over_the_native_window),
            ("a click on the tab opens; Escape gives the native window the keyboard back",
             click_on_tab_opens_then_escape_gives_focus_back),
            ("--toggle opens; Escape gives the native window the keyboard back",
             toggle_opens_and_escape_gives_focus_back),
        ])
        rc = s.stop()
        if rc != 0:
            print("FAIL vantrel exited with %s on SIGTERM%s" % (rc, s.tail(40)))
            status = 1
        return status
    finally:
        m.close()


def no_x11_checks(program):
    m = start_mutter(x11=False)
    try:
        s = Session(program, m)

        def runs_natively_or_says_why():
            s.start()
            text = s.stderr()
            assert "Could not load the Qt platform plugin" not in text, text[-600:]
            assert "running as a native Wayland client" in text, "no word on what is missing:\n" + text[-600:]
            time.sleep(1.0)
            assert s.app.poll() is None, "vantrel exited with %s:\n%s" % (s.app.returncode, s.stderr()[-600:])
            result = subprocess.run([program, "--toggle", "--settings-file", s.settings], env=s.env,
                                    timeout=20, capture_output=True, text=True)
            assert result.returncode == 0, "--toggle: %s %s" % (result.returncode, result.stderr)
            mutter.wait_for(lambda: "expand; expanded false" in s.stderr(), 5, "--toggle did not reach it" + s.tail())

        def display_nobody_answers_falls_back_to_wayland():
            rc = s.stop()
            assert rc == 0, "vantrel exited with %s on SIGTERM%s" % (rc, s.tail(40))
            s.env["DISPLAY"] = ":77"  # named, but no X server there
            s.start()
            text = s.stderr()
            assert "Could not load the Qt platform plugin" in text and "not on X11" in text, text[-600:]
            time.sleep(1.0)
            assert s.app.poll() is None, "vantrel exited with %s:\n%s" % (s.app.returncode, s.stderr()[-600:])

        status = run_checks([
            ("without XWayland: a native Wayland client, no abort", runs_natively_or_says_why),
            ("a DISPLAY nobody answers at: Qt falls back to Wayland", display_nobody_answers_falls_back_to_wayland),
        ])
        rc = s.stop()
        if rc != 0:
            print("FAIL vantrel exited with %s on SIGTERM%s" % (rc, s.tail(40)))
            status = 1
        return status
    finally:
        m.close()


def main():
    if len(sys.argv) != 2:
        print(__doc__)
        return 2
    program = sys.argv[1]
    mutter.require()
    statuses = []
    for part in (hover_checks, no_x11_checks):
        try:
            statuses.append(part(program))
        except NoCompositor as error:
            print("SKIPPED %s: %s" % (part.__name__, error), flush=True)
            statuses.append(SKIP)
    return worst(*statuses)


if __name__ == "__main__":
    sys.exit(main())
