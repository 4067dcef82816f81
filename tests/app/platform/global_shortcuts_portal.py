#!/usr/bin/python3
"""Stands in for the desktop's GlobalShortcuts portal on a private session bus.

Owns org.freedesktop.portal.Desktop and serves, at /org/freedesktop/portal/desktop,
org.freedesktop.portal.GlobalShortcuts (version 1) as xdg-desktop-portal publishes it
(CreateSession, BindShortcuts, ListShortcuts; Activated, Deactivated, ShortcutsChanged;
the version property), with org.freedesktop.portal.Request and
org.freedesktop.portal.Session objects at the documented
.../request/SENDER/TOKEN and .../session/SENDER/TOKEN paths, and
org.freedesktop.host.portal.Registry.Register.

Every call is appended to a log file as one JSON object a line. Prints "ready"
once the name is owned, then reads commands from standard input:
    activate ID      emit Activated (and then Deactivated) for ID on every bound session
    close            close every session (Session::Closed)
Ends when standard input closes.

--mode answer   answer as a portal whose user accepts (default)
--mode decline  answer BindShortcuts with response 1 (the user cancelled)
--mode unbound  answer BindShortcuts with success but an empty list of shortcuts
--mode early    accept, but send each Response before the reply that names its
                request, as the client sees it when the reply overtakes its caller
--mode silent   accept CreateSession but never send its Response, as a portal
                stuck behind a dialog nobody answers
--mode hang     never reply to anything, not even the version property
"""
import argparse
import json
import sys
import time

import dbus
import dbus.mainloop.glib
import dbus.service
from gi.repository import GLib

BUS_NAME = "org.freedesktop.portal.Desktop"
PATH = "/org/freedesktop/portal/desktop"
SHORTCUTS = "org.freedesktop.portal.GlobalShortcuts"
REQUEST = "org.freedesktop.portal.Request"
SESSION = "org.freedesktop.portal.Session"
REGISTRY = "org.freedesktop.host.portal.Registry"
PROPERTIES = "org.freedesktop.DBus.Properties"


def plain(value):
    """dbus-python values as JSON."""
    if isinstance(value, (dbus.Dictionary, dict)):
        return {str(k): plain(v) for k, v in value.items()}
    if isinstance(value, (dbus.Array, dbus.Struct, list, tuple)):
        return [plain(v) for v in value]
    if isinstance(value, (dbus.Boolean,)):
        return bool(value)
    if isinstance(value, (dbus.Int16, dbus.Int32, dbus.Int64, dbus.UInt16, dbus.UInt32, dbus.UInt64, dbus.Byte)):
        return int(value)
    if isinstance(value, dbus.Double):
        return float(value)
    return str(value)


def sender_element(sender):
    return str(sender).lstrip(":").replace(".", "_")


class Request(dbus.service.Object):
    def __init__(self, bus, path, portal):
        super().__init__(bus, path)
        self.portal = portal
        self.path = path

    @dbus.service.method(REQUEST, in_signature="", out_signature="")
    def Close(self):
        self.portal.log("Request.Close", {"path": self.path})
        self.remove_from_connection()

    @dbus.service.signal(REQUEST, signature="ua{sv}")
    def Response(self, response, results):
        pass


class Session(dbus.service.Object):
    def __init__(self, bus, path, portal, sender):
        super().__init__(bus, path)
        self.portal = portal
        self.path = path
        self.sender = sender
        self.shortcuts = None  # bound shortcuts: list of (id, properties)
        self.open = True

    @dbus.service.method(SESSION, in_signature="", out_signature="")
    def Close(self):
        self.portal.log("Session.Close", {"path": self.path})
        self.end(signal=False)

    @dbus.service.signal(SESSION, signature="a{sv}")
    def Closed(self, details):
        pass

    @dbus.service.method(PROPERTIES, in_signature="ss", out_signature="v")
    def Get(self, interface, name):
        if interface == SESSION and name == "version":
            return dbus.UInt32(1)
        raise dbus.exceptions.DBusException("No such property", name="org.freedesktop.DBus.Error.InvalidArgs")

    def end(self, signal):
        if not self.open:
            return
        self.open = False
        if signal:
            self.Closed(dbus.Dictionary({}, signature="sv"))
        self.portal.sessions.pop(self.path, None)
        self.remove_from_connection()


