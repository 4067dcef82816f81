"""Quick looks at X windows through libX11 and libXext (ctypes, no extra package):
a window's SHAPE rectangles, its depth and size, and selection owners. Each look
is one round trip, so an animation can be sampled frame by frame."""

import ctypes
import ctypes.util

SHAPE_BOUNDING = 0
SHAPE_INPUT = 2


class _XRectangle(ctypes.Structure):
    _fields_ = [("x", ctypes.c_short), ("y", ctypes.c_short), ("width", ctypes.c_ushort),
                ("height", ctypes.c_ushort)]


_ERROR_HANDLER = ctypes.CFUNCTYPE(ctypes.c_int, ctypes.c_void_p, ctypes.c_void_p)


def _libraries():
    x11_name, xext_name = ctypes.util.find_library("X11"), ctypes.util.find_library("Xext")
    if not x11_name or not xext_name:
        return None, None
    x11, xext = ctypes.CDLL(x11_name), ctypes.CDLL(xext_name)
    x11.XOpenDisplay.restype = ctypes.c_void_p
    x11.XOpenDisplay.argtypes = [ctypes.c_char_p]
    x11.XCloseDisplay.argtypes = [ctypes.c_void_p]
    x11.XFree.argtypes = [ctypes.c_void_p]
    x11.XSync.argtypes = [ctypes.c_void_p, ctypes.c_int]
    x11.XInternAtom.restype = ctypes.c_ulong
    x11.XInternAtom.argtypes = [ctypes.c_void_p, ctypes.c_char_p, ctypes.c_int]
    x11.XGetSelectionOwner.restype = ctypes.c_ulong
    x11.XGetSelectionOwner.argtypes = [ctypes.c_void_p, ctypes.c_ulong]
    x11.XGetGeometry.argtypes = [ctypes.c_void_p, ctypes.c_ulong, ctypes.POINTER(ctypes.c_ulong)] + \
        [ctypes.POINTER(ctypes.c_int)] * 2 + [ctypes.POINTER(ctypes.c_uint)] * 4
    x11.XSetErrorHandler.argtypes = [_ERROR_HANDLER]
    xext.XShapeGetRectangles.restype = ctypes.POINTER(_XRectangle)
    xext.XShapeGetRectangles.argtypes = [ctypes.c_void_p, ctypes.c_ulong, ctypes.c_int,
                                         ctypes.POINTER(ctypes.c_int), ctypes.POINTER(ctypes.c_int)]
    xext.XShapeQueryExtents.argtypes = [ctypes.c_void_p, ctypes.c_ulong] + \
        ([ctypes.POINTER(ctypes.c_int)] * 3 + [ctypes.POINTER(ctypes.c_uint)] * 2) * 2
    return x11, xext


_x11, _xext = _libraries()
_errors = []


@_ERROR_HANDLER
def _on_error(display, event):
    # A window that went away while we looked: the look fails, the test goes on.
    _errors.append(event)
    return 0


def available():
    return _x11 is not None


