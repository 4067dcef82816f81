"""The panel's outline where a compositing manager runs (openbox with xcompmgr):
the panel is a translucent window with an ARGB visual, not cut, so its painted
antialiased edge is what shows; only its input is shaped to the outline, so a
click beside the outline reaches the window underneath. When the compositor
stops, the panel is cut to its outline again, and when one starts it is not."""

import os
import shutil
import sys

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(HERE, ".."))
sys.path.insert(0, HERE)
from desktop import Desktop, run_checks_then_stop, skip  # noqa: E402
from panel_outline_cut_test import CORNER, EXPANDED, EXPANDED_RADIUS, WIDTH, HEIGHT, open_panel, \
    settled_corner  # noqa: E402
import xshape  # noqa: E402

CM_SELECTION = "_NET_WM_CM_S0"


def main(program):
    if not xshape.available():
        skip("libX11 or libXext not found for ctypes")
    if shutil.which("xcompmgr") is None:
        skip("xcompmgr is missing (scripts/install-deps.sh --test installs it)")
    with Desktop(program, WIDTH, HEIGHT) as d:
        look = xshape.XLook(d.display)
        compositor = []

        def start_compositor():
            compositor[:] = [d._spawn(["xcompmgr"])]
            d.wait_for(lambda: look.selection_owned(CM_SELECTION) or compositor[0].poll() is not None, 10,
                       "xcompmgr did not take %s" % CM_SELECTION)
            assert compositor[0].poll() is None, "xcompmgr exited with %s" % compositor[0].returncode

        def stop_compositor():
            compositor[0].terminate()
            compositor[0].wait(5)
            d.wait_for(lambda: not look.selection_owned(CM_SELECTION), 5, "%s kept its owner" % CM_SELECTION)

        start_compositor()
        underneath = xshape.ClickWindow(d, "760x420+260+0")
        d.start_vantrel()
        wid = d.panel_window()

        def argb_visual():
            assert look.depth(wid) == 32, "the panel's window is %s bits deep, not ARGB" % look.depth(wid)

        def input_shaped_not_cut():
            open_panel(d)
            rows = settled_corner(d, look, wid, xshape.SHAPE_INPUT)
            assert not look.bounding_shaped(wid), "the panel is cut although a compositor runs"
            expected = xshape.expected_corner_rows(EXPANDED_RADIUS)
            assert abs(rows - expected) <= 1, "the input shape's corner is %d rows high, not %d" % (rows, expected)
            starts = xshape.row_starts(look.rectangles(wid, xshape.SHAPE_INPUT))
            assert starts.get(EXPANDED[3] // 2) == 7, "the input shape's body starts at %s, not beside the ears" % (
                starts.get(EXPANDED[3] // 2),)

        def antialiased_edge():
            open_panel(d)
            settled_corner(d, look, wid, xshape.SHAPE_INPUT)
            x0, y0 = EXPANDED[0], EXPANDED[1] + EXPANDED[3] - CORNER
            pixels = d.screenshot(x0, y0, CORNER, CORNER)
            background = max(pixels[CORNER - 1][0])
            assert background > 200, "the window underneath does not show at the corner: %s" % (
                pixels[CORNER - 1][0],)
            # Along the curve the edge fades from the panel's black to the background by how much of
            # each pixel the outline covers. A one-bit cut would leave the background in the pixels
            # the outline covers partly but that lie outside the cut.
            top = EXPANDED[3] - CORNER
            edge, off = [], []
            for r in range(CORNER):
                for c in range(CORNER):
                    coverage = xshape.corner_coverage(EXPANDED_RADIUS, EXPANDED[3], c, top + r)
                    if 0.1 < coverage < 0.9:
                        expected = background * (1 - coverage)
                        seen = max(pixels[r][c])
                        edge.append((c, r, round(coverage, 2), seen))
                        if abs(seen - expected) > 48:
                            off.append((c, r, round(coverage, 2), seen))
            print("  corner edge: %d partly covered pixels, %d far from their coverage: %s" % (
                len(edge), len(off), off[:8]), flush=True)
            assert len(edge) >= EXPANDED_RADIUS, "too few partly covered pixels to judge: %s" % edge
            assert not off, "the corner's edge is not antialiased by coverage: %d of %d pixels off, %s" % (
                len(off), len(edge), off[:8])

        def follows_compositor():
            open_panel(d)
            stop_compositor()
            d.wait_for(lambda: look.bounding_shaped(wid), 3, "the panel was not cut when the compositor stopped")
            rows = settled_corner(d, look, wid)
            expected = xshape.expected_corner_rows(EXPANDED_RADIUS)
            assert abs(rows - expected) <= 1, "the cut's corner is %d rows high, not %d" % (rows, expected)
            start_compositor()
            d.wait_for(lambda: look.bounding_shaped(wid) is False, 3,
                       "the panel stayed cut when a compositor started")

        def click_beside_reaches_underneath():
            open_panel(d)
            settled_corner(d, look, wid, xshape.SHAPE_INPUT)
            before = underneath.presses()
            # Inside the outline (the ground line of the playfield): the panel takes it.
            d.run("xdotool", "mousemove", str(EXPANDED[0] + 60), "100", "click", "1")
            # Beside the body, under the left ear: in the panel's rectangle, outside its outline.
            d.run("xdotool", "mousemove", str(EXPANDED[0] + 3), "100", "click", "1")
            d.wait_for(lambda: underneath.presses() > before, 3, "the click beside the outline was lost")
            assert underneath.presses() == before + 1, "the click inside the outline went through as well"

        status = run_checks_then_stop(d, [
            ("the panel's window has an ARGB visual", argb_visual),
            ("the panel is not cut, only its input is shaped", input_shaped_not_cut),
            ("the painted edge is antialiased", antialiased_edge),
            ("the panel follows the compositor stopping and starting", follows_compositor),
            ("a click beside the outline reaches the window underneath", click_beside_reaches_underneath),
        ])
        look.close()
        return status


if __name__ == "__main__":
    sys.exit(main(sys.argv[1]))
