"""Stands in for a desktop's shell: its notifications, and the dock that shows a program's progress.

The line "told" is answered with all that it was told until then, as one line of JSON; any other line
is the action that a user chooses of the latest notification.
"""

import json
import sys
import time

from gi.repository import Gio, GLib

INTERFACE = """<node><interface name="org.freedesktop.Notifications">
  <method name="Notify"><arg type="s" direction="in"/><arg type="u" direction="in"/>
    <arg type="s" direction="in"/><arg type="s" direction="in"/><arg type="s" direction="in"/>
    <arg type="as" direction="in"/><arg type="a{sv}" direction="in"/><arg type="i" direction="in"/>
    <arg type="u" direction="out"/></method>
  <signal name="ActionInvoked"><arg type="u"/><arg type="s"/></signal>
</interface></node>"""
NAME = "org.freedesktop.Notifications"
PATH = "/org/freedesktop/Notifications"


def notify(connection, sender, path, interface, method, arguments, invocation):
    _, _, _, title, text, actions, hints, _ = arguments.unpack()
    told["notifications"].append([title, text, actions[0], hints["desktop-entry"]])
    invocation.return_value(GLib.Variant("(u)", (len(told["notifications"]),)))


def update(connection, sender, path, interface, signal, arguments):
    program, properties = arguments.unpack()
    told["progress"].append([time.monotonic(), program, properties["progress"],
                             properties["progress-visible"]])


def answer(_source, _condition):
    line = sys.stdin.readline().strip()
    if line == "told":
        print(json.dumps(told), flush=True)
    elif line:
        bus.emit_signal(None, PATH, NAME, "ActionInvoked",
                        GLib.Variant("(us)", (len(told["notifications"]), line)))
    else:
        loop.quit()
    return bool(line)


told = {"notifications": [], "progress": []}
bus = Gio.bus_get_sync(Gio.BusType.SESSION)
bus.register_object(PATH, Gio.DBusNodeInfo.new_for_xml(INTERFACE).interfaces[0], notify)
bus.signal_subscribe(None, "com.canonical.Unity.LauncherEntry", "Update", None, None,
                     Gio.DBusSignalFlags.NONE, update)
Gio.bus_own_name_on_connection(bus, NAME, Gio.BusNameOwnerFlags.NONE,
                               lambda *_: print("ready", flush=True), None)
GLib.io_add_watch(sys.stdin, GLib.IO_IN | GLib.IO_HUP, answer)
loop = GLib.MainLoop()
loop.run()
