"""Private headless Wayland compositors for end-to-end tests, each with XWayland, a
session bus, a pointer driven by wl-input (built with the tests) and a native GTK
window to stand for the user's work:
  Sway  sway 1.7 on wlroots' headless backend; keys from wtype, screenshots from
        grim, swaybar as the tray (a StatusNotifierItem host);
  KWin  kwin_wayland --virtual; pointer and keys through KWin's fake input,
        screenshots through its ScreenShot2 D-Bus interface.
sway refuses to run as root, so as root everything here runs as the unprivileged
user `nobody`. Everything started here is stopped again."""

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
SYSTEM_PYTHON = "/usr/bin/python3"  # Debian's, which has the GTK and D-Bus bindings
HERE = os.path.dirname(os.path.abspath(__file__))

# Linux input event codes of the keys the tests press (KWin's fake input takes codes).
KEY_CODES = {"Escape": 1, "b": 48, "space": 57, "q": 16, "Left": 105, "Up": 103, "Down": 108}


def skip(message):
    print("SKIPPED: " + message, flush=True)
    raise SystemExit(SKIP)


def require(tools, input_tool):
    missing = [t for t in tools + ["Xwayland", "dbus-daemon", "dbus-send"] if shutil.which(t) is None]
    if not os.access(input_tool, os.X_OK):
        missing.append(input_tool)
    if subprocess.run([SYSTEM_PYTHON, "-c", "import dbus, gi; gi.require_version('Gtk', '3.0'); "
                       "from gi.repository import Gtk"], capture_output=True).returncode != 0:
        missing.append("python3-dbus, python3-gi with gir1.2-gtk-3.0")
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
            # The native window stamps its lines with the time; the checks here match the event.
            stamp, _, rest = line.partition(" ")
            if rest and stamp.replace(".", "", 1).isdigit():
                line = rest
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


def parse_ppm(data):
    header, pos = [], 0
    while len(header) < 4:
        end = data.index(b"\n", pos)
        header += data[pos:end].split()
        pos = end + 1
    w, h = int(header[1]), int(header[2])
    px = data[pos:pos + w * h * 3]
    return [[tuple(px[(r * w + c) * 3:(r * w + c) * 3 + 3]) for c in range(w)] for r in range(h)]


class Compositor:
    """What every compositor here shares; subclasses start the compositor itself."""

    name = "compositor"
    tools = []
    # Whether a click on another window takes the keyboard from a layer surface that holds it.
    click_takes_keyboard = True

    def __init__(self, input_tool, width=1440, height=900):
        require(self.tools, input_tool)
        self.width, self.height = width, height
        self.procs = []
        self.tmp = tempfile.mkdtemp(prefix="vantrel-%s-" % self.name)
        os.chmod(self.tmp, 0o700)
        self.as_nobody = os.getuid() == 0
        self._own(self.tmp)
        try:
            self.base_env = {"HOME": self.tmp, "XDG_RUNTIME_DIR": self.tmp, "PATH": "/usr/bin:/bin",
                             "LANG": "C.UTF-8"}
            # The sanitizer build's settings reach the programs under test, and its leak
            # check skips what Qt's own plugins keep until exit (lsan.supp says what).
            for name in ("ASAN_OPTIONS", "UBSAN_OPTIONS"):
                if name in os.environ:
                    self.base_env[name] = os.environ[name]
            self.base_env["LSAN_OPTIONS"] = ":".join(
                [os.environ.get("LSAN_OPTIONS", ""), "suppressions=" + os.path.join(HERE, "lsan.supp"),
                 "fast_unwind_on_malloc=0"]).strip(":")
            bus = self.spawn(["dbus-daemon", "--session", "--nofork", "--print-address=1"], env=self.base_env,
                             stdout=subprocess.PIPE, text=True)
            self.base_env["DBUS_SESSION_BUS_ADDRESS"] = bus.stdout.readline().strip()
            self.env = dict(self.base_env)
            self.start()
            self.input = self.spawn([input_tool, str(width), str(height)], stdin=subprocess.PIPE,
                                    stdout=subprocess.PIPE, text=True)
            if self.input.stdout.readline().strip() != "ready":
                raise AssertionError("the virtual pointer did not start")
            self.after_input()
        except BaseException:
            self.close()
            raise

    def start(self):
        raise NotImplementedError

    def after_input(self):
        pass

    # --- processes ---------------------------------------------------------

    def path(self, name):
        return os.path.join(self.tmp, name)

    def _own(self, path):
        if self.as_nobody:
            os.chown(path, NOBODY, NOBODY)

    def socket(self, prefix):
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
    def wait(condition, timeout, message):
        end = time.time() + timeout
        while time.time() < end:
            if condition():
                return
            time.sleep(0.05)
        raise AssertionError(message)

    def name_on_bus(self, name):
        try:
            out = self.run("dbus-send", "--session", "--print-reply", "--dest=org.freedesktop.DBus", "/",
                           "org.freedesktop.DBus.NameHasOwner", "string:" + name)
        except AssertionError:
            return False
        return b"true" in out

    # --- the user's hands --------------------------------------------------

    def send(self, command):
        self.input.stdin.write(command + "\n")
        self.input.stdin.flush()
        if self.input.stdout.readline().strip() != "ok":
            raise AssertionError("the virtual input device refused %r" % command)

    def move(self, x, y):
        self.send("move %d %d" % (x, y))

    def click(self, x, y):
        self.move(x, y)
        self.send("press")
        self.send("release")

    def key(self, name):
        self.send("key %d" % KEY_CODES[name])

    # --- what the user sees ------------------------------------------------

    def screenshot(self, x, y, width, height):
        """Pixels of an output rectangle as rows of (r, g, b)."""
        raise NotImplementedError

    def start_native(self, *args):
        """The native GTK window; returns its Lines once it is mapped and focused."""
        proc = self.spawn([SYSTEM_PYTHON, os.path.join(HERE, "native_window.py")] + list(args),
                          stdout=subprocess.PIPE, text=True)
        lines = Lines(proc)
        if not lines.wait_for("ready", 10):
            raise AssertionError("the native window did not appear")
        return lines

    def writable(self, path):
        """Lets the programs started here write `path`."""
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
        self._remove_stale_display()
        shutil.rmtree(self.tmp, ignore_errors=True)

    def _remove_stale_display(self):
        """XWayland killed with its compositor leaves its lock and socket behind."""
        display = getattr(self, "env", {}).get("DISPLAY", "")
        if not display.startswith(":") or not display[1:].isdigit():
            return
        lock = "/tmp/.X%s-lock" % display[1:]
        try:
            with open(lock) as f:
                pid = int(f.read().strip())
            os.kill(pid, 0)
            return  # still running: not ours to remove
        except ProcessLookupError:
            pass
        except (OSError, ValueError):
            return
        for path in (lock, "/tmp/.X11-unix/X%s" % display[1:]):
            try:
                os.unlink(path)
            except OSError:
                pass

    def __enter__(self):
        return self

    def __exit__(self, *exc):
        self.close()


