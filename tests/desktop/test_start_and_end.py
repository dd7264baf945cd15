#!/usr/bin/env python3
"""Starting where something is missing, and ending."""

import os
import re
import shutil
import signal
import time
import subprocess
import tempfile
import unittest

from desktop_case import PROGRAM, RESOURCES, Atspi, DesktopCase, run, wait_until

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

    def test_controls_and_help_menu_missing_from_the_interface_file(self):
        def strip(main):
            for name in ("MainWindow.ui", "PreferencesWindow.ui", "MenuBar.ui"):
                path = os.path.join(main, name)
                with open(path, encoding="utf-8") as file:
                    lines = [line for line in file
                             if '"controlID"' not in line and "isHelpMenu" not in line]
                with open(path, "w", encoding="utf-8") as file:
                    file.writelines(lines)

        drop = self.make_folder()
        told = "the interface file has no Help menu in MenuBar.ui"
        self.open_window(program=self.with_resources(strip))
        self.wait_for(told)
        self.finish(self.start(drop))
        wait_until(lambda: self.moved(drop) == 4, "not flattened")
        self.key("ctrl+comma")
        self.wait_for("Preferences")
        self.click("Quit Vannerly .*", "check box")
        self.click("OK", "push button")
        self.process.send_signal(signal.SIGTERM)
        self.assertEqual(self.finish(self.process, 1), f"vannerly: {told}\n")


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
                written = [told]
                if stops:
                    self.key("Escape")
                    self.wait_until_idle()
                    # Nothing was done, and it is known why.
                    written.append(told.replace(": ", ": was left alone, as ", 1))
                    self.wait_for(re.escape(written[-1]))
                    self.assertLess(self.moved(drop), 300, "waited for the other all the same")
                    self.assertEqual(self.moved(inner), 0)
                    other.send_signal(signal.SIGKILL)
                    self.finish(other, -signal.SIGKILL)
                else:
                    other.send_signal(signal.SIGTERM)
                    wait_until(lambda: self.moved(inner) > 10, "the turn does not come")
                    self.finish(other)
                wait_until(lambda: self.find(re.escape(told)) is None, "it is said for ever")
                self.assertEqual(self.quit(), "".join(f"vannerly: {line}\n" for line in written))
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
    FILES = 150

    def start_run(self, deletes=True, files=FILES, environment=None):
        """A run that takes some three seconds a folder, with a second folder to come."""
        self.write_preferences(f"DeleteEmptiedFolders = {str(deletes).lower()}\n")
        self.first, self.second = (self.make_folder(f"{name}{len(os.listdir(self.place))}", files)
                                   for name in ("first", "second"))
        self.open_window(self.first, self.second, delay=20, environment=environment)
        wait_until(lambda: self.moved(self.first) > 5, "the run does not start")

    def question(self):
        """The question's window; the main one has the title of the folder in hand."""
        return run("xdotool", "search", "--all", "--onlyvisible", "--pid", str(self.process.pid),
                   "--name", "^Vannerly$").split()

    def ask(self, by):
        run("xdotool", "windowactivate", "--sync", self.window)
        self.key(by)
        window = wait_until(lambda: self.question() or self.assertRunning(), "nothing is asked")
        run("xdotool", "windowactivate", "--sync", window[0])

    def assertKept(self, *folders):
        for folder in folders:
            self.assertLess(self.moved(folder), self.FILES)
            self.assertComplete(folder, self.FILES)

    def assertFlattened(self, *folders):
        for folder in folders:
            self.assertCountEqual(os.listdir(folder), [f"{i}.txt" for i in range(self.FILES)])
            self.assertComplete(folder, self.FILES)

    def test_what_cannot_ask_keeps_everything(self):
        for number in (signal.SIGTERM, signal.SIGHUP, signal.SIGINT):
            for deletes in (True, False):
                with self.subTest(number=number, deletes=deletes):
                    self.start_run(deletes)
                    self.process.send_signal(number)
                    self.finish(self.process)
                    self.assertKept(self.first, self.second)
                    self.assertEqual(self.moved(self.second), 0)
        with self.subTest("the end of the session"):
            manager = self.start_portal("session_manager.py")
            self.start_run(environment={"SESSION_MANAGER": manager.says})
            manager.stdin.write("\n")
            manager.stdin.flush()
            self.finish(self.process)
            self.assertKept(self.first, self.second)

    def test_a_deletion_under_way_ends(self):
        self.write_preferences("DeleteEmptiedFolders = true\nOperation = 3\n")
        drop, files = self.make_folder("drop", 300), lambda: sum(map(len, (
            names for _, _, names in os.walk(drop))))
        self.open_window(drop, deletion=20)
        wait_until(lambda: files() < 290, "nothing is deleted")
        self.process.send_signal(signal.SIGTERM)
        self.finish(self.process)
        self.assertGreater(files(), 150)

    def test_stop_is_asked_about(self):
        for answer in ("Return", "alt+d", "Escape"):
            with self.subTest(answer):
                self.start_run()
                self.ask("Escape")
                before = self.moved(self.first)
                wait_until(lambda: self.moved(self.first) > before, "the run does not go on")
                self.key(answer)
                wait_until(lambda: not self.question(), "the question stays")
                wait_until(lambda: self.moved(self.second) > 0, "the next folder does not begin")
                if answer == "Return":
                    self.assertKept(self.first)
                elif answer == "alt+d":
                    self.assertGreater(self.FILES, len(os.listdir(self.first)))
                    self.assertEqual(self.moved(self.first), len(os.listdir(self.first)))
                else:
                    self.assertFlattened(self.first)
                # What holds for the one folder does not hold for the next.
                wait_until(lambda: self.moved(self.second) == len(os.listdir(self.second)),
                           "the next folder's sub-folders stay")
                self.assertFlattened(self.second)
                self.quit()

    def test_stop_all_means_every_folder(self):
        self.start_run(files=2000)
        later = self.make_folder("later")
        self.finish(self.start(later))
        self.wait_for("1 more folder waits")
        self.wait_for("Folder 1 of 2")
        self.ask("alt+a")
        self.key("Return")
        self.wait_until_idle()
        self.assertLess(self.moved(self.first), 2000)
        self.assertComplete(self.first, 2000)
        time.sleep(0.5)
        self.assertEqual([self.moved(self.second), self.moved(later)], [0, 0])
        self.quit()

    def test_quit_and_close_are_asked_about(self):
        for by in ("ctrl+q", "alt+F4"):
            with self.subTest(by):
                self.start_run()
                self.ask(by)
                self.key("Return")
                self.finish(self.process)
                self.assertKept(self.first, self.second)
        with self.subTest("go on, then quit twice"):
            self.start_run()
            self.ask("ctrl+q")
            self.key("alt+g")
            wait_until(lambda: not self.question(), "the question stays")
            self.ask("ctrl+q")
            self.key("ctrl+q")
            self.finish(self.process)
            self.assertKept(self.first, self.second)
        with self.subTest("a signal while it is asked"):
            self.start_run()
            self.ask("ctrl+q")
            self.quit()
            self.assertKept(self.first, self.second)
        with self.subTest("delete"):
            self.start_run()
            self.ask("ctrl+q")
            self.key("alt+d")
            self.finish(self.process)
            for folder in (self.first, self.second):
                self.assertEqual(self.moved(folder), len(os.listdir(folder)))
            self.assertEqual(self.moved(self.second), 0)
        with self.subTest("kept after a Stop, and then quit"):
            self.start_run()
            self.ask("Escape")
            self.key("Return")
            wait_until(lambda: not self.question(), "the question stays")
            # Kept is the one folder only, so that the next one's files are asked about.
            self.ask("ctrl+q")
            self.key("Return")
            self.finish(self.process)
            self.assertKept(self.first, self.second)

    def test_the_question_goes_when_the_run_has_ended(self):
        for by in ("Escape", "ctrl+q"):
            with self.subTest(by):
                self.start_run()
                self.ask(by)
                wait_until(lambda: self.moved(self.second) > 20, "no second folder")
                # What was asked about a folder that is done is no question for the next one.
                self.assertEqual(bool(self.question()), by == "ctrl+q")
                if by == "ctrl+q":
                    self.finish(self.process)
                else:
                    self.wait_until_idle()
                    self.quit()
                self.assertFlattened(self.first, self.second)

    def test_the_question_as_a_screen_reader_reads_it(self):
        self.start_run(files=3000)
        self.ask("Escape")
        self.wait_for("Stop, and keep what is left.")
        for name in ("Delete it with its folders", "Go on"):
            self.wait_for(name, "push button")
        keep = self.wait_for("Keep what is left", "push button")
        self.assertTrue(keep.get_state_set().contains(Atspi.StateType.FOCUSED))
        Atspi.Action.do_action(keep, 0)
        wait_until(lambda: self.moved(self.second) > 0, "the next folder does not begin")
        self.assertComplete(self.first, 3000)
        self.quit()


if __name__ == "__main__":
    unittest.main()
