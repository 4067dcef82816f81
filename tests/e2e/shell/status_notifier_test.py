"""A StatusNotifierItem tray that starts after the program: no tray of any kind at
start, then a StatusNotifierWatcher with its host comes on the session bus. The item
registers with it at once, no "no tray" notice is shown, and the host's calls work:
Activate toggles the playfield, ContextMenu opens the options menu (at the tray when
the playfield is shut, under its options button when it is open). With an XEmbed
tray as well, the icon is shown once: by the host while there is one.

The watcher is the stand-in in ../wayland/sni_watcher.py (no panel that hosts items
runs headless on X11 here); the host's reading and calls are sni_host.py."""

import json
import os
import queue
import subprocess
import sys
import threading
import time

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(HERE, ".."))
sys.path.insert(0, HERE)
from desktop import Desktop, run_checks_then_stop, skip, worst  # noqa: E402
from shell_focus_test import RESTORING  # noqa: E402
from shell_test import CX, EXPANDED, HEIGHT, PEEK_HEIGHT, WIDTH, hover_top_centre, pick, popup_menus  # noqa: E402

SYSTEM_PYTHON = "/usr/bin/python3"  # Debian's, which has the D-Bus bindings
WATCHER = os.path.join(HERE, "..", "wayland", "sni_watcher.py")
HOST = os.path.join(HERE, "sni_host.py")
NOTICE = "^Vantrel is running$"
TRAY_WAIT = 6


class Lines:
    def __init__(self, stream):
        self.queue = queue.Queue()
        threading.Thread(target=lambda: [self.queue.put(line.decode().strip()) for line in stream], daemon=True).start()

    def next_starting(self, prefix, timeout):
        end = time.time() + timeout
        while time.time() < end:
            try:
                line = self.queue.get(timeout=max(0.01, end - time.time()))
            except queue.Empty:
                break
            if line.startswith(prefix):
                return line[len(prefix):]
        return None


def host(d, *args):
    result = subprocess.run([SYSTEM_PYTHON, HOST] + [str(a) for a in args], env=d.env, capture_output=True,
                            text=True, timeout=10)
    assert result.returncode == 0, "the host's %s failed: %s" % (args[0], result.stderr.strip()[-400:])
    return result.stdout