class Sway(Compositor):
    name = "sway"
    tools = ["sway", "swaymsg", "swaybar", "grim", "wtype"]
    # Whether swaybar's tray is on the session bus before the program starts.
    tray_at_start = True

    def bar_config(self):
        """swaybar is the tray: a StatusNotifierItem host on the session bus. At the bottom,
        so the top edge belongs to the panel alone."""
        return "bar {\n  position bottom\n  tray_output *\n}\n"

    def start(self):
        config = self.path("config")
        with open(config, "w") as f:
            f.write("output HEADLESS-1 resolution %dx%d position 0 0\n" % (self.width, self.height))
            f.write("xwayland enable\ndefault_border none\nfocus_follows_mouse no\n")
            f.write(self.bar_config())
            f.write("exec echo $DISPLAY > %s/display\n" % self.tmp)
        self._own(config)
        env = dict(self.base_env, WLR_BACKENDS="headless", WLR_LIBINPUT_NO_DEVICES="1", WLR_RENDERER="pixman")
        self.spawn(["sway", "-c", config], env=env, stdout=open(self.path("sway.log"), "w"),
                   stderr=subprocess.STDOUT)
        self.wait(lambda: self.socket("wayland-") and self.socket("sway-ipc."), 10, "sway did not start")
        self.env = dict(self.base_env, WAYLAND_DISPLAY=self.socket("wayland-"),
                        SWAYSOCK=self.path(self.socket("sway-ipc.")))
        self.wait(lambda: os.path.exists(self.path("display")) and open(self.path("display")).read().strip(),
                  10, "sway did not report its XWayland display")
        self.env["DISPLAY"] = open(self.path("display")).read().strip()
        if self.tray_at_start:
            self.wait(lambda: self.name_on_bus("org.kde.StatusNotifierWatcher"), 10,
                      "swaybar's tray did not appear on the session bus")

    def after_input(self):
        # A keyboard that stays: the seat offers clients a keyboard only while one exists.
        self.spawn(["wtype", "-s", "3600000", "-k", "F24"])
        time.sleep(0.3)

    def key(self, name):
        self.run("wtype", "-k", name)

    def swaymsg(self, *args):
        return json.loads(self.run("swaymsg", "-r", *args))

    def switch_workspace(self, number):
        self.swaymsg("workspace", str(number))

    def windows(self):
        return str(self.swaymsg("-t", "get_tree"))

    def screenshot(self, x, y, width, height):
        return parse_ppm(self.run("grim", "-t", "ppm", "-g", "%d,%d %dx%d" % (x, y, width, height), "-"))


SCREENSHOT_HELPER = r'''
import dbus, os, sys
x, y, w, h = (int(v) for v in sys.argv[1:5])
shot = dbus.SessionBus().get_object("org.kde.KWin", "/org/kde/KWin/ScreenShot2")
r, wr = os.pipe()
info = shot.CaptureArea(dbus.Int32(x), dbus.Int32(y), dbus.UInt32(w), dbus.UInt32(h),
                        {"native-resolution": True}, dbus.types.UnixFd(wr),
                        dbus_interface="org.kde.KWin.ScreenShot2")
os.close(wr)
data = b""
while True:
    chunk = os.read(r, 1 << 20)
    if not chunk:
        break
    data += chunk
sys.stdout.buffer.write(b"%d %d %d %d\n" % (info["width"], info["height"], info["stride"], info["format"]) + data)
'''


