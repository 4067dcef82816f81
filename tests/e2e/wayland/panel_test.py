"""Vantrel on a headless compositor with the layer shell (sway or KWin), beside a
native Wayland window that has the keyboard: the panel is a layer surface at the
top centre on every workspace; resting the pointer under the top edge reveals the
peek over the native window and passing through does not; a click opens the
playfield with the keyboard; Escape gives the keyboard back to the native window;
a click outside the notch shape reaches the window underneath and closes the
playfield; the program does not wake while the pointer moves elsewhere.
Usage: panel_test.py sway|kwin VANTREL WL_INPUT"""

import os
import subprocess
import sys
import time

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, HERE)
sys.path.insert(0, os.path.join(HERE, ".."))
from compositor import KWin, Lines, Sway  # noqa: E402
from desktop import run_checks  # noqa: E402

WIDTH, HEIGHT = 1440, 900
CX = WIDTH // 2
EXPANDED = (CX - 240, 0, 480, 192)
BODY = (CX - 233, CX + 233)  # the dark body at PLAY_ROW: 480 less the two 7-pixel ears
PEEK_ROW = 12      # a row inside the 24-pixel peek tab
PLAY_ROW = 100     # a row through the open playfield


def dark(pixel):
    return max(pixel) < 40


def dark_run(row, around):
    """The [start, end) of the dark run of `row` that contains column `around`, or None."""
    if not dark(row[around]):
        return None
    start = around
    while start > 0 and dark(row[start - 1]):
        start -= 1
    end = around
    while end < len(row) and dark(row[end]):
        end += 1
    return start, end


def wake_ups(pid):
    """Voluntary context switches of every thread: each is a wake-up after sleeping."""
    total = 0
    for task in os.listdir("/proc/%d/task" % pid):
        with open("/proc/%d/task/%s/status" % (pid, task)) as f:
            for line in f:
                if line.startswith("voluntary_ctxt_switches"):
                    total += int(line.split()[1])
    return total


