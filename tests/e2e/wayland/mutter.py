"""A private headless GNOME compositor for end-to-end tests: mutter 43 with a
virtual monitor, XWayland (unless asked not to), its own session bus and runtime
directory, and its RemoteDesktop D-Bus API for pointer and keyboard input. Everything
started here is stopped again."""

import os
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import time

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), ".."))
from desktop import skip  # noqa: E402

WIDTH, HEIGHT = 1440, 900
TOOLS = ["mutter", "dbus-daemon", "xwininfo", "xdotool", "xprop"]
HERE = os.path.dirname(os.path.abspath(__file__))


def require():
    missing = [t for t in TOOLS if shutil.which(t) is None]
    if missing:
        skip("missing tools (scripts/install-deps.sh --test installs them): " + " ".join(missing))
    try:
        import gi
    except ImportError:
        # PyGObject comes with the distribution's python; a python of one's own may lack it.
        system = "/usr/bin/python3"
        if os.path.exists(system) and os.path.realpath(sys.executable) != os.path.realpath(system):
            os.execv(system, [system] + sys.argv)
    try:
        import gi
        gi.require_version("Gtk", "3.0")
        gi.require_version("Gio", "2.0")
        from gi.repository import Gtk  # noqa: F401
    except (ImportError, ValueError) as error:
        skip("no GTK 3 for python (python3-gi, gir1.2-gtk-3.0): %s" % error)


def wait_for(condition, timeout, message):
    deadline = time.time() + timeout
    while True:
        value = condition()
        if value:
            return value
        if time.time() >= deadline:
            raise AssertionError(message() if callable(message) else message)
        time.sleep(0.02)


