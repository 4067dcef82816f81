"""A private headless sway for end-to-end tests: sway 1.7 on wlroots' headless
backend with XWayland, a virtual pointer (wl-pointer, built with the tests) and a
virtual keyboard (wtype), screenshots with grim, and a native GTK window to stand
for the user's work. sway refuses to run as root, so as root everything here runs
as the unprivileged user `nobody`. Everything started here is stopped again."""

import json
import os
import queue
import shutil
import subprocess
import tempfile
import threading
import time

SKIP = 77
NOBODY = 65534
SYSTEM_PYTHON = "/usr/bin/python3"  # Debian's, which has the GTK bindings
HERE = os.path.dirname(os.path.abspath(__file__))


def skip(message):
    print("SKIPPED: " + message, flush=True)
    raise SystemExit(SKIP)


def require(pointer_tool):
    missing = [t for t in ("sway", "swaymsg", "swaybar", "Xwayland", "grim", "wtype", "dbus-daemon", "dbus-send")
               if shutil.which(t) is None]
    if not os.access(pointer_tool, os.X_OK):
        missing.append(pointer_tool)
    if subprocess.run([SYSTEM_PYTHON, "-c", "import gi; gi.require_version('Gtk', '3.0'); "
                       "from gi.repository import Gtk"], capture_output=True).returncode != 0:
        missing.append("python3-gi with gir1.2-gtk-3.0")
    if missing:
        skip("missing (scripts/install-deps.sh --test installs them): " + " ".join(missing))


class Lines:
    """A process's standard output, read line by line in the background."""

    def __init__(self, proc):
        self.proc = proc
        self.seen = []
        self.queue = queue.Queue()
        threading.Thread(target=self._read, daemon=True).start()

    def _read(self):
        for line in self.proc.stdout:
            line = line.rstrip("\n")
            self.seen.append(line)
            self.queue.put(line)

    def drain(self):
        while not self.queue.empty():
            self.queue.get_nowait()

    def wait_for(self, wanted, timeout):
        """True once a line equal to `wanted` arrives within `timeout` seconds."""
        end = time.time() + timeout
        while time.time() < end:
            try:
                if self.queue.get(timeout=max(0.01, end - time.time())) == wanted:
                    return True
            except queue.Empty:
                break
        return False


