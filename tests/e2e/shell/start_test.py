"""Starting in states a user may leave behind: a settings file full of random bytes (or a
binary, or a directory) is moved aside whole, a clean one takes its place and the user is told
once; empty and read-only files stay. `--demo` with a fresh settings file plays at once, and the
welcome window waits for the next ordinary start."""

import os
import random
import shutil
import subprocess
import sys
import time

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), ".."))
from desktop import Desktop, dino_rows, run_checks, worst  # noqa: E402

WIDTH, HEIGHT = 1280, 800
CX = WIDTH // 2
EXPANDED = (CX - 240, 0, 480, 192)
DINO_COLUMNS = range(60, 110)  # where the runner stands, in panel pixels
DINO_STRIP = (EXPANDED[0] + DINO_COLUMNS.start, EXPANDED[1], len(DINO_COLUMNS), EXPANDED[3])
NOTICE = "^Vantrel started with fresh settings$"
OURS = {"bestScore", "soundEnabled", "roomy", "hoverToPeek", "showTab", "hasCompletedOnboarding",
        "notchGeometry", "notchScreen"}


def stop(d):
    rc = d.stop_vantrel()
    assert rc == 0, "vantrel exited with %s on SIGTERM%s" % (rc, d.log_tail())


def random_settings(program):
    with Desktop(program, WIDTH, HEIGHT) as d:
        junk = random.Random(15).randbytes(4096)
        with open(d.settings, "wb") as f:
            f.write(junk)
        rescued = d.settings + ".unreadable"

        def starts_and_moves_the_file_aside_whole():
            d.start_vantrel()
            assert os.path.isfile(rescued), "no %s; the directory holds %s" % (rescued, os.listdir(d.tmp))
            with open(rescued, "rb") as f:
                assert f.read() == junk, "the rescued copy differs from the original"
            assert "moved it to " + rescued in d.stderr_text(), "nothing said on standard error" + d.log_tail()

        def the_user_is_told():
            d.wait_for(lambda: d.visible_windows(name=NOTICE), 15, "no notice about the moved settings file")
            assert len(d.visible_windows(name=NOTICE)) == 1

        def the_file_written_on_exit_holds_only_our_keys():
            d.run("xdotool", "search", "--name", NOTICE, "windowclose", check=False)
            stop(d)
            with open(d.settings, "rb") as f:
                text = f.read()
            text.decode("utf-8")  # raises on garbage
            keys = set(d.read_settings())
            assert keys <= OURS, "foreign keys written back: %s" % sorted(keys - OURS)[:5]

        def told_only_once():
            d.start_vantrel()
            time.sleep(4)  # longer than the notice took the first time
            assert not d.visible_windows(name=NOTICE), "told again at the next start"
            assert not os.path.exists(rescued + "-2"), "a clean file was moved aside"
            stop(d)

        def close_notices():
            d.run("xdotool", "search", "--name", NOTICE, "windowclose", check=False)

        def other_leftovers_start_too():
            # Each in turn where the settings file belongs: the program starts (it says it is ready,
            # which start_vantrel waits for), and what was there is kept whole.
            shutil.rmtree(d.settings, ignore_errors=True)
            if os.path.exists(d.settings):
                os.remove(d.settings)
            os.makedirs(os.path.join(d.settings, "inner"))
            with open(os.path.join(d.settings, "inner", "notes.txt"), "w") as f:
                f.write("keep me")
            d.start_vantrel()
            with open(os.path.join(rescued + "-2", "inner", "notes.txt")) as f:
                assert f.read() == "keep me", "the directory's contents were not kept"
            assert os.path.isfile(d.settings), "no clean file in the directory's place"
            close_notices()
            stop(d)

            binary = shutil.which("true") or sys.executable
            shutil.copyfile(binary, d.settings)
            d.start_vantrel()
            with open(binary, "rb") as a, open(rescued + "-3", "rb") as b:
                assert a.read() == b.read(), "the rescued binary differs from the original"
            close_notices()
            stop(d)

            for kept in (b"", b"[General]\nhasCompletedOnboarding=true\nbestScore=77\n"):
                os.chmod(d.settings, 0o644)
                with open(d.settings, "wb") as f:
                    f.write(kept)
                os.chmod(d.settings, 0o444)
                d.start_vantrel()
                assert not os.path.exists(rescued + "-4"), "%r was moved aside" % kept
                if kept:
                    assert int(d.read_settings().get("bestScore", "0")) >= 77, "the best score was lost"
                else:
                    with open(d.settings, "rb") as f:
                        assert f.read() in (b"", b"[General]\nbestScore=0\n"), "the empty file changed"
                stop(d)

        return run_checks([
            ("random bytes as the settings file: started, the file moved aside byte for byte",
             starts_and_moves_the_file_aside_whole),
            ("the user is told with a notice", the_user_is_told),
            ("the file written on exit holds only Vantrel's keys", the_file_written_on_exit_holds_only_our_keys),
            ("the next start tells nothing and moves nothing", told_only_once),
            ("a directory and a binary are moved aside whole; empty and read-only files stay",
             other_leftovers_start_too),
        ])


def demo_first(program):
    with Desktop(program, WIDTH, HEIGHT, onboarded=False) as d:

        def welcome():
            return d.visible_windows(name="^Vantrel$")

        def demo_plays_without_the_welcome_window():
            d.start_vantrel("--demo")
            d.wait_geometry(lambda g: g == EXPANDED, 5.0, "--demo did not open the playfield")
            tops = []
            deadline = time.time() + 8
            while time.time() < deadline:
                rows = dino_rows(d.screenshot(*DINO_STRIP), range(DINO_STRIP[2]))
                if rows is not None:
                    tops.append(rows[0])
                    if max(tops) - min(tops) > 10:
                        break
            assert tops, "no dinosaur on the runway"
            assert max(tops) - min(tops) > 10, "the dinosaur never jumped: the autopilot does not play"
            assert not welcome(), "the welcome window shows over the demo"
            assert d.panel_geometry() == EXPANDED, "the playfield closed during the demo"

        def the_welcome_waits_for_the_next_start():
            stop(d)
            settings = d.read_settings()
            assert int(settings.get("bestScore", "0")) > 0, "the demo scored nothing: %s" % settings
            assert settings.get("hasCompletedOnboarding") != "true", "the demo finished onboarding"
            d.start_vantrel()
            d.wait_for(welcome, 10, "no welcome window at the next start")

        def a_later_demo_puts_the_welcome_aside():
            if not welcome():
                raise AssertionError("no welcome window to start from")
            result = subprocess.run([d.program, "--settings-file", d.settings, "--demo"], env=d.env,
                                    capture_output=True, text=True, timeout=20)
            assert result.returncode == 0, result.stderr
            d.wait_geometry(lambda g: g == EXPANDED, 5.0, "a second launch with --demo did not open the playfield")
            d.wait_for(lambda: not welcome(), 3, "the welcome window stayed over the demo")
            stop(d)
            assert d.read_settings().get("hasCompletedOnboarding") != "true", "the demo finished onboarding"

        return run_checks([
            ("--demo with a fresh settings file opens the playfield and the autopilot plays",
             demo_plays_without_the_welcome_window),
            ("the welcome window shows at the next ordinary start", the_welcome_waits_for_the_next_start),
            ("--demo sent to a running Vantrel showing the welcome window plays the demo",
             a_later_demo_puts_the_welcome_aside),
        ])


def main(program):
    return worst(random_settings(program), demo_first(program))


if __name__ == "__main__":
    sys.exit(main(sys.argv[1]))
