#!/usr/bin/env python3
"""Starting where something is missing, and ending."""

import os
import re
import shutil
import signal
import subprocess
import tempfile
import unittest

from desktop_case import PROGRAM, RESOURCES, DesktopCase, run, wait_until

NO_DISPLAY = "vannerly: cannot open a display; vannerly-cli does the same on a terminal\n"


class Start(DesktopCase):
    def test_no_display(self):
        for change in ({"DISPLAY": None}, {"DISPLAY": ":4711"}, {"QT_QPA_PLATFORM": "nonsense"},
                       {"DISPLAY": None, "WAYLAND_DISPLAY": "wayland-0"}):
            with self.subTest(change):
                environment = {**os.environ, **{k: v for k, v in change.items() if v}}
                for name in change:
                    if change[name] is None:
                        del environment[name]
                drop = self.make_folder()
                ended = subprocess.run([PROGRAM, drop], env=environment, text=True, check=False,
                                       stdout=subprocess.PIPE, stderr=subprocess.PIPE)
                self.assertEqual((ended.returncode, ended.stdout, ended.stderr),
                                 (1, "", NO_DISPLAY))
                self.assertEqual(self.moved(drop), 0)

    def test_no_session_bus(self):
        drop = self.make_folder()
        self.open_window(drop, environment={"DBUS_SESSION_BUS_ADDRESS": "unix:path=/nowhere"})
        wait_until(lambda: self.moved(drop) == 4, "not flattened")
        self.quit()

    def test_the_session_bus_dies_during_a_run(self):
        bus = subprocess.Popen(["dbus-daemon", "--session", "--nofork", "--print-address=1"],
                               stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
        self.processes.append(bus)
        drop = self.make_folder("drop", 200)
        self.open_window(drop, delay=10,
                         environment={"DBUS_SESSION_BUS_ADDRESS": bus.stdout.readline().strip()})
        wait_until(lambda: self.moved(drop) > 5, "the run does not start")
        bus.kill()
        wait_until(lambda: self.moved(drop) == 200, "the run does not go on")
        self.assertComplete(drop, 200)
        self.quit()

    def test_wrong_usage_and_questions(self):
        drop = self.make_folder()
        for arguments, status in ((["--frobnicate"], 2), (["--preferences", drop], 2),
                                  (["--help", drop], 0), (["--version", drop], 0)):
            ended = subprocess.run([PROGRAM, *arguments], env={**os.environ, "DISPLAY": ""},
                                   check=False, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
            self.assertEqual(ended.returncode, status)
            self.assertEqual(bool(ended.stderr), status != 0)
            if status == 0:
                with open("/dev/full", "wb") as full:
                    ended = subprocess.run([PROGRAM, *arguments], check=False, stdout=full,
                                           stderr=subprocess.PIPE)
                self.assertEqual((ended.returncode, ended.stderr), (
                    1, b"vannerly: standard output: No space left on device\n"))
        self.assertEqual(self.moved(drop), 0)

    def test_preferences_from_the_first_start_and_a_second(self):
        self.open_window("--preferences")
        self.wait_for("Preferences")
        self.click("OK", "push button")
        wait_until(lambda: not self.find("Preferences"), "the preferences stay")
        self.finish(self.start("--preferences"))
        self.wait_for("Preferences")
        self.quit()

    def with_resources(self, change):
        """The path of a copy of the program with resources of its own; `change` gets their folder
        "main"."""
        place = tempfile.mkdtemp(dir=self.place)
        resources = os.path.join(place, "share/vannerly")
        shutil.copytree(RESOURCES, resources)
        change(os.path.join(resources, "main"))
        os.mkdir(os.path.join(place, "bin"))
        return shutil.copy(PROGRAM, os.path.join(place, "bin"))

    def test_interface_file_missing(self):
        for missing, told in (("", 'there is no interface file "main"'),
                              ("MenuBar.ui", "the interface file has no main/MenuBar.ui"),
                              ("MainWindow.ui", "the interface file has no main/MainWindow.ui")):
            with self.subTest(missing):
                program = self.with_resources(
                    lambda main: run("rm", "-r", os.path.join(main, missing)))
                self.assertEqual(self.finish(self.start(program=program), 1),
                                 f"vannerly: {told}\n")

    def test_interface_file_without_a_help_menu(self):
        def strip(main):
            path = os.path.join(main, "MenuBar.ui")
            with open(path, encoding="utf-8") as file:
                lines = [line for line in file if "isHelpMenu" not in line]
            with open(path, "w", encoding="utf-8") as file:
                file.writelines(lines)

        drop = self.make_folder()
        told = "the interface file has no Help menu in MenuBar.ui"
        self.open_window(program=self.with_resources(strip))
        self.wait_for(told)
        self.finish(self.start(drop))
        wait_until(lambda: self.moved(drop) == 4, "not flattened")
        self.process.send_signal(signal.SIGTERM)
        self.assertEqual(self.finish(self.process, 1), f"vannerly: {told}\n")

    def test_controls_missing_from_the_interface_file(self):
        def strip(main):
            for name in ("MainWindow.ui", "PreferencesWindow.ui"):
                path = os.path.join(main, name)
                with open(path, encoding="utf-8") as file:
                    lines = [line for line in file if '"controlID"' not in line]
                with open(path, "w", encoding="utf-8") as file:
                    file.writelines(lines)

        drop = self.make_folder()
        self.open_window(drop, program=self.with_resources(strip))
        wait_until(lambda: self.moved(drop) == 4, "not flattened")
        self.key("ctrl+comma")
        self.wait_for("Preferences")
        self.click("Quit Vannerly .*", "check box")
        self.click("OK", "push button")
        self.assertEqual(self.quit(), "")


class OtherRuns(DesktopCase):
    ALONE = {"DBUS_SESSION_BUS_ADDRESS": "unix:path=/nowhere"}
    WAITING = "Waiting for another Vannerly.*"

    def test_a_folder_that_another_process_has_is_waited_for(self):
        for stops in (True, False):
            with self.subTest(stops=stops):
                drop = self.make_folder(f"drop{stops}", 300)
                inner = os.path.join(drop, "sub2")
                other = self.start(drop, delay=100, environment=self.ALONE)
                wait_until(lambda: self.moved(drop) > 2, "the run does not start")
                self.open_window(inner)
                self.wait_for(self.WAITING)
                told = f"{inner}: another Vannerly (process {other.pid}) is at work in {drop}"
                self.wait_for(re.escape(told))
                if stops:
                    self.key("Escape")
                    self.wait_until_idle()
                    self.assertEqual(self.moved(inner), 0)
                    other.send_signal(signal.SIGKILL)
                    self.finish(other, -signal.SIGKILL)
                else:
                    other.send_signal(signal.SIGTERM)
                    wait_until(lambda: self.moved(inner) > 10, "the turn does not come")
                    self.finish(other)
                wait_until(lambda: self.find(re.escape(told)) is None, "it is said for ever")
                self.assertEqual(self.quit(), f"vannerly: {told}\n")
                self.assertComplete(drop, 300)

    def test_the_window_tells_what_was_put_right(self):
        drop = self.make_folder("drop", 1)
        with open(os.path.join(drop, "0.txt"), "w", encoding="utf-8") as file:
            file.write("content 0")
        process = self.start(drop, delay=400)
        caught = os.path.join(drop, "sub0/deep/517A7274")
        wait_until(lambda: os.path.exists(caught), "the run does not start")
        process.send_signal(signal.SIGKILL)
        self.finish(process, -signal.SIGKILL)
        self.open_window()
        told = f"{drop}/sub0/deep/0.txt: is back in its place; a run was interrupted while moving it"
        self.wait_for(re.escape(told))
        self.assertEqual(self.quit(), f"vannerly: {told}\n")
        self.assertTrue(os.path.exists(f"{drop}/sub0/deep/0.txt"))


class End(DesktopCase):
    def test_signals_stop_before_the_next_file(self):
        for number in (signal.SIGTERM, signal.SIGHUP, signal.SIGINT):
            with self.subTest(number):
                drop = self.make_folder(number.name, 200)
                self.open_window(drop, delay=20)
                wait_until(lambda: self.moved(drop) > 5, "the run does not start")
                self.process.send_signal(number)
                self.finish(self.process)
                self.assertLess(self.moved(drop), 200)
                self.assertComplete(drop, 200)

    def test_quit_when_done(self):
        self.write_preferences("QuitWhenDone = true\n")
        drop = self.make_folder()
        self.open_window(drop)
        self.finish(self.process)
        self.assertEqual(self.moved(drop), 4)


if __name__ == "__main__":
    unittest.main()
