"""What the tests of the window share: a display with a window manager and a session bus of their
own, the real program in it, and eyes and hands: what a screen reader reads, and xdotool.

VANNERLY, VANNERLY_CLI, VANNERLY_DRAG_SOURCE and VANNERLY_OTHER_DISK are the paths of what is run,
VANNERLY_BUILD and VANNERLY_CMAKE the build folder and the cmake that made it.
"""

import atexit
import os
import re
import signal
import subprocess
import tempfile
import time
import unittest

IDLE = "Drop a folder on the application or this window to flatten it."
PROGRAM = os.path.abspath(os.environ["VANNERLY"])
RESOURCES = os.path.join(os.path.dirname(os.path.abspath(__file__)), "../../resources")
TEMPORARY = os.path.realpath(tempfile.mkdtemp(prefix="vannerly-desktop-"))


def start_session():
    """Starts the display and the bus, and makes them those of this process."""
    started = []

    def start(*command, **options):
        started.append(subprocess.Popen(command, stderr=subprocess.DEVNULL, **options))
        return started[-1]

    def end():
        for process in reversed(started):
            process.terminate()
            process.wait()
        subprocess.run(["rm", "-rf", "--", TEMPORARY], check=False)

    atexit.register(end)
    read, write = os.pipe()
    start("Xvfb", "-displayfd", str(write), "-screen", "0", "1200x900x24", "-nolisten", "tcp",
          pass_fds=[write])
    os.environ["DISPLAY"] = ":" + os.read(read, 16).decode().strip()
    # The browser and the file manager: a program that notes what it was asked to open.
    stand_in = os.path.join(TEMPORARY, "xdg-open")
    with open(stand_in, "w", encoding="utf-8") as file:
        file.write(f'#!/bin/sh\nprintf "%s\\n" "$1" >>{TEMPORARY}/opened\n')
    os.chmod(stand_in, 0o755)
    for variable in ("WAYLAND_DISPLAY", "XDG_CURRENT_DESKTOP", "QT_QPA_PLATFORM",
                     "QT_QPA_PLATFORMTHEME", "XDG_SESSION_TYPE"):
        os.environ.pop(variable, None)
    os.environ |= {"PATH": TEMPORARY + ":" + os.environ["PATH"],
                   "QT_LINUX_ACCESSIBILITY_ALWAYS_ON": "1",
                   "HOME": os.path.join(TEMPORARY, "home"),
                   "XDG_CONFIG_HOME": os.path.join(TEMPORARY, "config"),
                   "XDG_STATE_HOME": os.path.join(TEMPORARY, "state"),
                   "XDG_DATA_HOME": os.path.join(TEMPORARY, "installed/share"),
                   "ASAN_OPTIONS": "verify_asan_link_order=0"}
    bus = start("dbus-daemon", "--session", "--nofork", "--print-address=1",
                stdout=subprocess.PIPE)
    os.environ["DBUS_SESSION_BUS_ADDRESS"] = bus.stdout.readline().decode().strip()
    os.mkdir(os.environ["HOME"])
    start("openbox", stdout=subprocess.DEVNULL)
    wait_until(lambda: "_NET_SUPPORTING_WM_CHECK(WINDOW)" in
               run("xprop", "-root", "_NET_SUPPORTING_WM_CHECK"), "no window manager")


def run(*command, **options):
    return subprocess.run(command, check=False, text=True, errors="surrogateescape",
                          stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, **options).stdout


def wait_until(condition, message, seconds=60):
    end = time.monotonic() + seconds
    while not (answer := condition()):
        if time.monotonic() > end:
            raise AssertionError(message)
        time.sleep(0.02)
    return answer


start_session()

import gi  # pylint: disable=wrong-import-position

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi, GLib  # pylint: disable=wrong-import-position