class Sway:
    def __init__(self, pointer_tool, width=1440, height=900):
        require(pointer_tool)
        self.width, self.height = width, height
        self.procs = []
        self.tmp = tempfile.mkdtemp(prefix="vantrel-sway-")
        try:
            self._start(pointer_tool, width, height)
        except BaseException:
            self.close()
            raise

    def _start(self, pointer_tool, width, height):
        os.chmod(self.tmp, 0o700)
        self.as_nobody = os.getuid() == 0
        if self.as_nobody:
            os.chown(self.tmp, NOBODY, NOBODY)
        config = os.path.join(self.tmp, "config")
        with open(config, "w") as f:
            f.write("output HEADLESS-1 resolution %dx%d position 0 0\n" % (width, height))
            f.write("xwayland enable\ndefault_border none\nfocus_follows_mouse no\n")
            # swaybar is the tray: a StatusNotifierItem host on the session bus. At the bottom,
            # so the top edge belongs to the panel alone.
            f.write("bar {\n  position bottom\n  tray_output *\n}\n")
            f.write("exec echo $DISPLAY > %s/display\n" % self.tmp)
        self._own(config)
        self.base_env = {"HOME": self.tmp, "XDG_RUNTIME_DIR": self.tmp, "PATH": "/usr/bin:/bin",
                         "LANG": "C.UTF-8"}
        bus = self.spawn(["dbus-daemon", "--session", "--nofork", "--print-address=1"], env=self.base_env,
                         stdout=subprocess.PIPE, text=True)
        self.base_env["DBUS_SESSION_BUS_ADDRESS"] = bus.stdout.readline().strip()
        env = dict(self.base_env, WLR_BACKENDS="headless", WLR_LIBINPUT_NO_DEVICES="1", WLR_RENDERER="pixman")
        self.sway = self.spawn(["sway", "-c", config], env=env, stdout=open(self.path("sway.log"), "w"),
                               stderr=subprocess.STDOUT)
        self._wait(lambda: self._socket("wayland-") and self._socket("sway-ipc."), 10, "sway did not start")
        self.env = dict(self.base_env, WAYLAND_DISPLAY=self._socket("wayland-"),
                        SWAYSOCK=os.path.join(self.tmp, self._socket("sway-ipc.")))
        self._wait(lambda: os.path.exists(self.path("display")) and open(self.path("display")).read().strip(),
                   10, "sway did not report its XWayland display")
        self.env["DISPLAY"] = open(self.path("display")).read().strip()
        self._wait(self._tray_ready, 10, "swaybar's tray did not appear on the session bus")
        self.pointer = self.spawn([pointer_tool, str(width), str(height)], stdin=subprocess.PIPE,
                                  stdout=subprocess.PIPE, text=True)
        if self.pointer.stdout.readline().strip() != "ready":
            raise AssertionError("the virtual pointer did not start")
        # A keyboard that stays: the seat offers clients a keyboard only while one exists.
        self.spawn(["wtype", "-s", "3600000", "-k", "F24"])
        time.sleep(0.3)

    # --- processes ---------------------------------------------------------

    def _tray_ready(self):
        try:
            out = self.run("dbus-send", "--session", "--print-reply", "--dest=org.freedesktop.DBus", "/",
                           "org.freedesktop.DBus.NameHasOwner", "string:org.kde.StatusNotifierWatcher")
        except AssertionError:
            return False
        return b"true" in out

    def path(self, name):
        return os.path.join(self.tmp, name)

    def _own(self, path):
        if self.as_nobody:
            os.chown(path, NOBODY, NOBODY)

    def _socket(self, prefix):
        found = [n for n in os.listdir(self.tmp) if n.startswith(prefix) and not n.endswith(".lock")]
        return found[0] if found else None

    def spawn(self, argv, env=None, **kw):
        kw.setdefault("stdout", subprocess.DEVNULL)
        kw.setdefault("stderr", subprocess.DEVNULL)
        if self.as_nobody:
            argv = ["setpriv", "--reuid=%d" % NOBODY, "--regid=%d" % NOBODY, "--clear-groups"] + argv
        proc = subprocess.Popen(argv, env=env if env is not None else self.env, **kw)
        self.procs.append(proc)
        return proc

    def run(self, *argv):
        proc = self.spawn(list(argv), stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        out, err = proc.communicate(timeout=30)
        if proc.returncode != 0:
            raise AssertionError("%s failed: %s" % (argv[0], err.decode(errors="replace").strip()))
        return out

    @staticmethod
    def _wait(condition, timeout, message):
        end = time.time() + timeout
        while time.time() < end:
            if condition():
                return
            time.sleep(0.05)
        raise AssertionError(message)

    def swaymsg(self, *args):
        return json.loads(self.run("swaymsg", "-r", *args))

    # --- the user's hands --------------------------------------------------

    def move(self, x, y):
        self.pointer.stdin.write("move %d %d\n" % (x, y))
        self.pointer.stdin.flush()
        if self.pointer.stdout.readline().strip() != "ok":
            raise AssertionError("the virtual pointer did not move")

    def click(self, x, y):
        self.move(x, y)
        for action in ("press", "release"):
            self.pointer.stdin.write(action + "\n")
            self.pointer.stdin.flush()
            self.pointer.stdout.readline()

    def key(self, name):
        self.run("wtype", "-k", name)

    # --- what the user sees ------------------------------------------------

    def screenshot(self, x, y, width, height):
        """Pixels of an output rectangle as rows of (r, g, b)."""
        data = self.run("grim", "-t", "ppm", "-g", "%d,%d %dx%d" % (x, y, width, height), "-")
        header, pos = [], 0
        while len(header) < 4:
            end = data.index(b"\n", pos)
            header += data[pos:end].split()
            pos = end + 1
        w, h = int(header[1]), int(header[2])
        px = data[pos:pos + w * h * 3]
        return [[tuple(px[(r * w + c) * 3:(r * w + c) * 3 + 3]) for c in range(w)] for r in range(h)]

    def start_native(self, *args):
        """The native GTK window; returns its Lines once it is mapped and focused."""
        proc = self.spawn([SYSTEM_PYTHON, os.path.join(HERE, "..", "native_window.py")] + list(args),
                          stdout=subprocess.PIPE, text=True)
        lines = Lines(proc)
        if not lines.wait_for("ready", 10):
            raise AssertionError("the native window did not appear")
        return lines

    def writable_copy(self, path):
        """A file the programs started here may write."""
        self._own(path)
        return path

    # --- cleanup -----------------------------------------------------------

    def close(self):
        for proc in reversed(self.procs):
            if proc.poll() is None:
                proc.terminate()
                try:
                    proc.wait(5)
                except subprocess.TimeoutExpired:
                    proc.kill()
        shutil.rmtree(self.tmp, ignore_errors=True)

    def __enter__(self):
        return self

    def __exit__(self, *exc):
        self.close()