class KWin(Compositor):
    name = "kwin"
    tools = ["kwin_wayland"]

    def start(self):
        # Debian's kwin_wayland carries a file capability that some sandboxes refuse to
        # execute; a copy without it runs, as long as it keeps its name.
        binary = self.path("kwin_wayland")
        shutil.copy(shutil.which("kwin_wayland"), binary)
        self._own(binary)
        # KWin lets a program take screenshots if a desktop entry for its executable says so.
        # Debian has an entry of its own for the python binary, and KWin reads whichever it
        # finds first, so the screenshots are taken by a copy of it under another name.
        self.screenshot_python = self.path("vantrel-test-screenshots")
        shutil.copy(os.path.realpath(SYSTEM_PYTHON), self.screenshot_python)
        self._own(self.screenshot_python)
        apps = self.path("share/applications")
        os.makedirs(apps)
        with open(os.path.join(apps, "vantrel-test-screenshots.desktop"), "w") as f:
            f.write("[Desktop Entry]\nType=Application\nName=Vantrel test screenshots\n"
                    "Exec=%s\nX-KDE-DBUS-Restricted-Interfaces=org.kde.KWin.ScreenShot2\n"
                    % self.screenshot_python)
        # Two virtual desktops, so that switching can be tried.
        os.makedirs(self.path(".config"))
        with open(self.path(".config/kwinrc"), "w") as f:
            f.write("[Desktops]\nNumber=2\nRows=1\n")
        for d in (self.path("share"), apps, self.path(".config"), self.path(".config/kwinrc")):
            self._own(d)
        env = dict(self.base_env, QT_QPA_PLATFORM="offscreen", KWIN_WAYLAND_NO_PERMISSION_CHECKS="1",
                   XDG_DATA_DIRS=self.path("share") + ":/usr/share")

        self.kwin = self.spawn([binary, "--virtual", "--xwayland", "--no-lockscreen", "--width", str(self.width),
                                "--height", str(self.height), "--socket", "wayland-kwin"], env=env,
                               stdout=open(self.path("kwin.log"), "w"), stderr=subprocess.STDOUT)
        self.wait(lambda: self.socket("wayland-kwin"), 15, "kwin_wayland did not start (see its log)")
        self.env = dict(self.base_env, WAYLAND_DISPLAY="wayland-kwin")
        self.wait(self._xwayland_display, 15, "kwin_wayland did not start XWayland")
        self.env["DISPLAY"] = self._xwayland_display()
        with open(self.path("screenshot.py"), "w") as f:
            f.write(SCREENSHOT_HELPER)

        # KWin reads the desktop entries a moment after it starts: until then it refuses.
        end = time.time() + 15
        while True:
            try:
                self.screenshot(0, 0, 1, 1)
                break
            except AssertionError as error:
                if time.time() > end:
                    raise AssertionError("KWin did not allow screenshots: " + str(error).strip().splitlines()[-1])
                time.sleep(0.2)
        # Nothing hosts tray icons in a bare KWin session; a stand-in watcher takes the icon,
        # so the program does not put up its "no tray" window in the middle of the checks.
        watcher = self.spawn([SYSTEM_PYTHON, os.path.join(HERE, "sni_watcher.py")], stdout=subprocess.PIPE,
                             text=True)
        if watcher.stdout.readline().strip() != "ready":
            raise AssertionError("the stand-in tray watcher did not start")

    def _xwayland_display(self):
        # setpriv executes the compositor in its own process, so XWayland is its child.
        out = subprocess.run(["pgrep", "-a", "-P", str(self.kwin.pid), "Xwayland"], capture_output=True,
                             text=True).stdout
        for token in out.split():
            if token.startswith(":") and token[1:].isdigit():
                return token
        return None

    def switch_workspace(self, number):
        self.run("dbus-send", "--session", "--dest=org.kde.KWin", "/KWin", "org.kde.KWin.setCurrentDesktop",
                 "int32:%d" % number)

    def windows(self):
        return ""

    def screenshot(self, x, y, width, height):
        data = self.run(self.screenshot_python, self.path("screenshot.py"), str(x), str(y), str(width), str(height))
        header, raw = data.split(b"\n", 1)
        w, h, stride, fmt = (int(v) for v in header.split())
        if fmt not in (4, 5, 6):  # QImage's RGB32, ARGB32, ARGB32_Premultiplied: B, G, R, A in memory
            raise AssertionError("KWin sent a screenshot in an unknown format %d" % fmt)
        return [[(raw[r * stride + c * 4 + 2], raw[r * stride + c * 4 + 1], raw[r * stride + c * 4])
                 for c in range(w)] for r in range(h)]