class Portal(dbus.service.Object):
    def __init__(self, bus, log_path, mode):
        super().__init__(bus, PATH)
        self.bus = bus
        self.log_path = log_path
        self.mode = mode
        self.sessions = {}
        self.requests = []

    def log(self, call, details):
        with open(self.log_path, "a") as log:
            log.write(json.dumps({"call": call, **details}) + "\n")

    def new_request(self, sender, options):
        token = str(options.get("handle_token", "t%d" % (len(self.requests) + 1)))
        path = "%s/request/%s/%s" % (PATH, sender_element(sender), token)
        request = Request(self.bus, path, self)
        self.requests.append(request)
        return request

    def respond(self, request, response, results):
        def send():
            request.Response(dbus.UInt32(response), dbus.Dictionary(results, signature="sv"))
            request.remove_from_connection()
            return False

        if self.mode == "early":
            send()
        else:
            GLib.idle_add(send)

    # org.freedesktop.DBus.Properties, for the interface's version property.
    @dbus.service.method(PROPERTIES, in_signature="ss", out_signature="v",
                         async_callbacks=("reply", "error"))
    def Get(self, interface, name, reply, error):
        self.log("Properties.Get", {"interface": str(interface), "name": str(name)})
        if self.mode == "hang":
            return  # never answers
        if interface == SHORTCUTS and name == "version":
            reply(dbus.UInt32(1))
            return
        error(dbus.exceptions.DBusException("No such interface or property",
                                            name="org.freedesktop.DBus.Error.InvalidArgs"))

    @dbus.service.method(PROPERTIES, in_signature="s", out_signature="a{sv}")
    def GetAll(self, interface):
        if interface == SHORTCUTS:
            return dbus.Dictionary({"version": dbus.UInt32(1)}, signature="sv")
        return dbus.Dictionary({}, signature="sv")

    @dbus.service.method(REGISTRY, in_signature="sa{sv}", out_signature="", sender_keyword="sender")
    def Register(self, app_id, options, sender=None):
        self.log("Registry.Register", {"app_id": str(app_id), "options": plain(options)})

    @dbus.service.method(SHORTCUTS, in_signature="a{sv}", out_signature="o", sender_keyword="sender",
                         async_callbacks=("reply", "error"))
    def CreateSession(self, options, sender=None, reply=None, error=None):
        self.log("CreateSession", {"options": plain(options)})
        if self.mode == "hang":
            return
        if "session_handle_token" not in options:
            error(dbus.exceptions.DBusException("session_handle_token missing",
                                                name="org.freedesktop.portal.Error.InvalidArgument"))
            return
        request = self.new_request(sender, options)
        session_path = "%s/session/%s/%s" % (PATH, sender_element(sender), options["session_handle_token"])
        self.sessions[session_path] = Session(self.bus, session_path, self, sender)
        if self.mode == "early":
            self.respond(request, 0, {"session_handle": dbus.ObjectPath(session_path)})
        reply(dbus.ObjectPath(request.path))
        if self.mode not in ("silent", "early"):
            self.respond(request, 0, {"session_handle": dbus.ObjectPath(session_path)})

    @dbus.service.method(SHORTCUTS, in_signature="oa(sa{sv})sa{sv}", out_signature="o", sender_keyword="sender")
    def BindShortcuts(self, session_handle, shortcuts, parent_window, options, sender=None):
        self.log("BindShortcuts", {"session_handle": str(session_handle), "shortcuts": plain(shortcuts),
                                   "parent_window": str(parent_window), "options": plain(options)})
        session = self.sessions.get(str(session_handle))
        if session is None or session.sender != sender:
            raise dbus.exceptions.DBusException("Invalid session", name="org.freedesktop.portal.Error.NotAllowed")
        if session.shortcuts is not None:
            raise dbus.exceptions.DBusException("Shortcuts already bound",
                                                name="org.freedesktop.portal.Error.NotAllowed")
        request = self.new_request(sender, options)
        if self.mode == "decline":
            self.respond(request, 1, {})
            return dbus.ObjectPath(request.path)
        if self.mode == "unbound":
            self.respond(request, 0, {"shortcuts": dbus.Array([], signature="(sa{sv})")})
            return dbus.ObjectPath(request.path)
        bound = []
        for shortcut_id, properties in shortcuts:
            description = str(properties.get("description", ""))
            bound.append(dbus.Struct((shortcut_id, dbus.Dictionary(
                {"description": description, "trigger_description": "Alt+Meta+Space"}, signature="sv"))))
        session.shortcuts = bound
        self.respond(request, 0, {"shortcuts": dbus.Array(bound, signature="(sa{sv})")})
        return dbus.ObjectPath(request.path)

    @dbus.service.method(SHORTCUTS, in_signature="oa{sv}", out_signature="o", sender_keyword="sender")
    def ListShortcuts(self, session_handle, options, sender=None):
        self.log("ListShortcuts", {"session_handle": str(session_handle)})
        session = self.sessions.get(str(session_handle))
        request = self.new_request(sender, options)
        bound = session.shortcuts if session and session.shortcuts else []
        self.respond(request, 0, {"shortcuts": dbus.Array(bound, signature="(sa{sv})")})
        return dbus.ObjectPath(request.path)

    @dbus.service.signal(SHORTCUTS, signature="osta{sv}")
    def Activated(self, session_handle, shortcut_id, timestamp, options):
        pass

    @dbus.service.signal(SHORTCUTS, signature="osta{sv}")
    def Deactivated(self, session_handle, shortcut_id, timestamp, options):
        pass

    @dbus.service.signal(SHORTCUTS, signature="oa(sa{sv})")
    def ShortcutsChanged(self, session_handle, shortcuts):
        pass

    def command(self, line):
        words = line.split()
        if not words:
            return
        if words[0] == "activate":
            stamp = dbus.UInt64(int(time.monotonic() * 1000))
            for path, session in list(self.sessions.items()):
                if session.shortcuts is not None:
                    self.Activated(dbus.ObjectPath(path), words[1], stamp, dbus.Dictionary({}, signature="sv"))
                    self.Deactivated(dbus.ObjectPath(path), words[1], stamp, dbus.Dictionary({}, signature="sv"))
            self.log("emitted", {"signal": "Activated", "id": words[1]})
        elif words[0] == "close":
            for session in list(self.sessions.values()):
                session.end(signal=True)
            self.log("emitted", {"signal": "Closed"})


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("log")
    parser.add_argument("--mode", default="answer", choices=["answer", "decline", "unbound", "early", "silent", "hang"])
    args = parser.parse_args()
    dbus.mainloop.glib.DBusGMainLoop(set_as_default=True)
    bus = dbus.SessionBus()
    name = dbus.service.BusName(BUS_NAME, bus, do_not_queue=True)
    portal = Portal(bus, args.log, args.mode)
    loop = GLib.MainLoop()

    def on_input(source, condition):
        line = sys.stdin.readline()
        if not line:
            loop.quit()
            return False
        portal.command(line)
        print("done", flush=True)
        return True

    GLib.io_add_watch(sys.stdin, GLib.IO_IN | GLib.IO_HUP, on_input)
    print("ready", flush=True)
    loop.run()
    del name


if __name__ == "__main__":
    main()
