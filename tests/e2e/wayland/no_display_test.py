"""Fast checks of how vantrel starts where Qt has nothing to run on: --version and
--help need no display at all; with neither DISPLAY nor WAYLAND_DISPLAY, or with a
WAYLAND_DISPLAY nobody answers at and no DISPLAY, it says so and exits with status 1,
never with Qt's abort (status 134, a core dump).

usage: no_display_test.py path/to/vantrel"""

import os
import subprocess
import sys
import tempfile

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), ".."))
from desktop import run_checks  # noqa: E402


def main():
    if len(sys.argv) != 2:
        print(__doc__)
        return 2
    program = sys.argv[1]
    tmp = tempfile.mkdtemp(prefix="vantrel-nodisplay-")
    os.chmod(tmp, 0o700)
    env = {k: v for k, v in os.environ.items()
           if k not in ("DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM", "DBUS_SESSION_BUS_ADDRESS")}
    env.update(HOME=tmp, XDG_RUNTIME_DIR=tmp, XDG_CONFIG_HOME=tmp)
    settings = os.path.join(tmp, "Vantrel.conf")

    def run(*args, **extra):
        return subprocess.run([program, "--settings-file", settings] + list(args), env=dict(env, **extra),
                              capture_output=True, text=True, timeout=20)

    def version_without_display():
        result = run("--version")
        assert result.returncode == 0, "status %s: %s" % (result.returncode, result.stderr)
        assert result.stdout.startswith("vantrel "), result.stdout

    def help_without_display():
        result = run("--help")
        assert result.returncode == 0, "status %s: %s" % (result.returncode, result.stderr)
        assert "--toggle" in result.stdout, result.stdout

    def no_display_at_all():
        result = run()
        assert result.returncode == 1, "status %s: %s" % (result.returncode, result.stderr)
        assert "neither WAYLAND_DISPLAY nor DISPLAY is set" in result.stderr, result.stderr

    def wayland_nobody_answers():
        result = run(WAYLAND_DISPLAY="wayland-nobody")
        assert result.returncode == 1, "status %s: %s" % (result.returncode, result.stderr)
        assert "DISPLAY is not set and the Wayland compositor does not answer at " + \
            os.path.join(tmp, "wayland-nobody") in result.stderr, result.stderr
        assert "Could not load the Qt platform plugin" not in result.stderr, result.stderr

    try:
        return run_checks([
            ("--version without a display", version_without_display),
            ("--help without a display", help_without_display),
            ("no display at all: a message, status 1", no_display_at_all),
            ("a Wayland socket nobody answers at, no XWayland: a message, status 1", wayland_nobody_answers),
        ])
    finally:
        subprocess.run(["rm", "-rf", tmp])


if __name__ == "__main__":
    sys.exit(main())
