"""Ctrl+Q on the open playfield quits Vantrel as the menu's Quit does: the process ends with
status 0 and the best score of the run interrupted by it is in the settings file."""

import os
import sys
import time

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), ".."))
from desktop import Desktop, Undecided, run_checks  # noqa: E402

WIDTH, HEIGHT = 1280, 800
CX = WIDTH // 2
EXPANDED = (CX - 240, 0, 480, 192)


def main(program):
    with Desktop(program, WIDTH, HEIGHT) as d:
        d.start_vantrel()
        work = d.start_xterm("work", "100x30+300+300")

        def control_q_quits_and_saves_the_best_score():
            # A run cut short before its first obstacle has saved nothing yet; should a slow machine
            # let it end on its own first, that is tried again, and at last left undecided.
            for attempt in range(3):
                if d.app.poll() is not None:
                    d.start_vantrel()
                d.activate(work)
                d.move_to(CX, 500)
                d.key("alt+super+space")
                d.wait_geometry(lambda g: g == EXPANDED, 3.0, "the shortcut did not open the playfield")
                d.wait_for(lambda: d.active_window() == d.panel_window(), 3, "the playfield has no keyboard focus")
                d.key("space")
                time.sleep(1.0)  # the run scores while it lasts
                if "bestScore" in d.read_settings():
                    # Saved by a crash or a pause before Ctrl+Q: that would not show what Ctrl+Q saves.
                    d.stop_vantrel()
                    with open(d.settings, "w") as f:
                        f.write("[General]\nhasCompletedOnboarding=true\n")
                    continue
                d.key("ctrl+q")
                try:
                    rc = d.app.wait(5)
                except Exception:
                    raise AssertionError("vantrel still runs 5 s after Ctrl+Q" + d.log_tail())
                assert rc == 0, "vantrel exited with %s after Ctrl+Q%s" % (rc, d.log_tail())
                best = int(d.read_settings().get("bestScore", "0"))
                assert best > 0, "no best score saved on Ctrl+Q (settings %s)" % d.read_settings()
                return
            raise Undecided("every run ended before Ctrl+Q could interrupt it")

        def control_q_with_the_playfield_shut_is_not_ours():
            if d.app is None or d.app.poll() is not None:
                d.start_vantrel()
            d.activate(work)
            d.wait_geometry(lambda g: g is None, 2.0, "the playfield is open")
            # The xterm has the keyboard: Ctrl+Q is its business, and Vantrel keeps running.
            d.key("ctrl+q")
            time.sleep(1.0)
            assert d.app.poll() is None, "vantrel quit on a Ctrl+Q meant for another window"

        status = run_checks([
            ("Ctrl+Q on the open playfield quits with status 0 and keeps the best score",
             control_q_quits_and_saves_the_best_score),
            ("Ctrl+Q in another window leaves Vantrel running", control_q_with_the_playfield_shut_is_not_ours),
        ])
        rc = d.stop_vantrel()
        if rc not in (0, None):
            print("FAIL vantrel exited with %s on SIGTERM" % rc)
            status = 1
        return status


if __name__ == "__main__":
    sys.exit(main(sys.argv[1]))
