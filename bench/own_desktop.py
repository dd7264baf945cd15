"""A display and a session bus that nobody else uses."""

import contextlib
import os
import subprocess


@contextlib.contextmanager
def own_desktop():
    """Answers the environment that leads to them; both end with the context."""
    read, write = os.pipe()
    started = []
    try:
        started.append(subprocess.Popen(
            ["Xvfb", "-displayfd", str(write), "-screen", "0", "1200x900x24", "-nolisten", "tcp"],
            pass_fds=[write], stderr=subprocess.DEVNULL))
        os.close(write)
        bus = subprocess.Popen(["dbus-daemon", "--session", "--nofork", "--print-address=1"],
                               stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
        started.append(bus)
        environment = {name: value for name, value in os.environ.items()
                       if name not in ("WAYLAND_DISPLAY", "XDG_CURRENT_DESKTOP",
                                       "XDG_SESSION_TYPE", "QT_QPA_PLATFORM",
                                       "QT_QPA_PLATFORMTHEME")}
        display = os.read(read, 16).decode().strip()
        if not display:
            raise RuntimeError("Xvfb does not start")
        yield {**environment, "DISPLAY": ":" + display,
               "DBUS_SESSION_BUS_ADDRESS": bus.stdout.readline().strip()}
    finally:
        os.close(read)
        for process in reversed(started):
            process.terminate()
            process.wait()
