"""The notice about a missing tray, on a session bus whose notification service
is activatable but never answers (it has hung): the program keeps answering
while it waits. `vantrel --toggle` sent 12 s after start opens the playfield at
once, the panel answers hover, and the notice falls back to a window at its
deadline, whatever the service does."""

import os
import subprocess
import sys
import time

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), ".."))
from desktop import Desktop, run_checks_then_stop  # noqa: E402
from private_bus import start_bus  # noqa: E402

WIDTH, HEIGHT = 1280, 800
CX = WIDTH // 2
PEEK = (CX - 87, 0, 174, 24)
EXPANDED = (CX - 240, 0, 480, 192)
AWAY = (CX, 300)
TRAY_WAIT = 10      # s after start when the notice is given (the program's default)
TOGGLE_AT = 12      # s after start when a second launch asks to toggle
NOTICE_DEADLINE = 2.0  # s the notification service gets before the window says it instead
ANSWER = 1.0        # s within which the program must answer
SERVICE = "org.freedesktop.Notifications"


def at(started, seconds):
    """Sleeps until `seconds` after `started`; the time is the test's schedule, not a wait for the program."""
    time.sleep(max(0.0, started + seconds - time.time()))


def main(program):
    with Desktop(program, WIDTH, HEIGHT) as d:
        pid_files = start_bus(d, hung=[SERVICE])
        d.env["VANTREL_TRAY_WAIT_SECONDS"] = str(TRAY_WAIT)
        d.start_vantrel()
        ready = time.time()  # the tray wait was running by then

        def hover_answers_while_the_service_is_asked():
            at(ready, TRAY_WAIT + 0.8)
            # The bus started the service for the notice: it owns the name and is silent.
            d.wait_for(lambda: os.path.exists(pid_files[SERVICE]), 2.0,
                       "the bus never started the notification service")
            d.move_to(*AWAY)
            d.glide([(CX, 40), (CX, 2)])
            d.wait_geometry(lambda g: g == PEEK, ANSWER, "no peek tab within %.1f s while the notice waits"
                            % ANSWER)
            d.move_to(*AWAY)
            d.wait_geometry(lambda g: g is None, ANSWER, "the tab did not go away")

        def notice_window_at_its_deadline():
            # Given at TRAY_WAIT; the service never answers, so the window shows at the deadline.
            latest = TRAY_WAIT + NOTICE_DEADLINE + ANSWER
            d.wait_for(lambda: d.visible_windows(name="^Vantrel is running$"),
                       max(0.1, ready + latest - time.time()),
                       "no notice window %.0f s after start%s" % (latest, d.log_tail()))

        def toggle_opens_at_once():
            # Once the notice window is up (it takes the keyboard as it opens), and with the call
            # to the service still unanswered.
            at(ready, TOGGLE_AT + 0.2)
            sent = time.time()
            second = subprocess.Popen([d.program, "--settings-file", d.settings, "--toggle"], env=d.env,
                                      stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True)
            try:
                d.wait_geometry(lambda g: g == EXPANDED, ANSWER,
                                "--toggle sent %d s after start did not open the playfield within %.1f s"
                                % (TOGGLE_AT, ANSWER))
                print("  playfield open %.2f s after --toggle was sent" % (time.time() - sent), flush=True)
            finally:
                _, err = second.communicate(timeout=20)
            assert second.returncode == 0, "the second launch failed (%s): %s" % (second.returncode, err)

        return run_checks_then_stop(d, [
            ("while the silent service is asked the panel answers hover",
             hover_answers_while_the_service_is_asked),
            ("the notice falls back to a window at its deadline", notice_window_at_its_deadline),
            ("--toggle %d s after start opens the playfield within %.0f s" % (TOGGLE_AT, ANSWER),
             toggle_opens_at_once),
        ])


if __name__ == "__main__":
    sys.exit(main(sys.argv[1]))