def main(which, program, input_tool):
    with {"sway": Sway, "kwin": KWin}[which](input_tool, WIDTH, HEIGHT) as s:
        settings = os.path.join(s.tmp, "Vantrel.conf")
        with open(settings, "w") as f:
            f.write("[General]\nhasCompletedOnboarding=true\n")
        s.writable(settings)
        native = s.start_native()
        app = s.spawn([program, "--settings-file", settings, "--verbose"], stdout=subprocess.PIPE,
                      stderr=subprocess.STDOUT, text=True, env=dict(s.env, QT_LOGGING_RULES="vantrel.panel=true"))
        log = Lines(app)
        if not log.wait_for("vantrel: ready", 15):
            raise SystemExit("FAIL vantrel did not start:\n" + "\n".join(log.seen[-15:]))
        print("\n".join(line for line in log.seen if line.startswith("vantrel:")), flush=True)

        def toggle():
            s.run(program, "--settings-file", settings, "--toggle")

        def row(y):
            return s.screenshot(0, y, WIDTH, 1)[0]

        def playfield_open():
            # The edges of the body: the runway's padding keeps them dark whatever is running.
            r = row(PLAY_ROW)
            return (dark(r[BODY[0]]) and dark(r[BODY[0] + 3]) and not dark(r[BODY[0] - 2]) and
                    dark(r[BODY[1] - 1]) and dark(r[BODY[1] - 4]) and not dark(r[BODY[1] + 1]))

        def peek_shown():
            # Left of the centre, where the pointer resting at the centre does not cover it.
            return dark(s.screenshot(CX - 60, PEEK_ROW, 1, 1)[0][0])

        def wait(condition, timeout, message):
            end = time.time() + timeout
            while time.time() < end:
                if condition():
                    return time.time()
                time.sleep(0.02)
            raise AssertionError(message)

        def shut():
            s.move(CX, 500)
            if playfield_open():
                s.key("Escape")
            wait(lambda: not playfield_open() and not peek_shown(), 3, "the panel did not close")
            native.drain()

        def headline_pixels():
            # "READY, PLAYER?" sits in the middle of the runway until a run starts.
            shot = s.screenshot(EXPANDED[0] + 120, 60, 240, 20)
            return sum(1 for r in shot for p in r if min(p) > 180)

        def placement_and_keys():
            shut()
            toggle()
            wait(playfield_open, 3, "the playfield did not open at the top centre (%d wide from x=%d at y=%d; dark there: %s)" % (BODY[1] - BODY[0], BODY[0], PLAY_ROW, dark_run(row(PLAY_ROW), CX)))
            if not native.wait_for("focus-out", 2):
                raise AssertionError("the native window kept the keyboard")
            windows = s.windows()
            assert "vantrel" not in windows.lower() and "Velt" not in windows, \
                "the panel is an ordinary window in the compositor's list of windows"
            before = headline_pixels()
            assert before > 20, "no headline before the run (%d bright pixels)" % before
            s.key("space")
            wait(lambda: headline_pixels() < before // 4, 2, "Space did not start a run")

        def escape_returns_focus():
            if not playfield_open():
                toggle()
                wait(playfield_open, 3, "the playfield did not open")
            native.drain()
            s.key("Escape")
            wait(lambda: not playfield_open(), 2, "Escape did not close the playfield")
            if not native.wait_for("focus-in", 2):
                raise AssertionError("the native window did not get the keyboard back")
            s.key("b")
            if not native.wait_for("key b", 2):
                raise AssertionError("a key after Escape did not reach the native window")

        def every_workspace():
            shut()
            s.switch_workspace(2)
            try:
                toggle()
                wait(playfield_open, 3, "the playfield did not open on workspace 2")
                s.key("Escape")
                wait(lambda: not playfield_open(), 2, "Escape did not close the playfield")
            finally:
                s.switch_workspace(1)
                # A workspace change hides the peek until the pointer has been away once;
                # let the program hear of it before the next check rests in the strip.
                time.sleep(0.5)

        def hover_reveals_over_native():
            shut()
            s.move(CX, 1)
            moved = time.time()
            shown = wait(peek_shown, 2, "resting under the top edge did not reveal the peek")
            latency = shown - moved
            print("  reveal latency over the native window: %.3f s" % latency, flush=True)
            assert latency >= 0.2, "the peek showed after %.3f s, before the rest delay" % latency
            s.move(CX, 500)
            wait(lambda: not peek_shown(), 2, "leaving did not hide the peek")

        def passing_through_does_not_reveal():
            shut()
            for x in range(CX - 200, CX + 201, 25):
                s.move(x, 1)
                time.sleep(0.005)
            s.move(CX + 300, 400)
            end = time.time() + 0.8
            while time.time() < end:
                assert not peek_shown(), "a pointer passing through revealed the peek"
                time.sleep(0.05)

        def click_opens():
            shut()
            s.move(CX, 1)
            wait(peek_shown, 2, "the peek did not show")
            s.click(CX, 10)
            wait(playfield_open, 3, "a click on the peek did not open the playfield")
            if not native.wait_for("focus-out", 2):
                raise AssertionError("the playfield did not take the keyboard")
            assert not any(line.startswith("button") for line in native.seen[-5:]), \
                "the click on the peek also reached the native window"

        def click_outside_shape():
            if not playfield_open():
                toggle()
                wait(playfield_open, 3, "the playfield did not open")
            native.drain()
            # Inside the surface's rectangle, outside its rounded bottom-left corner.
            x, y = EXPANDED[0] + 1, EXPANDED[3] - 2
            s.click(x, y)
            if not native.wait_for("button-at %d %d" % (x, y), 2):
                raise AssertionError("a click outside the notch shape did not reach the window underneath")
            wait(lambda: not playfield_open(), 2, "a click on another window did not close the playfield")

        def quiet_while_pointer_elsewhere():
            shut()
            time.sleep(0.5)
            still = wake_ups(app.pid)
            time.sleep(3)
            baseline = wake_ups(app.pid) - still
            start = wake_ups(app.pid)
            for i in range(60):
                s.move(200 + (i * 17) % 1000, 300 + (i * 7) % 400)
                time.sleep(0.05)
            moving = wake_ups(app.pid) - start
            print("  wake-ups in 3 s: %d still, %d while the pointer moved elsewhere" % (baseline, moving),
                  flush=True)
            assert moving <= baseline + 3, "the pointer moving elsewhere woke the program %d times" % moving

        status = run_checks([
            ("placement_and_keys", placement_and_keys),
            ("escape_returns_focus", escape_returns_focus),
            ("every_workspace", every_workspace),
            ("hover_reveals_over_native", hover_reveals_over_native),
            ("passing_through_does_not_reveal", passing_through_does_not_reveal),
            ("click_opens", click_opens),
            ("click_outside_shape", click_outside_shape),
            ("quiet_while_pointer_elsewhere", quiet_while_pointer_elsewhere),
        ])
        app.terminate()
        try:
            rc = app.wait(10)
        except subprocess.TimeoutExpired:
            app.kill()
            rc = "a hang"
        if rc != 0:
            print("FAIL vantrel exited with %s on SIGTERM" % rc)
            status = 1
        if status == 1:
            print("--- vantrel's last lines\n" + "\n".join(log.seen[-40:]))
        return status


if __name__ == "__main__":
    sys.exit(main(sys.argv[1], sys.argv[2], sys.argv[3]))
