#!/usr/bin/python3
"""A D-Bus service that has hung: it takes the bus name given on the command line
and then never reads its connection again, so every call to it stays unanswered
until the caller's own timeout. Started by the bus (activation) or by hand.
Writes its process id to the file named by the second argument, if any, once the
name is its own."""
import os
import sys
import time

import gi

gi.require_version("Gio", "2.0")
from gi.repository import Gio, GLib  # noqa: E402


def main():
    name = sys.argv[1]
    address = os.environ.get("DBUS_STARTER_ADDRESS") or os.environ["DBUS_SESSION_BUS_ADDRESS"]
    bus = Gio.DBusConnection.new_for_address_sync(
        address, Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION,
        None, None)
    # GDBus would answer a call to an unknown object with an error at once, from its worker
    # thread; a hung service answers nothing, so every incoming call is dropped unread.
    bus.add_filter(lambda connection, message, incoming:
                   None if incoming and message.get_message_type() == Gio.DBusMessageType.METHOD_CALL
                   else message)
    # 4 = DBUS_NAME_FLAG_DO_NOT_QUEUE; the answer 1 means the name is ours.
    reply = bus.call_sync("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "RequestName",
                          GLib.Variant("(su)", (name, 4)), GLib.VariantType("(u)"), Gio.DBusCallFlags.NONE, 5000,
                          None)
    if reply.unpack()[0] != 1:
        sys.exit("could not own " + name)
    if len(sys.argv) > 2:
        with open(sys.argv[2], "w") as f:
            f.write(str(os.getpid()))
    # The name stays owned, the calls stay unanswered.
    while True:
        time.sleep(3600)


if __name__ == "__main__":
    main()
