"""A private session bus for one desktop test, with exactly the services a test
names and none of the machine's (a desktop's bus can start whatever
/usr/share/dbus-1/services lists; this one can not)."""

import os
import signal
import subprocess
import sys
import time

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), ".."))
from desktop import skip  # noqa: E402

HERE = os.path.dirname(os.path.abspath(__file__))
SILENT_SERVICE = os.path.join(HERE, "silent_service.py")
SYSTEM_PYTHON = "/usr/bin/python3"

CONFIG = """<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>unix:dir={dir}</listen>
  <servicedir>{services}</servicedir>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
  <limit name="service_start_timeout">120000</limit>
</busconfig>
"""


def require_silent_service():
    ok = subprocess.run([SYSTEM_PYTHON, "-c", "import gi; gi.require_version('Gio', '2.0'); "
                         "from gi.repository import Gio"], capture_output=True).returncode == 0 \
        if os.path.exists(SYSTEM_PYTHON) else False
    if not ok:
        skip("the hung stand-in service needs %s with python3-gi (scripts/install-deps.sh --test)" % SYSTEM_PYTHON)


class StartedByBus:
    """A process the bus started, known by the process id it wrote to a file; stopped with the
    desktop's own processes (it has the methods Desktop uses on them)."""

    def __init__(self, pid_file):
        self.pid_file = pid_file

    def _pid(self):
        try:
            with open(self.pid_file) as f:
                return int(f.read().strip() or 0) or None
        except (OSError, ValueError):
            return None

    def poll(self):
        pid = self._pid()
        if pid is None:
            return 0
        try:
            os.kill(pid, 0)
            return None
        except OSError:
            return 0

    def terminate(self):
        pid = self._pid()
        if pid is not None:
            try:
                os.kill(pid, signal.SIGTERM)
            except OSError:
                pass

    kill = terminate

    def wait(self, timeout=None):
        deadline = time.time() + (timeout or 5)
        while self.poll() is None and time.time() < deadline:
            time.sleep(0.05)


def start_bus(d, hung=(), stalled=()):
    """Starts a session bus for desktop `d` and points d.env at it. Every name in `hung` is
    activatable: the bus starts silent_service.py for it, which owns the name and never answers.
    Every name in `stalled` is activatable too, but its program never comes up (it never takes the
    name), so the bus holds calls to it until its start timeout. Returns the file each started
    program writes its process id to, by name."""
    if subprocess.run(["which", "dbus-daemon"], capture_output=True).returncode != 0:
        skip("dbus-daemon is missing (scripts/install-deps.sh --test)")
    if hung:
        require_silent_service()
    root = os.path.join(d.tmp, "bus")
    services = os.path.join(root, "services")
    os.makedirs(services)
    started = {}
    for name in list(hung) + list(stalled):
        started[name] = os.path.join(root, name + ".pid")
        if name in hung:
            command = "%s %s %s %s" % (SYSTEM_PYTHON, SILENT_SERVICE, name, started[name])
        else:
            command = "/bin/sh -c 'echo $$ > %s; exec sleep 300'" % started[name]
        with open(os.path.join(services, name + ".service"), "w") as f:
            f.write("[D-BUS Service]\nName=%s\nExec=%s\n" % (name, command))
        d.procs.append(StartedByBus(started[name]))
    config = os.path.join(root, "session.conf")
    with open(config, "w") as f:
        f.write(CONFIG.format(dir=root, services=services))
    bus = subprocess.Popen(["dbus-daemon", "--config-file", config, "--nofork", "--print-address"], env=d.env,
                           stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True, start_new_session=True)
    d.procs.append(bus)
    address = bus.stdout.readline().strip()
    if not address:
        raise AssertionError("dbus-daemon did not start")
    d.env["DBUS_SESSION_BUS_ADDRESS"] = address
    return started


def bus_has_owner(d, name):
    out = subprocess.run(["dbus-send", "--session", "--print-reply", "--dest=org.freedesktop.DBus",
                          "/org/freedesktop/DBus", "org.freedesktop.DBus.NameHasOwner", "string:" + name],
                         env=d.env, capture_output=True, text=True, timeout=10).stdout
    return "boolean true" in out
