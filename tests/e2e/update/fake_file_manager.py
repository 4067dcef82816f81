#!/usr/bin/python3
"""Stands in for the desktop's file manager on a private session bus: owns
org.freedesktop.FileManager1 and appends the URIs of every ShowItems call to a
log file. Prints "ready" once the name is owned."""
import sys

import dbus
import dbus.mainloop.glib
import dbus.service
from gi.repository import GLib

INTERFACE = "org.freedesktop.FileManager1"


class FileManager(dbus.service.Object):
    def __init__(self, bus, log_path):
        super().__init__(bus, "/org/freedesktop/FileManager1")
        self.log_path = log_path

    @dbus.service.method(INTERFACE, in_signature="ass", out_signature="")
    def ShowItems(self, uris, startup_id):
        with open(self.log_path, "a") as log:
            for uri in uris:
                log.write("ShowItems " + str(uri) + "\n")

    @dbus.service.method(INTERFACE, in_signature="ass", out_signature="")
    def ShowFolders(self, uris, startup_id):
        with open(self.log_path, "a") as log:
            for uri in uris:
                log.write("ShowFolders " + str(uri) + "\n")


def main():
    dbus.mainloop.glib.DBusGMainLoop(set_as_default=True)
    bus = dbus.SessionBus()
    name = dbus.service.BusName(INTERFACE, bus, do_not_queue=True)
    manager = FileManager(bus, sys.argv[1])
    loop = GLib.MainLoop()
    # Ends when the test closes our standard input.
    GLib.io_add_watch(sys.stdin, GLib.IO_HUP | GLib.IO_IN, lambda *args: loop.quit())
    print("ready", flush=True)
    loop.run()
    del name, manager


if __name__ == "__main__":
    main()
