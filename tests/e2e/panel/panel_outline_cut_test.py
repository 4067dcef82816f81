"""The panel's outline on a desktop without a compositing manager (openbox alone):
the window is cut to the notch shape, and the cut follows the corner radius while
it animates between the open and the closed panel instead of jumping to where
the radius ends. Beside the cut, the window underneath shows and takes clicks."""

import os
import sys
import time

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(HERE, ".."))
sys.path.insert(0, HERE)
from desktop import Desktop, Undecided, run_checks_then_stop, skip  # noqa: E402
import xshape  # noqa: E402

WIDTH, HEIGHT = 1280, 800
CX = WIDTH // 2
EXPANDED = (CX - 240, 0, 480, 192)
EXPANDED_RADIUS, COLLAPSED_RADIUS = 25, 13
CORNER = 40  # the square at the bottom-left corner of the open panel that the screenshots look at


def open_panel(d):
    if d.panel_geometry() == EXPANDED and d.active_window() == d.panel_window():
        return
    if d.panel_geometry() is not None:
        d.key("alt+super+space")
        d.wait_geometry(lambda g: g is None, 2.0, "the panel did not close")
    d.key("alt+super+space")
    d.wait_geometry(lambda g: g == EXPANDED, 2.0, "the playfield did not open")
    d.wait_for(lambda: d.active_window() == d.panel_window(), 3, "the playfield has no keyboard focus")


def settled_corner(d, look, wid, kind=xshape.SHAPE_BOUNDING):
    """The corner height of the open panel's shape once it stays the same for a moment."""
    seen = []

    def steady():
        rects = look.rectangles(wid, kind)
        seen.append(xshape.corner_rows(rects) if rects else None)
        return len(seen) >= 5 and seen[-1] is not None and len(set(seen[-5:])) == 1

    d.wait_for(steady, 3, lambda: "the shape did not settle: %s" % seen[-10:])
    return seen[-1]


def main(program):
    if not xshape.available():
        skip("libX11 or libXext not found for ctypes")
    with Desktop(program, WIDTH, HEIGHT) as d:
        look = xshape.XLook(d.display)
        underneath = xshape.ClickWindow(d, "760x420+260+0")
        d.start_vantrel()
        wid = d.panel_window()

        def cut_follows_radius():
            open_panel(d)
            rest = settled_corner(d, look, wid)
            expanded_rows = xshape.expected_corner_rows(EXPANDED_RADIUS)
            collapsed_rows = xshape.expected_corner_rows(COLLAPSED_RADIUS)
            assert look.bounding_shaped(wid), "the open panel is not cut to its outline"
            assert abs(rest - expanded_rows) <= 1, "the open panel's corner is %d rows high, not %d" % (
                rest, expanded_rows)
            samples = []
            d.key("Escape")
            deadline = time.time() + 1.0
            while time.time() < deadline:
                rects = look.rectangles(wid)
                if not rects:
                    break  # hidden
                samples.append((xshape.shape_height(rects), xshape.corner_rows(rects)))
            d.wait_geometry(lambda g: g is None, 2.0, "the panel did not close")
            # While the panel is at least twice the radius high, the radius is not limited by the height.
            tall = [rows for height, rows in samples if height >= 2 * EXPANDED_RADIUS + 2]
            print("  corner rows per sample while closing (%d open, %d closed): %s" % (
                rest, collapsed_rows, tall), flush=True)
            changed = [r for r in tall if r != rest]
            if not changed:
                raise Undecided("no sample caught the corner while the panel was still tall")
            between = [r for r in changed if collapsed_rows + 2 <= r <= rest - 2]
            assert between, ("the cut jumped from %d corner rows to %s without the steps between: %s" %
                             (rest, sorted(set(changed)), tall))
            for earlier, later in zip(tall, tall[1:]):
                assert later <= earlier, "the cut's corner grew while the panel closed: %s" % tall

        def corners_cut():
            open_panel(d)
            settled_corner(d, look, wid)
            x0, y0 = EXPANDED[0], EXPANDED[1] + EXPANDED[3] - CORNER
            pixels = d.screenshot(x0, y0, CORNER, CORNER)
            inside = set()
            for x, y, w, h in look.rectangles(wid):
                for row in range(max(y, y0 - EXPANDED[1]), min(y + h, EXPANDED[3])):
                    for column in range(x, min(x + w, CORNER)):
                        inside.add((column, row - (y0 - EXPANDED[1])))
            background = pixels[CORNER - 1][0]
            assert min(background) > 200, "the window underneath does not show at the corner: %s" % (
                background,)
            # Outside the shape the window underneath shows; along the inside of the cut, the
            # panel's black (its content keeps clear of the edge). One bit deep: nothing between.
            wrong = []
            for row in range(CORNER):
                for column in range(CORNER):
                    pixel = pixels[row][column]
                    if (column, row) not in inside:
                        if pixel != background:
                            wrong.append((column, row, pixel))
                    elif any((column + dc, row + dr) not in inside and 0 <= column + dc < CORNER and
                             0 <= row + dr < CORNER for dc, dr in ((-1, 0), (0, 1), (-1, 1))):
                        if max(pixel) > 0:
                            wrong.append((column, row, pixel))
            assert not wrong, "%d pixels of the corner disagree with the window's shape, first %s" % (
                len(wrong), wrong[:5])
            cut = sum(1 for row in range(CORNER) for column in range(CORNER) if (column, row) not in inside)
            assert cut > EXPANDED_RADIUS * 7, "the corner is hardly cut: %d pixels" % cut

        def click_beside_reaches_underneath():
            open_panel(d)
            before = underneath.presses()
            # Beside the body, under the left ear: in the panel's rectangle, outside its outline.
            d.run("xdotool", "mousemove", str(EXPANDED[0] + 3), "100", "click", "1")
            d.wait_for(lambda: underneath.presses() > before, 3, "the click beside the outline was lost")

        status = run_checks_then_stop(d, [
            ("the cut follows the corner radius while it animates", cut_follows_radius),
            ("the corners show the window underneath, cut one bit deep", corners_cut),
            ("a click beside the outline reaches the window underneath", click_beside_reaches_underneath),
        ])
        look.close()
        return status


if __name__ == "__main__":
    sys.exit(main(sys.argv[1]))
