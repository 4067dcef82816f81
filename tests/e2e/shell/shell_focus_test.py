"""Where the keyboard goes and which window comes forward, on a real desktop (Xvfb, openbox,
trayer) with an xterm as the user's work:
- a left click on the tray icon while the playfield is open closes it and gives the keyboard
  back to the xterm;
- "Larger Playfield" while the playfield is shut only changes the preference: nothing opens,
  and the next opening has the larger size;
- while the welcome window is up (first launch), the tray click, the shortcut, "Play / Resume"
  and a second launch each bring that window forward (mapped, given the keyboard per
  _NET_ACTIVE_WINDOW, above the xterm in the stacking order), also from minimised, and leave
  the playfield shut."""

import os
import sys

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), ".."))
sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from desktop import Desktop, run_checks_then_stop, worst  # noqa: E402
from shell_test import (CX, EXPANDED, HEIGHT, WIDTH, choose, click_icon, escape_closes,  # noqa: E402
                        expanded_width, launch_again, shut)


# The panel's trace line when it closes and hands the keyboard back to the window that had it.
RESTORING = "vantrel.panel: collapse; restore focus true"


def stacking(d):
    """Client windows bottom to top, as the window manager stacks them."""
    out = d.run("xprop", "-root", "_NET_CLIENT_LIST_STACKING", check=False)
    if "#" not in out:
        return []
    return [int(w.strip(), 16) for w in out.split("#", 1)[1].split(",") if w.strip()]


def wid(text):
    return int(text, 16) if text.startswith("0x") else int(text)


def above(d, upper, lower):
    """Whether window `upper` is stacked above window `lower` (both client windows)."""
    order = stacking(d)
    return wid(upper) in order and wid(lower) in order and order.index(wid(upper)) > order.index(wid(lower))


def with_tray(program):
    with Desktop(program, WIDTH, HEIGHT, extra_settings="soundEnabled=false\n") as d:
        d.start_tray()
        d.start_vantrel()
        d.wait_for(lambda: d.tray_icon() is not None, 10, "no vantrel window was embedded in the tray")
        work = d.start_xterm("work", "100x30+300+250")

        def left_click_while_open_gives_focus_back():
            shut(d)
            d.activate(work)
            click_icon(d, 1)
            d.wait_geometry(lambda g: g == EXPANDED, 2.0, "a left click did not open the playfield")
            d.wait_for(lambda: d.active_window() == d.panel_window(), 3, "the open playfield has no keyboard focus")
            restored = d.stderr_text().count(RESTORING)
            click_icon(d, 1)
            d.wait_geometry(lambda g: g is None, 2.0, "a second left click did not close the playfield")
            d.wait_for(lambda: d.active_window() == work, 3,
                       lambda: "the keyboard did not go back to the xterm (active %s, xterm %s)%s"
                       % (d.active_window(), work, d.log_tail()))
            # openbox gives the keyboard to the last window that had it when the panel goes, on its
            # own: the trace tells whether Vantrel handed it back itself, as it must on any desktop.
            assert d.stderr_text().count(RESTORING) == restored + 1, \
                "the click closed the playfield without handing the keyboard back%s" % d.log_tail()

        def larger_playfield_while_shut_only_changes_the_preference():
            shut(d)
            d.activate(work)
            choose(d, "Larger Playfield")
            d.wait_for(lambda: d.read_settings().get("roomy") == "true", 3,
                       "roomy not written (settings %s)" % d.read_settings())
            # Watching for a second is the check: nothing opens, not even for a moment.
            d.hold_geometry(lambda g: g is None, 1.0, "Larger Playfield opened the panel")
            # The preference shows at the next opening.
            d.key("alt+super+space")
            d.wait_geometry(expanded_width(600), 3.0, "the next opening was not 600 wide")
            escape_closes(d)
            choose(d, "Larger Playfield")
            d.wait_for(lambda: d.read_settings().get("roomy") == "false", 3, "roomy not switched back")
            d.hold_geometry(lambda g: g is None, 1.0, "Larger Playfield opened the panel")
            d.key("alt+super+space")
            d.wait_geometry(lambda g: g == EXPANDED, 3.0, "the next opening was not 480 wide again")
            escape_closes(d)

        return run_checks_then_stop(d, [
            ("a left click on the icon while the playfield is open gives the keyboard back to the xterm",
             left_click_while_open_gives_focus_back),
            ("Larger Playfield while shut only changes the preference; the next opening is larger",
             larger_playfield_while_shut_only_changes_the_preference),
        ])


