"""A private X desktop for end-to-end tests: Xvfb on a free display, openbox,
and the vantrel program, driven with xdotool and checked with window
geometry and screenshots. Everything started here is stopped again."""

import ctypes
import ctypes.util
import os
import shutil
import signal
import subprocess
import sys
import tempfile
import time

SKIP = 77  # ctest's SKIP_RETURN_CODE

TOOLS = ["Xvfb", "openbox", "xdotool", "xwininfo", "xprop", "import", "xterm", "xrandr"]


def skip(message):
    print("SKIPPED: " + message, flush=True)
    sys.exit(SKIP)


class Undecided(Exception):
    """A check that could not observe what it needs to decide (say, the machine was
    too slow for a timing claim on every attempt): neither a pass nor a failure."""


def require_tools():
    missing = [t for t in TOOLS if shutil.which(t) is None]
    if missing:
        skip("missing tools (scripts/install-deps.sh --test installs them): " + " ".join(missing))


class Desktop:
    def __init__(self, program, width=1280, height=800, extra_settings="", onboarded=True, session_bus=False):
        require_tools()
        self.program = program
        self.procs = []
        self.tmp = tempfile.mkdtemp(prefix="vantrel-e2e-")
        self.settings = os.path.join(self.tmp, "Vantrel.conf")
        with open(self.settings, "w") as f:
            # Onboarding done unless a test is about the first launch.
            f.write("[General]\n" + ("hasCompletedOnboarding=true\n" if onboarded else "") + extra_settings)
        # Two servers started at once may race for a display number: the loser exits, sometimes only
        # after it has reported the number (then openbox meets the winner's desktop, and the winner's
        # own openbox may find the loser's already managing it and exit); try again.
        for attempt in range(3):
            try:
                self._start_session(width, height, session_bus)
                break
            except (RuntimeError, AssertionError) as error:
                lost = isinstance(error, RuntimeError) or "openbox exited" in str(error) or any(
                    p.args[0] == "Xvfb" and p.poll() is not None for p in self.procs)
                self._stop_procs()
                if attempt == 2 or not lost:
                    self.close()
                    raise
                print("note: %s (attempt %d); again" % (error, attempt + 1), flush=True)
                time.sleep(0.2)  # a moment before the next race, not a wait for anything
        self.app = None

    def _start_session(self, width, height, session_bus):
        """Xvfb, the environment for it, a session bus if asked for, and openbox."""
        self.display = self._start_xvfb(width, height)
        self.env = dict(os.environ, DISPLAY=self.display, HOME=self.tmp, XDG_CONFIG_HOME=self.tmp,
                        XDG_RUNTIME_DIR=self.tmp, QT_QPA_PLATFORM="xcb",
                        # No tray host here unless a test starts one: no notice about it either.
                        VANTREL_TRAY_WAIT_SECONDS="3600",
                        # A trace of the panel and the shell, shown when a check fails.
                        QT_LOGGING_RULES="vantrel.*.debug=true",
                        QT_MESSAGE_PATTERN="%{time process} %{category}: %{message}")
        self.env.pop("DBUS_SESSION_BUS_ADDRESS", None)
        self.env.pop("WAYLAND_DISPLAY", None)
        if session_bus:
            # A desktop session has its bus running before any program starts; without
            # one the first D-Bus client on a display spends seconds autolaunching it.
            bus = subprocess.Popen(["dbus-daemon", "--session", "--nofork", "--print-address"], env=self.env,
                                   stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True,
                                   start_new_session=True)
            self.procs.append(bus)
            address = bus.stdout.readline().strip()
            if not address:
                raise AssertionError("dbus-daemon did not start")
            self.env["DBUS_SESSION_BUS_ADDRESS"] = address
        wm_log = os.path.join(self.tmp, "openbox.log")
        with open(wm_log, "w") as log:
            wm = self._spawn(["openbox", "--sm-disable"], stderr=log)
        try:
            self.wait_for(lambda: self._wm_ready() or wm.poll() is not None, 30, "openbox did not start")
            if wm.poll() is not None:
                raise AssertionError("openbox exited with %s" % wm.returncode)
            if self.procs[0].poll() is not None:
                raise AssertionError("Xvfb exited: the display belongs to another server")
        except AssertionError as error:
            with open(wm_log) as log:
                message = "%s on %s: %s" % (error, self.display, log.read().strip()[-500:])
            raise AssertionError(message)

    def _start_xvfb(self, width, height):
        read_fd, write_fd = os.pipe()
        proc = subprocess.Popen(
            ["Xvfb", "-displayfd", str(write_fd), "-screen", "0", "%dx%dx24" % (width, height),
             "-nolisten", "tcp", "+extension", "RANDR", "+extension", "XInputExtension"],
            pass_fds=(write_fd,), stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        self.procs.append(proc)
        os.close(write_fd)
        data = b""
        deadline = time.time() + 15
        while not data.endswith(b"\n") and time.time() < deadline:
            chunk = os.read(read_fd, 16)
            if not chunk:
                break
            data += chunk
        os.close(read_fd)
        if not data.strip():
            if proc.poll() is None:
                proc.kill()
            proc.wait()
            self.procs.remove(proc)
            raise RuntimeError("Xvfb did not report a display")
        return ":" + data.decode().strip()

    def _spawn(self, argv, env=None, **kw):
        proc = subprocess.Popen(argv, env=env or self.env, stdout=kw.get("stdout", subprocess.DEVNULL),
                                stderr=kw.get("stderr", subprocess.DEVNULL), start_new_session=True)
        self.procs.append(proc)
        return proc

    def run(self, *argv, check=True):
        result = subprocess.run(list(argv), env=self.env, capture_output=True, text=True, timeout=30)
        if check and result.returncode != 0:
            raise RuntimeError("%s failed: %s" % (" ".join(argv), result.stderr.strip()))
        return result.stdout

    def _wm_ready(self):
        out = subprocess.run(["xprop", "-root", "_NET_SUPPORTING_WM_CHECK"], env=self.env,
                             capture_output=True, text=True).stdout
        return "window id" in out

    @staticmethod
    def wait_for(condition, timeout, message):
        """Polls `condition` until it holds, for at most `timeout` seconds; returns its value."""
        deadline = time.time() + timeout
        while True:
            value = condition()
            if value:
                return value
            if time.time() >= deadline:
                raise AssertionError(message() if callable(message) else message)
            time.sleep(0.05)

    @staticmethod
    def hold(condition, seconds, message):
        """Asserts that `condition` holds on every look for `seconds`: the opposite of
        wait_for, for things that must not happen. The time is part of the check."""
        deadline = time.time() + seconds
        while True:
            value = condition()
            if not value:
                raise AssertionError(message(value) if callable(message) else message)
            if time.time() >= deadline:
                return
            time.sleep(0.05)

    # --- the program -------------------------------------------------------

    def start_vantrel(self, *args):
        self.log = open(os.path.join(self.tmp, "vantrel.log"), "w")
        self.app = self._spawn([self.program, "--settings-file", self.settings, "--verbose"] + list(args),
                               stderr=self.log)
        self.wait_for(lambda: self.panel_window() is not None, 20, "the panel window never appeared")
        # The shortcut is registered last, right before the event loop starts: then it is ready.
        # Input sent from now on is queued by the X server until the event loop reads it, and every
        # check waits for what it expects with a deadline: no pause is needed here.
        self.wait_for(lambda: "vantrel: ready" in self.stderr_text(), 20, "vantrel did not finish starting")
        return self.app

    def log_tail(self, lines=12):
        """The program's last words, to explain a failed check."""
        if getattr(self, "log", None) is None:
            return ""
        tail = self.stderr_text().strip().splitlines()[-lines:]
        return "\n  vantrel's log ends:\n    " + "\n    ".join(tail) if tail else ""

    def stderr_text(self):
        self.log.flush()
        with open(os.path.join(self.tmp, "vantrel.log")) as f:
            return f.read()

    def panel_window(self):
        out = subprocess.run(["xdotool", "search", "--name", "^Velt$"], env=self.env, capture_output=True,
                             text=True).stdout.split()
        return out[0] if out else None

    def panel_viewable(self):
        return self.panel_geometry() is not None

    def panel_geometry(self):
        """(x, y, width, height) of the panel on the root window, or None while it is not shown."""
        # The window found last time, while the same program runs: a search costs as much as the look.
        cached = getattr(self, "_panel", None)
        wid = cached[1] if cached and cached[0] is self.app else self.panel_window()
        if wid is None:
            return None
        # The window manager may destroy the panel's frame while we ask: ask again.
        for _ in range(5):
            result = subprocess.run(["xwininfo", "-id", wid], env=self.env, capture_output=True, text=True)
            if result.returncode == 0:
                break
            time.sleep(0.02)
        if result.returncode != 0 and cached:
            self._panel = None  # gone for good: look for it again
            return self.panel_geometry()
        self._panel = (self.app, wid)
        info = result.stdout
        if "IsViewable" not in info:
            return None
        values = {}
        for line in info.splitlines():
            line = line.strip()
            for key in ("Absolute upper-left X", "Absolute upper-left Y", "Width", "Height"):
                if line.startswith(key + ":"):
                    values[key] = int(line.split(":")[1])
        return (values["Absolute upper-left X"], values["Absolute upper-left Y"], values["Width"],
                values["Height"])

    def wait_geometry(self, predicate, timeout, message):
        """Polls the panel's geometry until `predicate` holds; returns that geometry."""
        last = [None]

        def check():
            last[0] = self.panel_geometry()
            return predicate(last[0])

        try:
            self.wait_for(check, timeout, message)
        except AssertionError:
            raise AssertionError("%s (last geometry %s)%s" % (message, last[0], self.log_tail()))
        return last[0]

    def hold_geometry(self, predicate, seconds, message):
        """Asserts that the panel's geometry satisfies `predicate` on every look for `seconds`."""
        last = [None]

        def check():
            last[0] = self.panel_geometry()
            return predicate(last[0])

        self.hold(check, seconds, lambda _: "%s (geometry %s)%s" % (message, last[0], self.log_tail()))

    def current_desktop(self):
        out = self.run("xprop", "-root", "_NET_CURRENT_DESKTOP", check=False)
        return int(out.split("=")[1]) if "=" in out else None

    def switch_desktop(self, number, timeout=3.0):
        """Switches workspace and waits until the window manager reports it."""
        self.run("xdotool", "set_desktop", str(number))
        self.wait_for(lambda: self.current_desktop() == number, timeout,
                      "the window manager did not switch to workspace %d" % number)

    def activate(self, wid, timeout=3.0):
        """Gives `wid` the keyboard focus and waits until it has it."""
        if self.active_window() != wid:
            self.run("xdotool", "windowactivate", "--sync", wid, check=False)
        self.wait_for(lambda: self.active_window() == wid, timeout, "window %s did not get the focus" % wid)

    # --- the tray ----------------------------------------------------------

    def start_tray(self):
        """trayer, an XEmbed system tray, docked in the top right corner (away from the panel)."""
        if shutil.which("trayer") is None:
            skip("trayer is missing (scripts/install-deps.sh installs it)")
        log_path = os.path.join(self.tmp, "trayer.log")
        # On a busy machine trayer now and then never maps its panel: start it again then.
        for attempt in range(3):
            with open(log_path, "a") as log:
                tray = self._spawn(["trayer", "--edge", "top", "--align", "right", "--widthtype", "pixel",
                                    "--width", "120", "--heighttype", "pixel", "--height", "28",
                                    "--SetDockType", "true", "--expand", "false"], stderr=log)
            try:
                self.wait_for(lambda: self.tray_window() is not None or tray.poll() is not None, 10,
                              "trayer did not start")
                if tray.poll() is None:
                    return
                error = "trayer exited with %s" % tray.returncode
            except AssertionError as failure:
                error = str(failure)
                tray.terminate()
                tray.wait(5)
            print("note: %s (attempt %d)" % (error, attempt + 1), flush=True)
        with open(log_path) as log:
            raise AssertionError("%s: %s" % (error, log.read().strip()[-500:]))

    def tray_window(self):
        out = subprocess.run(["xdotool", "search", "--onlyvisible", "--class", "^trayer$"], env=self.env,
                             capture_output=True, text=True).stdout.split()
        return out[0] if out else None

    def tray_icon(self):
        """(window, x, y, width, height) of vantrel's icon embedded in the tray, or None."""
        tray = self.tray_window()
        if tray is None:
            return None
        tree = subprocess.run(["xwininfo", "-id", tray, "-tree"], env=self.env, capture_output=True,
                              text=True).stdout
        for line in tree.splitlines():
            # 0x1e00007 "Vantrel": ("vantrel" "Vantrel")  22x22+0+0  +1163+3
            if '"vantrel"' not in line.lower():
                continue
            parts = line.split()
            size, absolute = parts[-2], parts[-1]
            w, h = (int(v) for v in size.split("+")[0].split("x"))
            x, y = (int(v) for v in absolute.lstrip("+").split("+"))
            if w > 1 and h > 1:
                return parts[0], x, y, w, h
        return None

    # --- other windows -----------------------------------------------------

    def visible_windows(self, name=None, cls=None):
        argv = ["xdotool", "search", "--onlyvisible"]
        argv += ["--name", name] if name else ["--class", cls]
        return subprocess.run(argv, env=self.env, capture_output=True, text=True).stdout.split()

    def window_geometry(self, wid):
        info = subprocess.run(["xwininfo", "-id", wid], env=self.env, capture_output=True, text=True).stdout
        values = {}
        for line in info.splitlines():
            line = line.strip()
            for key in ("Absolute upper-left X", "Absolute upper-left Y", "Width", "Height"):
                if line.startswith(key + ":"):
                    values[key] = int(line.split(":")[1])
        if len(values) < 4:
            return None
        return (values["Absolute upper-left X"], values["Absolute upper-left Y"], values["Width"],
                values["Height"])

    def read_settings(self):
        """The settings file as a dict of strings (QSettings' INI format, [General] section)."""
        values = {}
        with open(self.settings) as f:
            for line in f:
                line = line.strip()
                if "=" in line and not line.startswith("["):
                    key, value = line.split("=", 1)
                    values[key.strip()] = value.strip()
        return values

    # --- input -------------------------------------------------------------

    def pointer(self):
        out = self.run("xdotool", "getmouselocation", "--shell")
        values = dict(line.split("=") for line in out.split())
        return int(values["X"]), int(values["Y"])

    def move_to(self, x, y):
        """Moves the pointer with relative motion, which (unlike a warp) makes raw input events.
        When it returns, the X server has the pointer at (x, y)."""
        px, py = self.pointer()
        for _ in range(3):
            if (px, py) == (x, y):
                return
            # One xdotool for the move and the look after it: the look is a round trip, so the
            # server has made the move by the time the answer comes.
            out = self.run("xdotool", "mousemove_relative", "--", str(x - px), str(y - py),
                           "getmouselocation", "--shell")
            values = dict(line.split("=") for line in out.split())
            px, py = int(values["X"]), int(values["Y"])
        if (px, py) != (x, y):
            raise AssertionError("pointer at %s, wanted %s" % ((px, py), (x, y)))

    def timed_move(self, x, y):
        """move_to, timed: (started, arrived), wall-clock seconds. The pointer crossed from where it
        was to (x, y) somewhere in between, so a claim about when it arrived has that much slack."""
        started = time.time()
        self.move_to(x, y)
        return started, time.time()

    def glide(self, points, pause=0.02):
        for x, y in points:
            self.move_to(x, y)
            # The pause is the pointer's pace, not a wait for the program: a hand moves at this speed.
            time.sleep(pause)

    def key(self, *keys, window=None):
        argv = ["xdotool", "key"]
        if window:
            argv += ["--window", window]
        self.run(*(argv + list(keys)))

    def active_window(self):
        out = self.run("xdotool", "getactivewindow", check=False).strip()
        return out or None

    def start_xterm(self, title, geometry="80x24+100+200"):
        self._spawn(["xterm", "-T", title, "-geometry", geometry])
        found = []

        def window():
            out = subprocess.run(["xdotool", "search", "--name", "^%s$" % title], env=self.env,
                                 capture_output=True, text=True).stdout.split()
            found[:] = out
            return bool(out)

        self.wait_for(window, 10, "xterm %s did not appear" % title)
        wid = found[0]
        self.run("xdotool", "windowactivate", "--sync", wid, check=False)
        self.wait_for(lambda: self.active_window() == wid, 5, "xterm %s did not get focus" % title)
        return wid

    # --- screenshots -------------------------------------------------------

    def screenshot_raw(self, x, y, width, height):
        """(width, height, bytes) of a screen rectangle, three bytes a pixel: cheap to compare."""
        data = subprocess.run(["import", "-silent", "-window", "root", "-crop",
                               "%dx%d+%d+%d" % (width, height, x, y), "+repage", "-depth", "8", "ppm:-"],
                              env=self.env, capture_output=True, timeout=30).stdout
        header = []
        pos = 0
        while len(header) < 4:
            end = data.index(b"\n", pos)
            for token in data[pos:end].split():
                header.append(token)
            pos = end + 1
        w, h = int(header[1]), int(header[2])
        return w, h, data[pos:pos + w * h * 3]

    def screenshot(self, x, y, width, height):
        """Pixels of a screen rectangle as rows of (r, g, b)."""
        w, h, pixels = self.screenshot_raw(x, y, width, height)
        return [[tuple(pixels[(r * w + c) * 3:(r * w + c) * 3 + 3]) for c in range(w)] for r in range(h)]

    # --- cleanup -----------------------------------------------------------

    def stop_vantrel(self):
        if self.app is not None and self.app.poll() is None:
            self.app.send_signal(signal.SIGTERM)
            try:
                return self.app.wait(10)
            except subprocess.TimeoutExpired:
                self.app.kill()
                raise AssertionError("vantrel did not quit on SIGTERM")
        return self.app.returncode if self.app else None

    def _stop_procs(self):
        for proc in reversed(self.procs):
            if proc.poll() is None:
                try:
                    proc.terminate()
                    proc.wait(5)
                except Exception:
                    proc.kill()
        self.procs = []

    def close(self):
        self._stop_procs()
        shutil.rmtree(self.tmp, ignore_errors=True)

    def __enter__(self):
        return self

    def __exit__(self, *exc):
        self.close()


class Warper:
    """XWarpPointer on a connection of our own: the pointer jumps, no device moves."""

    def __init__(self, display):
        path = ctypes.util.find_library("X11")
        if path is None:
            skip("libX11 is not installed: cannot warp the pointer")
        self.x = ctypes.CDLL(path)
        self.x.XOpenDisplay.restype = ctypes.c_void_p
        self.x.XOpenDisplay.argtypes = [ctypes.c_char_p]
        self.x.XDefaultRootWindow.restype = ctypes.c_ulong
        self.x.XDefaultRootWindow.argtypes = [ctypes.c_void_p]
        self.x.XWarpPointer.argtypes = [ctypes.c_void_p, ctypes.c_ulong, ctypes.c_ulong, ctypes.c_int, ctypes.c_int,
                                        ctypes.c_uint, ctypes.c_uint, ctypes.c_int, ctypes.c_int]
        self.x.XSync.argtypes = [ctypes.c_void_p, ctypes.c_int]
        self.x.XCloseDisplay.argtypes = [ctypes.c_void_p]
        self.dpy = self.x.XOpenDisplay(display.encode())
        if not self.dpy:
            raise AssertionError("cannot open %s" % display)
        self.root = self.x.XDefaultRootWindow(self.dpy)

    def warp(self, x, y):
        """Returns the wall-clock time just before the request; when it returns the server has made it."""
        started = time.time()
        self.x.XWarpPointer(self.dpy, 0, self.root, 0, 0, 0, 0, x, y)
        self.x.XSync(self.dpy, 0)
        return started

    def close(self):
        self.x.XCloseDisplay(self.dpy)


def run_checks(checks):
    """Runs named check functions in order; prints each outcome; returns the exit status:
    1 when a check failed, SKIP when none failed but one could not decide, else 0."""
    failed = undecided = 0
    for name, check in checks:
        started = time.time()
        try:
            check()
            print("PASS %s (%.1f s)" % (name, time.time() - started), flush=True)
        except Undecided as reason:
            undecided += 1
            print("UNDECIDED %s: %s" % (name, reason), flush=True)
        except Exception as error:  # a failed assertion or a broken tool: both fail the test
            failed += 1
            print("FAIL %s: %s" % (name, error), flush=True)
    if failed:
        return 1
    if undecided:
        print("SKIPPED: %d check(s) could not decide on this machine (see UNDECIDED above)" % undecided,
              flush=True)
        return SKIP
    return 0


def run_checks_then_stop(d, checks):
    """run_checks, then stops the program with SIGTERM: an unclean exit fails the test too."""
    status = run_checks(checks)
    rc = d.stop_vantrel()
    if rc != 0:
        print("FAIL vantrel exited with %s on SIGTERM" % rc)
        status = 1
    return status


def worst(*statuses):
    """The exit status of several parts: a failure wins over a skip, a skip over a pass."""
    if any(s not in (0, SKIP) for s in statuses):
        return 1
    return SKIP if SKIP in statuses else 0


# --- reading screenshots of the playfield -----------------------------------

def bright(pixel):
    return min(pixel) > 180


def dino_rows(pixels, columns):
    """Top and bottom rows of the bright figure within `columns` between the
    score row and the control row: the dinosaur."""
    rows = [r for r in range(30, len(pixels) - 40) if any(bright(pixels[r][c]) for c in columns)]
    if not rows:
        return None
    return min(rows), max(rows)
