"""The notice about a missing tray, on a session bus where no notification
service comes up: the name is activatable (a notification daemon is installed)
but its program never takes it, so the bus holds every call to it. Asking must
not stop the program. Ten seconds after start (no tray by then) the notice is
given; the panel answers hover before, around and after it, a tray that starts
at 12 s gets the icon at once, and the notice falls back to a window at its
deadline."""

import os
import sys
import time

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), ".."))
from desktop import Desktop, run_checks_then_stop  # noqa: E402
from private_bus import bus_has_owner, start_bus  # noqa: E402

WIDTH, HEIGHT = 1280, 800
CX = WIDTH // 2
PEEK = (CX - 87, 0, 174, 24)
AWAY = (CX, 300)
TRAY_WAIT = 10   # s after start when the notice is given (the program's default)
TRAY_AT = 12     # s after start when the tray comes
HOVER_AT = (8, 11, 13)
ANSWER = 1.0     # s within which the panel must answer, as a person would expect
NOTICE_DEADLINE = 2.0  # s the notification service gets before the window says it instead
SERVICE = "org.freedesktop.Notifications"


def at(started, seconds):
    """Sleeps until `seconds` after `started`; the time is the test's schedule, not a wait for the program."""
    time.sleep(max(0.0, started + seconds - time.time()))


def main(program):
    with Desktop(program, WIDTH, HEIGHT) as d:
        start_bus(d, stalled=[SERVICE])
        d.env["VANTREL_TRAY_WAIT_SECONDS"] = str(TRAY_WAIT)
        # Before the program starts, so its tray wait runs out no sooner than TRAY_WAIT after this.
        started = time.time()
        d.start_vantrel()
        ready = time.time()  # the tray wait was running by then
        assert d.tray_window() is None, "a tray was there before the test started one"
        assert not bus_has_owner(d, SERVICE), "the bus has a notification service"

        def hover_answers(moment):
            at(started, moment)
            d.move_to(*AWAY)
            d.wait_geometry(lambda g: g is None, ANSWER, "%d s after start: the tab did not go away" % moment)
            d.glide([(CX, 40), (CX, 2)])
            entered = time.time()
            d.wait_geometry(lambda g: g == PEEK, ANSWER,
                            "%d s after start: no peek tab within %.1f s of resting in the strip" % (moment, ANSWER))
            print("  %d s: tab out %.2f s after the pointer came to rest" % (moment, time.time() - entered),
                  flush=True)
            d.move_to(*AWAY)
            d.wait_geometry(lambda g: g is None, ANSWER, "%d s after start: the tab did not go away" % moment)

        def late_tray_gets_the_icon():
            at(started, TRAY_AT)
            spawned = time.time()
            d.start_tray()
            ready = time.time()
            d.wait_for(lambda: d.tray_icon() is not None, ANSWER,
                       lambda: "the icon was not embedded within %.1f s of the tray's window appearing "
                               "(%.1f s after start)%s" % (ANSWER, ready - started, d.log_tail()))
            print("  tray window %.2f s after trayer started; icon %.2f s after the window" % (
                ready - spawned, time.time() - ready), flush=True)

        def notice_shown_as_window():
            # No service to show it, so the program's own window says it, once, by the deadline.
            latest = TRAY_WAIT + NOTICE_DEADLINE + ANSWER
            d.wait_for(lambda: d.visible_windows(name="^Vantrel is running$"),
                       max(0.1, ready + latest - time.time()),
                       "no notice window %.0f s after start%s" % (latest, d.log_tail()))
            assert len(d.visible_windows(name="^Vantrel is running$")) == 1
            assert not bus_has_owner(d, SERVICE), "a notification service came up after all"

        return run_checks_then_stop(d, [
            ("%d s after start the panel answers hover" % HOVER_AT[0], lambda: hover_answers(HOVER_AT[0])),
            ("%d s after start, after the notice, the panel answers hover" % HOVER_AT[1],
             lambda: hover_answers(HOVER_AT[1])),
            ("a tray that starts %d s after start gets the icon within %.0f s" % (TRAY_AT, ANSWER),
             late_tray_gets_the_icon),
            ("%d s after start the panel answers hover" % HOVER_AT[2], lambda: hover_answers(HOVER_AT[2])),
            ("the notice was shown as a window", notice_shown_as_window),
        ])


if __name__ == "__main__":
    sys.exit(main(sys.argv[1]))