def late_watcher(program):
    with Desktop(program, WIDTH, HEIGHT, session_bus=True) as d:
        d.env["VANTREL_TRAY_WAIT_SECONDS"] = str(TRAY_WAIT)
        d.start_vantrel()
        item = []

        def no_notice(seconds, message):
            d.hold(lambda: not d.visible_windows(name=NOTICE), seconds, lambda _: message)

        def item_registers_when_the_watcher_comes():
            assert d.tray_window() is None, "an XEmbed tray was there before the test"
            # Three seconds without any tray, as at a slow login; nothing is said about it yet.
            no_notice(3.0, "a notice came before the tray wait was over")
            watcher = d._spawn([SYSTEM_PYTHON, WATCHER, "--announce"], stdout=subprocess.PIPE)
            lines = Lines(watcher.stdout)
            assert lines.next_starting("ready", 10) is not None, "the stand-in watcher did not start"
            started = time.time()
            registered = lines.next_starting("registered ", 1.0)
            assert registered, "no item registered with the watcher within 1 s of its start"
            print("  item %s registered %.0f ms after the watcher took its name"
                  % (registered, (time.time() - started) * 1000), flush=True)
            item.append(registered)
            # Past the tray wait, and a second more: still no notice about a missing tray.
            no_notice(TRAY_WAIT - 3 + 1.0, "a notice about a missing tray, though a tray came")
            assert "vantrel: tray not available" in d.stderr_text(), "there was a tray at the start"

        def item_is_what_a_host_draws():
            assert item, "no item registered"
            props = json.loads(host(d, "props", item[0]))
            assert props["Status"] == "Active" and props["Title"] == "Vantrel", props
            assert props["ItemIsMenu"] is False, "a left click must reach Activate: %s" % props
            sizes = {(p["width"], p["height"]) for p in props["IconPixmap"]}
            assert {(22, 22), (32, 32)} <= sizes, "icon sizes %s" % sorted(sizes)
            for p in props["IconPixmap"]:
                assert p["bytes"] == p["width"] * p["height"] * 4, p
                # The standing dinosaur covers roughly a third of its box.
                assert p["dark"] > p["width"] * p["height"] // 8, "a blank icon: %s" % p
            assert props["ToolTip"] and "Right-click" in props["ToolTip"][1], props["ToolTip"]

        def activate_toggles_the_playfield():
            assert item, "no item registered"
            host(d, "call", item[0], "Activate", WIDTH - 20, 10)
            d.wait_geometry(lambda g: g == EXPANDED, 2.0, "Activate did not open the playfield")
            host(d, "call", item[0], "Activate", WIDTH - 20, 10)
            d.wait_geometry(lambda g: g is None, 2.0, "a second Activate did not close the playfield")

        def context_menu_at_the_tray():
            assert item, "no item registered"
            host(d, "call", item[0], "ContextMenu", WIDTH - 40, 12)
            d.wait_for(lambda: popup_menus(d), 8, "ContextMenu opened no menu")
            (_, (x, y, w, h)), = popup_menus(d)
            assert x > WIDTH // 2 and y < 40 and x + w <= WIDTH, "menu at %s, not at the tray" % ((x, y, w, h),)
            assert d.panel_geometry() is None, "ContextMenu opened the playfield"
            d.key("Escape")
            d.wait_for(lambda: not popup_menus(d), 3, "Escape did not close the menu")

        def context_menu_in_the_open_playfield():
            assert item, "no item registered"
            d.move_to(CX, 400)
            d.key("alt+super+space")
            d.wait_geometry(lambda g: g == EXPANDED, 2.0, "the shortcut did not open the playfield")
            host(d, "call", item[0], "ContextMenu", WIDTH - 40, 12)
            d.wait_for(lambda: popup_menus(d), 8, "ContextMenu opened no menu")
            (_, (x, y, w, h)), = popup_menus(d)
            x0 = EXPANDED[0]
            # Under the control row's options button (x 383-399, y 146-174 of the playfield).
            assert x0 + 375 <= x <= x0 + 400 and 165 <= y <= 185, "menu at %s, not under the options button" % (
                (x, y, w, h),)
            assert d.panel_geometry() == EXPANDED, "the menu closed the playfield"
            d.key("Escape")
            d.wait_for(lambda: not popup_menus(d), 3, "Escape did not close the menu")

        def activate_while_open_gives_focus_back():
            assert item, "no item registered"
            work = d.start_xterm("work", "100x30+300+250")
            d.move_to(CX, 400)
            # The playfield the last check left open closes when the xterm takes the keyboard.
            d.wait_geometry(lambda g: g is None, 3.0, "the playfield stayed open behind the xterm")
            d.activate(work)
            host(d, "call", item[0], "Activate", WIDTH - 20, 10)
            d.wait_geometry(lambda g: g == EXPANDED, 2.0, "Activate did not open the playfield")
            d.wait_for(lambda: d.active_window() == d.panel_window(), 3, "the open playfield has no keyboard focus")
            restored = d.stderr_text().count(RESTORING)
            host(d, "call", item[0], "Activate", WIDTH - 20, 10)
            d.wait_geometry(lambda g: g is None, 2.0, "a second Activate did not close the playfield")
            d.wait_for(lambda: d.active_window() == work, 3,
                       lambda: "the keyboard did not go back to the xterm (active %s, xterm %s)%s"
                       % (d.active_window(), work, d.log_tail()))
            # openbox would give it back on its own too; the trace says Vantrel did.
            assert d.stderr_text().count(RESTORING) == restored + 1, \
                "Activate closed the playfield without handing the keyboard back%s" % d.log_tail()

        def hover_to_peek_off_while_peeking_hides_the_tab():
            # The host opens the menu while the pointer rests on the tab: no pointer travels to a tray.
            assert item, "no item registered"
            assert d.read_settings().get("hoverToPeek", "true") == "true", d.read_settings()
            hover_top_centre(d)
            d.wait_geometry(lambda g: g is not None and g[3] == PEEK_HEIGHT, 3.0, "no peek tab")
            host(d, "call", item[0], "ContextMenu", WIDTH - 40, 12)
            d.wait_for(lambda: popup_menus(d), 8, "ContextMenu opened no menu")
            assert d.panel_geometry() is not None and d.panel_geometry()[3] == PEEK_HEIGHT, \
                "the tab went away when the menu opened: %s" % (d.panel_geometry(),)
            pick(d, "Hover to Peek")
            d.wait_for(lambda: d.read_settings().get("hoverToPeek") == "false", 3,
                       "hoverToPeek not written (settings %s)" % d.read_settings())
            d.wait_geometry(lambda g: g is None, 1.0, "the tab stayed out with Hover to Peek switched off")
            assert d.pointer() == (CX, 2), "the pointer moved: %s" % (d.pointer(),)
            # The pointer still rests in the strip: the tab must not come back.
            d.hold_geometry(lambda g: g is None, 1.0, "the tab came back with Hover to Peek off")
            host(d, "call", item[0], "ContextMenu", WIDTH - 40, 12)
            d.wait_for(lambda: popup_menus(d), 8, "ContextMenu opened no menu")
            pick(d, "Hover to Peek")
            d.wait_for(lambda: d.read_settings().get("hoverToPeek") == "true", 3, "hoverToPeek not switched on")
            d.move_to(CX, 400)

        return run_checks_then_stop(d, [
            ("a StatusNotifierWatcher that comes 3 s late gets the item within 1 s, and no notice is shown",
             item_registers_when_the_watcher_comes),
            ("the item offers the dinosaur in several sizes, its title and tooltip", item_is_what_a_host_draws),
            ("Activate opens the playfield, a second one closes it", activate_toggles_the_playfield),
            ("ContextMenu with the playfield shut opens the menu at the tray", context_menu_at_the_tray),
            ("ContextMenu with the playfield open opens the menu under its options button",
             context_menu_in_the_open_playfield),
            ("Activate with the playfield open closes it and gives the keyboard back to the xterm",
             activate_while_open_gives_focus_back),
            ("Hover to Peek switched off from the menu while the tab peeks hides the tab",
             hover_to_peek_off_while_peeking_hides_the_tab),
        ])