class Mutter:
    def __init__(self, x11=True):
        require()
        self.procs = []
        self.tmp = tempfile.mkdtemp(prefix="vantrel-mutter-")
        os.chmod(self.tmp, 0o700)
        self.env = {k: v for k, v in os.environ.items()
                    if k not in ("DISPLAY", "WAYLAND_DISPLAY", "XAUTHORITY", "DBUS_SESSION_BUS_ADDRESS",
                                 "QT_QPA_PLATFORM", "GDK_BACKEND")}
        self.env.update(HOME=self.tmp, XDG_RUNTIME_DIR=self.tmp, XDG_CONFIG_HOME=self.tmp,
                        XDG_SESSION_TYPE="wayland", NO_AT_BRIDGE="1", GSETTINGS_BACKEND="memory")
        try:
            self._start(x11)
        except Exception:
            self.close()
            raise

    def _spawn(self, argv, env=None, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL):
        proc = subprocess.Popen(argv, env=env or self.env, stdout=stdout, stderr=stderr, start_new_session=True)
        self.procs.append(proc)
        return proc

    def _start(self, x11):
        bus = self._spawn(["dbus-daemon", "--session", "--nofork", "--print-address"], stdout=subprocess.PIPE)
        address = bus.stdout.readline().decode().strip()
        if not address:
            raise AssertionError("dbus-daemon did not start")
        self.env["DBUS_SESSION_BUS_ADDRESS"] = address
        self.log_path = os.path.join(self.tmp, "mutter.log")
        argv = ["mutter", "--headless", "--wayland", "--virtual-monitor", "%dx%d" % (WIDTH, HEIGHT),
                "--wayland-display", "wayland-vantrel"]
        if not x11:
            argv.append("--no-x11")
        with open(self.log_path, "w") as log:
            self.mutter = self._spawn(argv, stdout=log, stderr=subprocess.STDOUT)
        socket = os.path.join(self.tmp, "wayland-vantrel")
        wait_for(lambda: os.path.exists(socket) or self.mutter.poll() is not None, 30,
                 "mutter did not open its Wayland socket")
        if self.mutter.poll() is not None:
            raise AssertionError("mutter exited with %s: %s" % (self.mutter.returncode, self.log()[-600:]))
        self.env["WAYLAND_DISPLAY"] = "wayland-vantrel"
        if x11:
            match = wait_for(lambda: re.search(r"Using public X11 display (:\d+)", self.log()), 30,
                             lambda: "mutter announced no X11 display: " + self.log()[-600:])
            self.env["DISPLAY"] = match.group(1)
            auth = [f for f in os.listdir(self.tmp) if f.startswith(".mutter-Xwaylandauth")]
            if auth:
                self.env["XAUTHORITY"] = os.path.join(self.tmp, auth[0])
            # XWayland starts on the first X11 client; wait until it answers.
            wait_for(lambda: subprocess.run(["xwininfo", "-root"], env=self.env, capture_output=True,
                                            timeout=20).returncode == 0, 30, "XWayland did not answer")
        self._start_input()

    def log(self):
        with open(self.log_path) as f:
            return f.read()

    # --- input through org.gnome.Mutter.RemoteDesktop ------------------------

    def _start_input(self):
        from gi.repository import Gio, GLib
        self.GLib = GLib
        self.bus = Gio.DBusConnection.new_for_address_sync(
            self.env["DBUS_SESSION_BUS_ADDRESS"],
            Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION,
            None, None)
        wait_for(lambda: self._has_name("org.gnome.Mutter.RemoteDesktop"), 20,
                 "mutter's RemoteDesktop service did not appear")
        reply = self._call("/org/gnome/Mutter/RemoteDesktop", "org.gnome.Mutter.RemoteDesktop",
                           "CreateSession", None)
        self.session = reply.unpack()[0]
        self._session_call("Start")
        self.pointer = None

    def _has_name(self, name):
        reply = self.bus.call_sync("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                                   "NameHasOwner", self.GLib.Variant("(s)", (name,)), None, 0, 2000, None)
        return reply.unpack()[0]

    def _call(self, path, interface, method, args):
        return self.bus.call_sync("org.gnome.Mutter.RemoteDesktop", path, interface, method, args, None, 0,
                                  5000, None)

    def _session_call(self, method, signature=None, *args):
        variant = self.GLib.Variant(signature, args) if signature else None
        return self._call(self.session, "org.gnome.Mutter.RemoteDesktop.Session", method, variant)

    def move_to(self, x, y):
        """Relative motion is all the API offers without a screen-cast stream: from the
        top-left corner (where a long move up and left leaves the pointer) to (x, y)."""
        if self.pointer is None:
            self._session_call("NotifyPointerMotionRelative", "(dd)", -5.0 * WIDTH, -5.0 * HEIGHT)
            self.pointer = (0, 0)
        dx, dy = x - self.pointer[0], y - self.pointer[1]
        if dx or dy:
            self._session_call("NotifyPointerMotionRelative", "(dd)", float(dx), float(dy))
        self.pointer = (x, y)

    def click(self, button=0x110):  # BTN_LEFT
        self._session_call("NotifyPointerButton", "(ib)", button, True)
        self._session_call("NotifyPointerButton", "(ib)", button, False)

    def key(self, keycode):
        """An evdev key code (1: Escape, 57: space), pressed and released."""
        self._session_call("NotifyKeyboardKeycode", "(ub)", keycode, True)
        self._session_call("NotifyKeyboardKeycode", "(ub)", keycode, False)

    # --- a native window ------------------------------------------------------

    def start_native_window(self, title="native", fullscreen=False):
        self.native_log = os.path.join(self.tmp, "native-%s.log" % title)
        env = dict(self.env, GDK_BACKEND="wayland")
        env.pop("DISPLAY", None)
        with open(self.native_log, "w") as out:
            self.native = self._spawn(["/usr/bin/python3" if os.path.exists("/usr/bin/python3") else sys.executable, os.path.join(HERE, "native_window.py"), title] +
                                      (["--fullscreen"] if fullscreen else []), env=env,
                                      stdout=out, stderr=subprocess.STDOUT)
        wait_for(lambda: "ready" in self.native_events() or self.native.poll() is not None, 20,
                 "the native window did not start")
        if self.native.poll() is not None:
            raise AssertionError("the native window exited: " + self.native_events())
        return self.native

    def native_events(self):
        with open(self.native_log) as f:
            return f.read()

    def native_lines(self, what):
        """Timestamps (monotonic) of the native window's lines `what`."""
        out = []
        for line in self.native_events().splitlines():
            parts = line.split(" ", 1)
            if len(parts) == 2 and parts[1] == what:
                out.append(float(parts[0]))
        return out

    def close(self):
        for proc in reversed(self.procs):
            if proc.poll() is None:
                try:
                    proc.send_signal(signal.SIGTERM)
                    proc.wait(5)
                except Exception:
                    proc.kill()
                    proc.wait()
        self.procs = []
        shutil.rmtree(self.tmp, ignore_errors=True)

    def __enter__(self):
        return self

    def __exit__(self, *exc):
        self.close()
