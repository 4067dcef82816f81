#!/usr/bin/python3
"""Stands in for the desktop's notification daemon on a private session bus:
owns org.freedesktop.Notifications and implements its published interface
(GetCapabilities, Notify, CloseNotification, GetServerInformation and the
NotificationClosed signal), appending every Notify and CloseNotification to a
log file. The second argument delays each Notify answer by that many
milliseconds, as a daemon that is busy starting up would. Prints "ready" once
the name is owned; ends when its standard input closes."""
import sys

import gi

gi.require_version("Gio", "2.0")
from gi.repository import Gio, GLib  # noqa: E402

NAME = "org.freedesktop.Notifications"
PATH = "/org/freedesktop/Notifications"
INTERFACE = """
<node>
  <interface name="org.freedesktop.Notifications">
    <method name="GetCapabilities"><arg direction="out" type="as"/></method>
    <method name="Notify">
      <arg direction="in" type="s" name="app_name"/>
      <arg direction="in" type="u" name="replaces_id"/>
      <arg direction="in" type="s" name="app_icon"/>
      <arg direction="in" type="s" name="summary"/>
      <arg direction="in" type="s" name="body"/>
      <arg direction="in" type="as" name="actions"/>
      <arg direction="in" type="a{sv}" name="hints"/>
      <arg direction="in" type="i" name="expire_timeout"/>
      <arg direction="out" type="u" name="id"/>
    </method>
    <method name="CloseNotification"><arg direction="in" type="u" name="id"/></method>
    <method name="GetServerInformation">
      <arg direction="out" type="s" name="name"/>
      <arg direction="out" type="s" name="vendor"/>
      <arg direction="out" type="s" name="version"/>
      <arg direction="out" type="s" name="spec_version"/>
    </method>
    <signal name="NotificationClosed"><arg type="u" name="id"/><arg type="u" name="reason"/></signal>
    <signal name="ActionInvoked"><arg type="u" name="id"/><arg type="s" name="action_key"/></signal>
  </interface>
</node>
"""


def main():
    log_path, delay_ms = sys.argv[1], int(sys.argv[2]) if len(sys.argv) > 2 else 0
    loop = GLib.MainLoop()
    state = {"next": 1, "open": set()}

    def log(line):
        with open(log_path, "a") as f:
            f.write(line + "\n")

    def on_call(connection, sender, path, interface, method, parameters, invocation):
        if method == "GetCapabilities":
            invocation.return_value(GLib.Variant("(as)", (["body"],)))
        elif method == "GetServerInformation":
            invocation.return_value(GLib.Variant("(ssss)", ("stand-in", "vantrel tests", "1", "1.2")))
        elif method == "Notify":
            app, replaces, _icon, summary, body = parameters.unpack()[:5]
            number = replaces or state["next"]
            state["next"] += 0 if replaces else 1
            state["open"].add(number)
            log("Notify %s %d %s|%s" % (app, number, summary, body))

            def answer():
                invocation.return_value(GLib.Variant("(u)", (number,)))
                return False

            GLib.timeout_add(delay_ms, answer)
        elif method == "CloseNotification":
            (number,) = parameters.unpack()
            log("CloseNotification %d" % number)
            if number in state["open"]:
                state["open"].discard(number)
                connection.emit_signal(None, PATH, NAME, "NotificationClosed", GLib.Variant("(uu)", (number, 3)))
            invocation.return_value(None)

    def on_bus(connection, _name):
        node = Gio.DBusNodeInfo.new_for_xml(INTERFACE)
        connection.register_object(PATH, node.interfaces[0], on_call, None, None)

    def on_name(_connection, _name):
        print("ready", flush=True)

    Gio.bus_own_name(Gio.BusType.SESSION, NAME, Gio.BusNameOwnerFlags.DO_NOT_QUEUE, on_bus, on_name,
                     lambda *_: loop.quit())
    GLib.io_add_watch(GLib.IOChannel.unix_new(sys.stdin.fileno()), GLib.PRIORITY_DEFAULT,
                      GLib.IOCondition.HUP | GLib.IOCondition.IN, lambda *_: loop.quit())
    loop.run()


if __name__ == "__main__":
    main()