def onboarding_comes_forward(program):
    with Desktop(program, WIDTH, HEIGHT, onboarded=False) as d:
        d.start_tray()
        d.start_vantrel()
        d.wait_for(lambda: d.tray_icon() is not None, 10, "no vantrel window was embedded in the tray")
        welcome = []

        def find_welcome():
            # The tray icon's window is called Vantrel too; the welcome window is the large one.
            for w in d.visible_windows(name="^Vantrel$"):
                g = d.window_geometry(w)
                if g and g[2] >= 400 and g[3] >= 400:
                    return w
            return None

        def window_state(w):
            return d.run("xprop", "-id", w, "_NET_WM_STATE", "WM_STATE", check=False)

        def describe():
            return "active %s, welcome %s, stacking %s, state %s%s" % (
                d.active_window(), welcome[0], [hex(w) for w in stacking(d)],
                window_state(welcome[0]).replace("\n", "; "), d.log_tail())

        def in_front():
            w = welcome[0]
            return find_welcome() == w and d.active_window() == w and above(d, w, work[0])

        work = []

        def behind_the_xterm():
            """The welcome window up but behind the xterm, which has the keyboard."""
            d.activate(work[0])
            d.wait_for(lambda: above(d, work[0], welcome[0]), 3, "the xterm did not come above the welcome window")
            assert d.panel_geometry() is None

        def comes_forward(what):
            d.wait_for(in_front, 3, lambda: "%s did not bring the welcome window forward: %s" % (what, describe()))
            d.hold_geometry(lambda g: g is None, 1.0, "%s opened the playfield over the welcome window" % what)
            assert find_welcome() == welcome[0], "%s replaced the welcome window" % what

        def welcome_shows():
            d.wait_for(find_welcome, 10, "no welcome window at the first launch")
            welcome.append(find_welcome())
            # The user's work comes up over it: a large xterm that covers the welcome window.
            work.append(d.start_xterm("work", "160x50+100+40"))
            assert "hasCompletedOnboarding" not in d.read_settings()

        def tray_click():
            behind_the_xterm()
            click_icon(d, 1)
            comes_forward("a left click on the tray icon")

        def shortcut():
            behind_the_xterm()
            d.move_to(CX, 700)
            d.key("alt+super+space")
            comes_forward("the shortcut")

        def play_resume():
            behind_the_xterm()
            choose(d, "Play / Resume")
            comes_forward("Play / Resume")

        def second_launch():
            behind_the_xterm()
            rc, _, err = launch_again(d)
            assert rc == 0, "the second launch exited with %s: %s" % (rc, err)
            comes_forward("a second launch")

        def from_minimised():
            d.run("xdotool", "windowminimize", "--sync", welcome[0], check=False)
            d.wait_for(lambda: find_welcome() is None, 3, "the welcome window did not minimise: %s" % describe())
            d.activate(work[0])
            d.key("alt+super+space")
            comes_forward("the shortcut, with the welcome window minimised,")

        return run_checks_then_stop(d, [
            ("the first launch shows the welcome window", welcome_shows),
            ("a left click on the tray icon brings the welcome window forward", tray_click),
            ("the shortcut brings the welcome window forward", shortcut),
            ("Play / Resume brings the welcome window forward", play_resume),
            ("a second launch brings the welcome window forward", second_launch),
            ("the shortcut brings a minimised welcome window back", from_minimised),
        ])


def main(program):
    status = 0
    for part in (with_tray, onboarding_comes_forward):
        print("--- %s" % part.__name__.replace("_", " "), flush=True)
        status = worst(status, part(program))
    return status


if __name__ == "__main__":
    sys.exit(main(sys.argv[1]))
