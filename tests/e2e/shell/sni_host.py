"""What a StatusNotifierItem host does with an item, one step per run:
  props SERVICE          reads the item's properties as a panel does to draw it and prints
                         them as JSON (the icon as its sizes and dark-pixel counts);
  call SERVICE METHOD X Y calls Activate, SecondaryActivate or ContextMenu on it.
SERVICE is what the item registered with the watcher: a bus name, or a bus name and a path."""

import json
import sys

import dbus

ITEM = "org.kde.StatusNotifierItem"


def item(bus, service):
    name, _, path = service.partition("/")
    return bus.get_object(name, "/" + path if path else "/StatusNotifierItem", introspect=False)


def props(bus, service):
    values = item(bus, service).GetAll(ITEM, dbus_interface=dbus.PROPERTIES_IFACE, timeout=3)
    icons = []
    for width, height, data in values.get("IconPixmap", []):
        data = bytes(data)
        # ARGB in network byte order: a dark, opaque pixel is one of the figure's.
        dark = sum(1 for i in range(0, len(data), 4)
                   if data[i] > 200 and max(data[i + 1], data[i + 2], data[i + 3]) < 60)
        icons.append({"width": int(width), "height": int(height), "bytes": len(data), "dark": dark})
    tip = values.get("ToolTip")
    print(json.dumps({
        "Id": str(values.get("Id", "")), "Title": str(values.get("Title", "")),
        "Status": str(values.get("Status", "")), "Category": str(values.get("Category", "")),
        "ItemIsMenu": bool(values.get("ItemIsMenu", True)), "Menu": str(values.get("Menu", "")),
        "ToolTip": [str(tip[2]), str(tip[3])] if tip else None, "IconPixmap": icons}))


def call(bus, service, method, x, y):
    getattr(item(bus, service), method)(dbus.Int32(x), dbus.Int32(y), dbus_interface=ITEM, timeout=3)


def main():
    bus = dbus.SessionBus()
    if sys.argv[1] == "props":
        props(bus, sys.argv[2])
    else:
        call(bus, sys.argv[2], sys.argv[3], int(sys.argv[4]), int(sys.argv[5]))


if __name__ == "__main__":
    main()
