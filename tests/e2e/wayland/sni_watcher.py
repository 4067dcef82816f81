"""A stand-in tray for sessions that have none: org.kde.StatusNotifierWatcher on
the session bus, with a host registered, as a panel's tray would offer it. It
accepts items and lists them; it draws nothing. Prints "ready" once it owns the name;
with --announce, also "registered SERVICE" for each item a program registers, and
"gone SERVICE" when that program leaves the bus (as a watcher drops its items)."""

import sys

import dbus
import dbus.service
from dbus.mainloop.glib import DBusGMainLoop
from gi.repository import GLib

WATCHER = "org.kde.StatusNotifierWatcher"
INTROSPECTION = """<node>
  <interface name="org.kde.StatusNotifierWatcher">
    <method name="RegisterStatusNotifierItem"><arg name="service" type="s" direction="in"/></method>
    <method name="RegisterStatusNotifierHost"><arg name="service" type="s" direction="in"/></method>
    <property name="RegisteredStatusNotifierItems" type="as" access="read"/>
    <property name="IsStatusNotifierHostRegistered" type="b" access="read"/>
    <property name="ProtocolVersion" type="i" access="read"/>
    <signal name="StatusNotifierItemRegistered"><arg type="s"/></signal>
    <signal name="StatusNotifierItemUnregistered"><arg type="s"/></signal>
    <signal name="StatusNotifierHostRegistered"/>
  </interface>
  <interface name="org.freedesktop.DBus.Properties">
    <method name="Get"><arg type="s" direction="in"/><arg type="s" direction="in"/><arg type="v" direction="out"/></method>
    <method name="GetAll"><arg type="s" direction="in"/><arg type="a{sv}" direction="out"/></method>
  </interface>
  <interface name="org.freedesktop.DBus.Introspectable">
    <method name="Introspect"><arg type="s" direction="out"/></method>
  </interface>
</node>"""


class Watcher(dbus.service.Object):
    def __init__(self, bus, announce=False):
        super().__init__(bus, "/StatusNotifierWatcher")
        self.bus = bus
        self.items = []
        self.announce = announce
        bus.add_signal_receiver(self._owner_changed, signal_name="NameOwnerChanged",
                                dbus_interface="org.freedesktop.DBus", path="/org/freedesktop/DBus")

    def _owner_changed(self, name, old, new):
        gone = [item for item in self.items if not new and item.split("/")[0] == name]
        for item in gone:
            self.items.remove(item)
            self.StatusNotifierItemUnregistered(item)
            if self.announce:
                print("gone " + item, flush=True)

    @dbus.service.method(WATCHER, in_signature="s", sender_keyword="sender")
    def RegisterStatusNotifierItem(self, service, sender=None):
        # Qt passes its bus name; an object path alone means "on the sender's name".
        item = service if not service.startswith("/") else sender + service
        if item not in self.items:
            self.items.append(item)
            self.StatusNotifierItemRegistered(item)
        if self.announce:
            print("registered " + item, flush=True)

    @dbus.service.method(WATCHER, in_signature="s")
    def RegisterStatusNotifierHost(self, service):
        pass

    @dbus.service.signal(WATCHER, signature="s")
    def StatusNotifierItemRegistered(self, service):
        pass

    @dbus.service.signal(WATCHER, signature="s")
    def StatusNotifierItemUnregistered(self, service):
        pass

    @dbus.service.signal(WATCHER, signature="")
    def StatusNotifierHostRegistered(self):
        pass

    # Qt reads the properties through an interface built from the introspection data,
    # so they must be declared there.
    @dbus.service.method(dbus.INTROSPECTABLE_IFACE, in_signature="", out_signature="s")
    def Introspect(self):
        return INTROSPECTION

    @dbus.service.method(dbus.PROPERTIES_IFACE, in_signature="ss", out_signature="v")
    def Get(self, interface, name):
        return self.GetAll(interface)[name]

    @dbus.service.method(dbus.PROPERTIES_IFACE, in_signature="s", out_signature="a{sv}")
    def GetAll(self, interface):
        return {"RegisteredStatusNotifierItems": dbus.Array(self.items, signature="s"),
                "IsStatusNotifierHostRegistered": True, "ProtocolVersion": dbus.Int32(0)}


def main():
    DBusGMainLoop(set_as_default=True)
    bus = dbus.SessionBus()
    watcher = Watcher(bus, announce="--announce" in sys.argv[1:])
    name = dbus.service.BusName(WATCHER, bus)
    # Its host is there from the start: said once the name is taken, as a watcher
    # says it when a panel's host registers.
    watcher.StatusNotifierHostRegistered()
    print("ready", flush=True)
    GLib.MainLoop().run()
    del watcher, name


if __name__ == "__main__":
    main()
