"""Stands in for the portal of file transfers: "KEY=PATH" operands are its transfers.

A transfer ends when its files have been handed out; the key "silent" is never answered. Every key
that is asked for is printed.
"""

import sys

from gi.repository import Gio, GLib

INTERFACE = """<node><interface name="org.freedesktop.portal.FileTransfer">
  <method name="RetrieveFiles"><arg type="s" direction="in"/><arg type="a{sv}" direction="in"/>
    <arg type="as" direction="out"/></method>
</interface></node>"""
NAME = "org.freedesktop.portal.Documents"
PATH = "/org/freedesktop/portal/documents"


def answer(connection, sender, path, interface, method, arguments, invocation):
    key = arguments.unpack()[0]
    print(key, flush=True)
    if key == "silent":
        unanswered.append(invocation)
    elif key in transfers:
        invocation.return_value(GLib.Variant("(as)", (transfers.pop(key),)))
    else:
        invocation.return_dbus_error("org.freedesktop.DBus.Error.AccessDenied", "Invalid transfer")


unanswered = []
transfers = {}
for operand in sys.argv[1:]:
    name, file = operand.split("=", 1)
    transfers.setdefault(name, []).append(file)
bus = Gio.bus_get_sync(Gio.BusType.SESSION)
bus.register_object(PATH, Gio.DBusNodeInfo.new_for_xml(INTERFACE).interfaces[0], answer)
Gio.bus_own_name_on_connection(bus, NAME, Gio.BusNameOwnerFlags.NONE,
                               lambda *_: print("ready", flush=True), None)
GLib.MainLoop().run()