class XLook:
    def __init__(self, display):
        self.display = _x11.XOpenDisplay(display.encode())
        if not self.display:
            raise AssertionError("cannot open display %s" % display)
        _x11.XSetErrorHandler(_on_error)

    def close(self):
        if self.display:
            _x11.XCloseDisplay(self.display)
            self.display = None

    def _failed(self):
        _x11.XSync(self.display, 0)
        failed = bool(_errors)
        _errors.clear()
        return failed

    def rectangles(self, window, kind=SHAPE_BOUNDING):
        """The window's shape as (x, y, width, height) rectangles, or None if the window is gone."""
        count, ordering = ctypes.c_int(0), ctypes.c_int(0)
        pointer = _xext.XShapeGetRectangles(self.display, int(window), kind, ctypes.byref(count),
                                            ctypes.byref(ordering))
        rects = [(pointer[i].x, pointer[i].y, pointer[i].width, pointer[i].height) for i in range(count.value)]
        if pointer:
            _x11.XFree(pointer)
        return None if self._failed() else rects

    def bounding_shaped(self, window):
        """Whether the window has a bounding shape of its own (is cut), or None if it is gone."""
        ints = [ctypes.c_int(0) for _ in range(6)]
        uints = [ctypes.c_uint(0) for _ in range(4)]
        args = [ctypes.byref(ints[0]), ctypes.byref(ints[1]), ctypes.byref(ints[2]), ctypes.byref(uints[0]),
                ctypes.byref(uints[1]), ctypes.byref(ints[3]), ctypes.byref(ints[4]), ctypes.byref(ints[5]),
                ctypes.byref(uints[2]), ctypes.byref(uints[3])]
        _xext.XShapeQueryExtents(self.display, int(window), *args)
        return None if self._failed() else bool(ints[0].value)

    def depth(self, window):
        root = ctypes.c_ulong(0)
        x, y = ctypes.c_int(0), ctypes.c_int(0)
        w, h, border, depth = (ctypes.c_uint(0) for _ in range(4))
        _x11.XGetGeometry(self.display, int(window), ctypes.byref(root), ctypes.byref(x), ctypes.byref(y),
                          ctypes.byref(w), ctypes.byref(h), ctypes.byref(border), ctypes.byref(depth))
        return None if self._failed() else depth.value

    def selection_owned(self, name):
        selection = _x11.XInternAtom(self.display, name.encode(), 0)
        return _x11.XGetSelectionOwner(self.display, selection) != 0


def row_starts(rects):
    """For each row of a shape, the leftmost x it covers: {y: x}."""
    starts = {}
    for x, y, _, h in rects:
        for row in range(y, y + h):
            starts[row] = min(starts.get(row, x), x)
    return starts


def corner_rows(rects, body_left=7):
    """How many rows up from the bottom of the shape its left edge lies right of the body's
    left edge: the height of the rounded bottom-left corner, which grows with its radius."""
    starts = row_starts(rects)
    if not starts:
        return None
    bottom = max(starts)
    rows = 0
    while bottom - rows in starts and starts[bottom - rows] > body_left:
        rows += 1
    return rows


def expected_corner_rows(radius):
    """corner_rows for the notch outline's bottom-left corner of `radius`: a quadratic curve from
    (7, bottom - r) to (7 + r, bottom) around the control point (7, bottom). A pixel belongs to the
    shape when its centre does; the curve is within half a pixel of x = 7 down to
    d = r (1 - sqrt(0.5 / r))^2 above the bottom, so the rows whose centres lie below that."""
    d = radius * (1 - (0.5 / radius) ** 0.5) ** 2
    return int(d - 0.5) + 1 if d > 0.5 else 0


def corner_coverage(radius, height, column, row, samples=8):
    """How much of the pixel (column, row) of a window `height` high the notch outline's
    bottom-left corner of `radius` covers, from 0 to 1 (`samples` x `samples` points a pixel)."""
    inside = 0
    for i in range(samples):
        y = row + (i + 0.5) / samples
        for j in range(samples):
            x = column + (j + 0.5) / samples
            if y > height or x < 7:
                continue
            if y <= height - radius:
                inside += 1
                continue
            # The curve's point at this height: y = height - r (1 - t)^2, x = 7 + r t^2.
            t = 1 - ((height - y) / radius) ** 0.5
            inside += x >= 7 + radius * t * t
    return inside / (samples * samples)


def shape_height(rects):
    return max(y + h for _, y, _, h in rects) if rects else 0


class ClickWindow:
    """xev's white window, decorated by the window manager: a window underneath the panel that
    writes down every button press it receives."""

    def __init__(self, desktop, geometry):
        self.desktop = desktop
        self.path = desktop.tmp + "/xev.log"
        self.log = open(self.path, "w")
        desktop._spawn(["xev", "-name", "underneath", "-geometry", geometry, "-event", "button"],
                       stdout=self.log)
        found = []

        def window():
            # xev's window has no WM_CLASS, which `xdotool search --onlyvisible` passes over.
            found[:] = desktop.run("xdotool", "search", "--name", "^underneath$", check=False).split()
            return bool(found)

        desktop.wait_for(window, 10, "xev's window did not appear")
        self.window = found[0]

    def presses(self):
        self.log.flush()
        with open(self.path) as f:
            return f.read().count("ButtonPress event")
