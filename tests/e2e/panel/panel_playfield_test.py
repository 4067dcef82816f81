"""The playfield: a click on the peek tab opens it centred and flush with the
top edge; the game keys reach the game; Escape hands focus back; a click just
beside its rounded corners reaches the window underneath; a workspace switch
closes it."""

import os
import sys
import time

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), ".."))
from desktop import Desktop, dino_rows, run_checks  # noqa: E402

WIDTH, HEIGHT = 1280, 800
CX = WIDTH // 2
EXPANDED = (CX - 240, 0, 480, 192)  # 480 wide; max(8, 28) + 164 high
DINO_COLUMNS = range(60, 110)        # where the runner stands, in panel pixels


def main(program):
    with Desktop(program, WIDTH, HEIGHT) as d:
        d.start_vantrel()
        work = d.start_xterm("work", "100x30+300+0")

        def shot():
            return d.screenshot(*EXPANDED)

        def dino():
            pixels = shot()
            rows = dino_rows(pixels, DINO_COLUMNS)
            if rows is None:
                d.run("import", "-window", "root", "/tmp/vantrel-e2e-nodino.png", check=False)
            assert rows is not None, "no dinosaur on the runway (screen saved in /tmp/vantrel-e2e-nodino.png)"
            return rows

        def click_on_tab_expands():
            d.move_to(CX, 200)
            d.glide([(CX, 40), (CX, 2)])
            d.wait_geometry(lambda g: g is not None and g[3] == 24, 2.0, "no peek tab")
            d.move_to(CX, 16)
            d.run("xdotool", "click", "1")
            g = d.wait_geometry(lambda g: g == EXPANDED, 2.0, "the playfield did not open to its frame")
            assert g == EXPANDED
            d.wait_for(lambda: d.active_window() == d.panel_window(), 3, "the playfield has no keyboard focus")

        standing = {}

        def lifted_within(seconds):
            """Heights of the dinosaur above where it stands, sampled until it is off the ground."""
            heights = []
            deadline = time.time() + seconds
            while time.time() < deadline:
                rows = dino_rows(shot(), DINO_COLUMNS)  # dimmed (paused) until the key is handled
                heights.append(standing["bottom"] - rows[1] if rows else 0)
                if heights[-1] > 10:
                    break
            return heights

        def space_jumps():
            top, bottom = dino()
            standing["top"], standing["bottom"] = top, bottom
            d.key("space")
            lifted = lifted_within(1.5)
            assert max(lifted) > 10, "the dinosaur never left the ground: heights %s" % lifted

        # Each check below starts its own run with R: a run ends at the first
        # cactus hit, so every check is done within a second of the start.
        def r_starts_a_fresh_run():
            d.key("p")  # paused first: R must start a run by itself
            time.sleep(0.3)
            d.key("r")
            heights = lifted_within(1.5)
            assert max(heights) > 10, "a fresh run starts with a jump; heights %s" % heights
            first = shot()
            time.sleep(0.2)
            assert shot() != first, "the fresh run is not running"

        def down_ducks():
            d.key("r")
            lifted_within(1.0)
            d.run("xdotool", "keydown", "Down")  # in the air: falls faster, then ducks on landing
            try:
                time.sleep(0.35)
                ducking_top, ducking_bottom = dino()
            finally:
                d.run("xdotool", "keyup", "Down")
            assert abs(ducking_bottom - standing["bottom"]) <= 2, \
                "the ducking dinosaur is not on the ground (bottom %d, standing %d)" % (
                    ducking_bottom, standing["bottom"])
            assert ducking_top > standing["top"] + 5, \
                "ducking did not lower the dinosaur (top %d, ducking %d)" % (standing["top"], ducking_top)
            time.sleep(0.15)
            assert dino()[0] <= standing["top"] + 1, "the dinosaur still ducks after Down went up"

        def p_pauses():
            d.key("r")
            lifted_within(1.0)
            d.key("p")
            time.sleep(0.15)
            first = shot()
            time.sleep(0.4)
            assert shot() == first, "the game still moves after P"
            d.key("p")
            time.sleep(0.7)  # a resumed run holds still for its grace period first
            first = shot()
            time.sleep(0.25)
            assert shot() != first, "the game did not resume after a second P"

        def escape_restores_focus():
            d.key("Escape")
            d.wait_geometry(lambda g: g is None, 2.0, "the playfield did not close")
            d.wait_for(lambda: d.active_window() == work, 3, "focus did not go back to the xterm")

        def click_beside_corner_reaches_window():
            d.move_to(CX, 300)
            d.key("alt+super+space")
            d.wait_geometry(lambda g: g == EXPANDED, 2.0, "the playfield did not open")
            d.wait_for(lambda: d.active_window() == d.panel_window(), 3, "the playfield has no focus")
            # Inside the panel's rectangle but outside its black shape: left of the body, below the ear.
            d.move_to(EXPANDED[0] + 3, 120)
            d.run("xdotool", "click", "1")
            d.wait_for(lambda: d.active_window() == work, 3, "the click did not reach the xterm underneath")
            # Focus lost to a click elsewhere closes the playfield without taking focus back.
            d.wait_geometry(lambda g: g is None, 2.0, "the playfield stayed open")
            time.sleep(0.3)
            assert d.active_window() == work

        def workspace_switch_closes():
            d.move_to(CX, 300)
            d.key("alt+super+space")
            d.wait_geometry(lambda g: g == EXPANDED, 2.0, "the playfield did not open")
            d.run("xdotool", "set_desktop", "1")
            d.wait_geometry(lambda g: g is None, 2.0, "the playfield stayed open over a workspace switch")
            d.run("xdotool", "set_desktop", "0")
            time.sleep(0.5)  # let the switch back arrive before the pointer heads for the strip

        def out_of_taskbar_and_on_all_workspaces():
            d.move_to(CX, 300)
            d.glide([(CX, 40), (CX, 2)])
            d.wait_geometry(lambda g: g is not None, 2.0, "no peek tab")
            props = d.run("xprop", "-id", d.panel_window(), "_NET_WM_STATE", "_NET_WM_DESKTOP")
            for state in ("_NET_WM_STATE_SKIP_TASKBAR", "_NET_WM_STATE_SKIP_PAGER", "_NET_WM_STATE_ABOVE"):
                assert state in props, "%s missing: %s" % (state, props)
            assert "4294967295" in props, "not on every workspace: %s" % props
            d.move_to(CX, 300)
            d.wait_geometry(lambda g: g is None, 2.0, "the tab never went away")

        status = run_checks([
            ("a click on the tab expands the playfield", click_on_tab_expands),
            ("Space starts a run with a jump", space_jumps),
            ("R starts a fresh run", r_starts_a_fresh_run),
            ("Down ducks", down_ducks),
            ("P pauses and resumes", p_pauses),
            ("Escape collapses and hands focus back", escape_restores_focus),
            ("a click beside the rounded corner reaches the window underneath",
             click_beside_corner_reaches_window),
            ("a workspace switch closes the playfield", workspace_switch_closes),
            ("the panel stays out of the taskbar, on every workspace", out_of_taskbar_and_on_all_workspaces),
        ])
        rc = d.stop_vantrel()
        if rc != 0:
            print("FAIL vantrel exited with %s on SIGTERM" % rc)
            status = 1
        return status


if __name__ == "__main__":
    sys.exit(main(sys.argv[1]))