def both_kinds_of_tray(program):
    """An XEmbed tray first, then a StatusNotifier host as well (a panel with both kinds of
    tray, or a proxy that turns XEmbed icons into items): one icon at a time, never two."""
    with Desktop(program, WIDTH, HEIGHT, session_bus=True) as d:
        d.start_tray()
        d.start_vantrel()
        watcher = []

        def the_item_takes_over_from_the_xembed_icon():
            d.wait_for(lambda: d.tray_icon() is not None, 10, "no icon embedded in the XEmbed tray")
            proc = d._spawn([SYSTEM_PYTHON, WATCHER, "--announce"], stdout=subprocess.PIPE)
            watcher.append(proc)
            lines = Lines(proc.stdout)
            assert lines.next_starting("ready", 10) is not None, "the stand-in watcher did not start"
            assert lines.next_starting("registered ", 1.0), "no item registered within 1 s"
            d.wait_for(lambda: d.tray_icon() is None, 3, "the XEmbed icon stayed beside the item")
            d.hold(lambda: d.tray_icon() is None, 1.0, "the XEmbed icon came back beside the item")

        def the_xembed_icon_comes_back_when_the_host_goes():
            assert watcher, "no watcher"
            watcher[0].terminate()
            watcher[0].wait(5)
            d.wait_for(lambda: d.tray_icon() is not None, 5, "no icon in the XEmbed tray after the host left")
            assert "vantrel: tray StatusNotifier watcher gone" in d.stderr_text(), d.log_tail()

        return run_checks_then_stop(d, [
            ("with an XEmbed tray, a StatusNotifier host that comes shows the only icon",
             the_item_takes_over_from_the_xembed_icon),
            ("when the host goes, the icon is back in the XEmbed tray", the_xembed_icon_comes_back_when_the_host_goes),
        ])


def main(program):
    if subprocess.run([SYSTEM_PYTHON, "-c", "import dbus, gi"], capture_output=True).returncode != 0:
        skip("the stand-in watcher needs %s with python3-dbus and python3-gi" % SYSTEM_PYTHON)
    status = 0
    for part in (late_watcher, both_kinds_of_tray):
        print("--- %s" % part.__name__.replace("_", " "), flush=True)
        status = worst(status, part(program))
    return status


if __name__ == "__main__":
    sys.exit(main(sys.argv[1]))