class DesktopCase(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        self.place = tempfile.mkdtemp(dir=TEMPORARY)
        self.processes = []
        for path in ("opened", "config/vannerly/preferences.toml"):
            run("rm", "-f", os.path.join(TEMPORARY, path))

    def tearDown(self):
        run("xdotool", "mouseup", "1")
        for process in self.processes:
            if process.poll() is None:
                process.kill()
            process.communicate()

    # Files -------------------------------------------------------------------------------------

    def make_folder(self, name="drop", files=4):
        """A folder of `files` files, two folders down; contents tell them apart."""
        folder = os.path.join(os.fsencode(self.place), os.fsencode(name))
        for i in range(files):
            parent = folder + b"/sub%d/deep" % (i % 3)
            os.makedirs(parent, exist_ok=True)
            with open(parent + b"/%d.txt" % i, "w", encoding="utf-8") as file:
                file.write(f"content {i}")
        return os.fsdecode(folder)

    def moved(self, folder):
        """How many files lie directly in the folder."""
        return sum(entry.is_file(follow_symlinks=False) for entry in os.scandir(folder))

    def assertComplete(self, folder, files):
        """Every content is there once and every name is as it was."""
        found = []
        for parent, _, names in os.walk(folder):
            for name in names:
                path = os.path.join(parent, name)
                if not os.path.islink(path):
                    with open(path, encoding="utf-8") as file:
                        found.append((name, file.read()))
        self.assertCountEqual(found, [(f"{i}.txt", f"content {i}") for i in range(files)])

    def write_preferences(self, text):
        path = os.path.join(TEMPORARY, "config/vannerly/preferences.toml")
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, "w", encoding="utf-8") as file:
            file.write(text)

    # The program -------------------------------------------------------------------------------

    def start(self, *arguments, delay=0, deletion=0, environment=None, program=PROGRAM):
        """Starts the program; with `delay` on a disk where a rename takes so many ms longer, with
        `deletion` one where a deletion does."""
        variables = {**os.environ, **(environment or {})}
        if delay or deletion:
            variables |= {"LD_PRELOAD": os.path.abspath(os.environ["VANNERLY_OTHER_DISK"]),
                          "OTHER_DISK_DELAY_US": str(delay * 1000),
                          "OTHER_DISK_DELETE_DELAY_US": str(deletion * 1000)}
        process = subprocess.Popen([program, *arguments], env=variables, text=True,
                                   errors="surrogateescape", stdin=subprocess.DEVNULL,
                                   stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        self.processes.append(process)
        return process

    def open_window(self, *arguments, **options):
        """Starts the program and waits for its window to have the focus."""
        self.process = self.start(*arguments, **options)
        self.window = wait_until(
            lambda: run("xdotool", "search", "--all", "--onlyvisible", "--pid", str(self.process.pid),
                        "--name", ".").split() or self.assertRunning(), "no window")[-1]
        run("xdotool", "windowactivate", "--sync", self.window)
        return self.process

    def install(self):
        """Installs the program where the session looks; answers its path there."""
        prefix = os.path.dirname(os.environ["XDG_DATA_HOME"])
        subprocess.run([os.environ["VANNERLY_CMAKE"], "--install", os.environ["VANNERLY_BUILD"],
                        "--prefix", prefix], check=True, stdout=subprocess.DEVNULL)
        return os.path.join(prefix, "bin/vannerly")

    def start_portal(self, script, *arguments):
        """Starts one of the stand-ins for parts of a desktop, and waits for what it `says` first."""
        portal = subprocess.Popen(
            ["/usr/bin/python3", os.path.join(os.path.dirname(__file__), script), *arguments],
            stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        self.processes.append(portal)
        portal.says = portal.stdout.readline().strip()
        return portal

    def assertRunning(self):
        self.assertIsNone(self.process.poll(), "the program has ended")

    def finish(self, process, status=0):
        _, errors = process.communicate(timeout=60)
        self.assertEqual(process.returncode, status, errors)
        return errors

    def quit(self):
        self.process.send_signal(signal.SIGTERM)
        return self.finish(self.process)

    def key(self, *keys):
        run("xdotool", "key", "--clearmodifiers", *keys)

    def pointer(self, x, y, *then):
        run("xdotool", "mousemove", str(x), str(y), *then)

    # What a screen reader reads ----------------------------------------------------------------

    def things(self):
        """All that is accessible in the program and to be seen: (role, name, object). Of a table
        the table alone: it can have any number of cells."""
        while GLib.MainContext.default().iteration(False):
            pass
        found = []

        def visit(thing):
            try:
                thing.clear_cache()
                if thing.get_state_set().contains(Atspi.StateType.SHOWING):
                    found.append((thing.get_role_name(), thing.get_name(), thing))
                if thing.get_role_name() == "table":
                    return
                for i in range(thing.get_child_count()):
                    if (child := thing.get_child_at_index(i)) is not None:
                        visit(child)
            except GLib.Error:
                pass  # Gone while it was looked at.

        for application in self.applications():
            for i in range(application.get_child_count()):
                if (window := application.get_child_at_index(i)) is not None:
                    visit(window)
        return found

    def applications(self):
        """The program as assistive technologies have it, if they have it yet."""
        desktop = Atspi.get_desktop(0)
        all_there = (desktop.get_child_at_index(i) for i in range(desktop.get_child_count()))
        return [application for application in all_there
                if application is not None and application.get_process_id() == self.process.pid]

    def find(self, name, role=None):
        """The thing to be seen of that name (a regular expression)."""
        for its_role, its_name, thing in self.things():
            if re.fullmatch(name, its_name, re.DOTALL) and role in (None, its_role):
                return thing
        return None

    def wait_for(self, name, role=None, seconds=60):
        return wait_until(lambda: self.find(name, role) or self.assertRunning(),
                          f"{name!r} is not to be seen", seconds)

    def center(self, thing):
        """The middle of a thing once it has stopped moving: a window manager places a new window
        a moment after it is shown."""
        def middle():
            place = thing.get_extents(Atspi.CoordType.SCREEN)
            return place.x + place.width // 2, place.y + place.height // 2

        before = None
        while (now := middle()) != before:
            before = now
            time.sleep(0.4)
        return now

    def click(self, name, role=None):
        self.pointer(*self.center(self.wait_for(name, role)), "click", "1")

    def wait_until_idle(self):
        self.wait_for("Choose a folder to flatten")
        self.wait_for(re.escape(IDLE))
