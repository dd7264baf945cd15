"""Stands in for the desktop's settings portal: prefers dark, then whatever number it reads."""

import sys

from gi.repository import Gio, GLib

INTERFACE = """<node><interface name="org.freedesktop.portal.Settings">
  <method name="Read"><arg type="s" direction="in"/><arg type="s" direction="in"/>
    <arg type="v" direction="out"/></method>
  <signal name="SettingChanged"><arg type="s"/><arg type="s"/><arg type="v"/></signal>
</interface></node>"""
NAME = "org.freedesktop.portal.Desktop"
PATH = "/org/freedesktop/portal/desktop"


def answer(connection, sender, path, interface, method, arguments, invocation):
    scheme = GLib.Variant("v", GLib.Variant("u", 1))
    invocation.return_value(GLib.Variant("(v)", (scheme,)))


def change(_source, _condition):
    line = sys.stdin.readline()
    if not line:
        loop.quit()
        return False
    values = ("org.freedesktop.appearance", "color-scheme", GLib.Variant("u", int(line)))
    bus.emit_signal(None, PATH, "org.freedesktop.portal.Settings", "SettingChanged",
                    GLib.Variant("(ssv)", values))
    return True


bus = Gio.bus_get_sync(Gio.BusType.SESSION)
bus.register_object(PATH, Gio.DBusNodeInfo.new_for_xml(INTERFACE).interfaces[0], answer)
Gio.bus_own_name_on_connection(bus, NAME, Gio.BusNameOwnerFlags.NONE,
                               lambda *_: print("ready", flush=True), None)
GLib.io_add_watch(sys.stdin, GLib.IO_IN | GLib.IO_HUP, change)
loop = GLib.MainLoop()
loop.run()
