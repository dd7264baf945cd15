#!/usr/bin/env python3
"""The ways in: drags, the session bus, the command line, the folder chooser."""

import os
import pathlib
import re
import subprocess
import time
import unittest

from desktop_case import Atspi, DesktopCase, run, wait_until

NAME = "com.brenmoor.Vannerly"
BUS = ("--session", "--dest", "org.freedesktop.DBus", "--object-path", "/org/freedesktop/DBus",
       "--method")
OBJECT = ("--session", "--dest", NAME, "--object-path", "/com/brenmoor/Vannerly", "--method")


def call(method, *arguments):
    return subprocess.run(["gdbus", "call", *OBJECT, f"org.freedesktop.Application.{method}",
                           *arguments], check=False, text=True, stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT)


class Drags(DesktopCase):
    def drag(self, *formats):
        """Drags from another program's window and holds over this one's middle; what is dragged is
        a format, its text, another format, and so on."""
        source = subprocess.Popen([os.environ["VANNERLY_DRAG_SOURCE"], *formats], text=True,
                                  stdout=subprocess.PIPE)
        self.processes.append(source)
        wait_until(lambda: run("xdotool", "search", "--onlyvisible", "--name", "drag source"),
                   "no drag source")
        time.sleep(0.3)
        self.pointer(30, 30, "mousedown", "1")
        self.pass_over((34, 34), (60, 60))
        self.enter()
        return source

    def pass_over(self, *points):
        for x, y in points:
            self.pointer(x, y)
            time.sleep(0.15)

    def enter(self):
        left, top, width, height = self.content()
        self.pass_over((left + 40, top + 40), (left + width // 2 - 3, top + height // 2),
                       (left + width // 2, top + height // 2))

    def drop(self, source):
        """Lets go; answers the action that the source was told of (0 none, 1 copy, 2 move)."""
        time.sleep(0.2)
        run("xdotool", "mouseup", "1")
        return int(source.stdout.readline())

    def content(self):
        place = self.find("Vannerly|drop.*", "frame").get_extents(0)
        bar = self.find(".*", "menu bar").get_extents(0)
        return place.x, place.y + bar.height, place.width, place.height - bar.height

    def frame_colors(self):
        """The colours of the pixels from the content's left edge inwards, at half its height."""
        left, top, _, height = self.content()
        pixels = subprocess.run(
            ["import", "-window", "root", "-crop", f"8x1+{left}+{top + height // 4}", "-depth", "8",
             "rgb:-"], check=True, stdout=subprocess.PIPE).stdout
        return [pixels[i:i + 3] for i in range(0, 24, 3)]

    def open_idle(self):
        self.open_window()
        self.wait_until_idle()
        return self.frame_colors()

    def test_folder_is_framed_and_flattened(self):
        self.write_preferences("DeleteEmptiedFolders = true\n")
        warning = "Sub-folders are deleted for good, with every file still in them."
        plain = self.open_idle()
        drop = self.make_folder()
        other = self.make_folder("drop é \udcff 100%")
        uris = "# a comment\r\nfile://%s\r\nfile://localhost%s\r\n" % (
            drop, other.replace("%", "%25").replace(" ", "%20").replace("\udcff", "%FF"))
        source = self.drag("text/uri-list", uris)
        framed = wait_until(lambda: (now := self.frame_colors()) != plain and now, "no frame")
        self.assertEqual(framed[:2], plain[:2], "the frame is not inset by two pixels")
        self.assertNotEqual(framed[2], plain[2])
        self.assertEqual(framed[2], framed[3], "the frame is thinner than two pixels")
        self.wait_for(warning)
        # Never told of a move, after which a file manager might remove what it has dragged.
        self.assertEqual(self.drop(source), 1)
        wait_until(lambda: self.moved(drop) == 4 and self.moved(other) == 4, "not flattened")
        self.assertComplete(drop, 4)
        self.wait_until_idle()
        self.pointer(5, 500)
        wait_until(lambda: self.frame_colors() == plain, "the frame stays")
        self.assertIsNone(self.find(warning))
        self.quit()

    def test_place_for_previews(self):
        self.open_idle()
        drop = self.make_folder()
        self.assertIsNone(self.find("Drop here to preview"))
        source = self.drag("text/uri-list", f"file://{drop}\r\n")
        place = self.wait_for("Drop here to preview").get_extents(Atspi.CoordType.SCREEN)
        self.pass_over((place.x + 20, place.y + place.height // 2),
                       (place.x + place.width // 2, place.y + place.height // 2))
        self.assertEqual(self.drop(source), 1)
        self.wait_for("Preview of drop")
        self.assertIsNone(self.find("Drop here to preview"))
        self.assertEqual(self.moved(drop), 0)
        self.quit()

    def test_files_of_a_sandboxed_program(self):
        first, second, listed = (self.make_folder(name) for name in ("drop é", "drop 2", "drop 3"))
        portal = self.start_portal("file_transfer_portal.py", f"both={first}", f"both={second}",
                                   f"home={os.environ['HOME']}", f"gone={self.place}/missing")
        plain = self.open_idle()
        # The list names a folder of the sandbox, which stands for another one outside; the key ends
        # as C programs end their text.
        source = self.drag("text/uri-list", f"file://{listed}\r\n",
                           "application/vnd.portal.filetransfer", "both\\0")
        wait_until(lambda: self.frame_colors() != plain, "no frame")
        # The portal would not hand them out again to a drag that comes back.
        self.pass_over((60, 60), (40, 40))
        wait_until(lambda: self.frame_colors() == plain, "the frame stays")
        self.enter()
        self.assertEqual(self.drop(source), 1)
        wait_until(lambda: self.moved(first) == 4 and self.moved(second) == 4, "not flattened")
        self.assertComplete(first, 4)
        self.wait_until_idle()
        self.assertEqual(self.moved(listed), 0, "a folder that was not meant")
        self.quit()
        source.kill()
        source.wait()

        for key in ("home", "gone", "unknown", "silent", None):
            with self.subTest(key):
                if key is None:
                    portal.kill()
                    asked = portal.stdout.read().split()
                    # A silent portal may be asked again while the drag moves about.
                    self.assertEqual(asked[:5], ["both", "home", "gone", "unknown", "silent"])
                self.open_idle()
                source = self.drag("application/vnd.portal.files", key or "both")
                time.sleep(1.5)
                self.assertEqual(self.frame_colors(), plain, "a frame that promises a drop")
                self.assertEqual(self.drop(source), 0)
                self.wait_until_idle()
                self.quit()
                source.kill()
                source.wait()

    def test_what_is_no_folder_here_is_refused_and_told(self):
        home = os.environ["HOME"]
        file = os.path.join(self.place, "file")
        pathlib.Path(file).touch()
        no_folder = "Not a folder on this machine"
        for kind, text, told in (
                ("text/plain", self.make_folder(), None),
                ("text/uri-list", "http://brenmoor.example/\r\n",
                 f"http://brenmoor.example/: {no_folder}"),
                ("text/uri-list", "file://elsewhere.example/tmp\r\n",
                 f"file://elsewhere.example/tmp: {no_folder}"),
                ("text/uri-list", f"file://{file}\r\n", f"{file}: Not a directory"),
                ("text/uri-list", f"file://{self.place}/missing\r\n",
                 f"{self.place}/missing: No such file or directory"),
                ("text/uri-list", f"file://{home}\r\nfile:///\r\n",
                 "/: this is the root folder (and 1 more)")):
            with self.subTest(text):
                plain = self.open_idle()
                source = self.drag(kind, text)
                time.sleep(0.3)
                self.assertEqual(self.frame_colors(), plain, "a frame that promises a drop")
                if told:
                    self.wait_for(re.escape(told))
                self.assertEqual(self.drop(source), 0)
                self.wait_until_idle()
                if told:
                    self.wait_for(re.escape(told))  # It stays to be read.
                self.assertIsNone(self.find("Elapsed time: .*"))
                self.quit()
                source.kill()
                source.wait()

    def test_a_drag_with_a_folder_in_it_is_taken_and_the_rest_told(self):
        plain = self.open_idle()
        file, drop = os.path.join(self.place, "file"), self.make_folder()
        pathlib.Path(file).touch()
        told = re.escape(f"{file}: Not a directory")
        source = self.drag("text/uri-list", f"file://{drop}\r\nfile://{file}\r\n")
        wait_until(lambda: self.frame_colors() != plain, "no frame")
        self.assertEqual(self.drop(source), 1)
        wait_until(lambda: self.moved(drop) == 4, "not flattened")
        self.wait_until_idle()
        self.wait_for(told)
        self.assertEqual(call("Open", f"['file://{self.make_folder('other')}']", "{}").returncode, 0)
        wait_until(lambda: not self.find(told), "the next drop has no problem")
        self.quit()


class Doors(DesktopCase):
    def test_second_start_hands_over(self):
        first = self.open_window()
        byte = self.make_folder("caf\udce9 #1")
        link = os.path.join(self.place, "link")
        os.symlink(self.make_folder("behind the link"), link)
        os.chdir(self.place)
        errors = self.finish(self.start(os.path.basename(byte), "link", "missing"))
        self.assertEqual(errors, "vannerly: missing: No such file or directory\n")
        self.wait_for(re.escape(f"{self.place}/missing: No such file or directory"))
        wait_until(lambda: self.moved(byte) == 4 and self.moved(link) == 4, "not flattened")
        self.assertTrue(os.path.islink(link))
        self.finish(self.start())
        for refused, reason in ((os.environ["HOME"], "this is your home folder"),
                                ("sftp://host/folder", "Not a folder on this machine")):
            self.finish(self.start(refused))
            self.wait_for(re.escape(f"{refused}: {reason}"))
        self.assertIsNone(first.poll())
        self.quit()

    def test_bus_calls(self):
        self.open_window()
        # All of them before the first run has begun.
        folders = [self.make_folder(f"drop{i}") for i in range(4)]
        calls = [subprocess.Popen(["gdbus", "call", *OBJECT, "org.freedesktop.Application.Open",
                                   f"['http://brenmoor.example/', 'file://{folder}']", "{}"],
                                  stdout=subprocess.DEVNULL) for folder in folders]
        self.assertEqual([process.wait() for process in calls], [0] * 4)
        wait_until(lambda: all(self.moved(folder) == 4 for folder in folders), "a drop is lost")
        self.wait_until_idle()
        self.assertEqual(call("Activate", "{'activation-token': <'token'>}").returncode, 0)
        self.assertEqual(call("ActivateAction", "preferences", "[]", "{}").returncode, 0)
        self.wait_for("Preferences")
        self.assertNotEqual(call("ActivateAction", "format-disk", "[]", "{}").returncode, 0)
        self.assertNotEqual(call("deleteLater").returncode, 0, "more can be called than is meant")
        self.assertEqual(call("ActivateAction", "quit", "[]", "{}").returncode, 0)
        self.finish(self.process)

    def test_ways_to_a_preview(self):
        first, second = self.make_folder("first"), self.make_folder("second")
        self.open_window()

        def wait_for_preview(title):
            self.wait_for(title)
            self.key("Escape")
            wait_until(lambda: self.find(title) is None, "Esc does not close it")

        for parameter in (f"<['file://{first}', 'file://{second}']>",
                          f"<'file://{first}'>, <'file://{second}'>"):
            self.assertEqual(call("ActivateAction", "preview", f"[{parameter}]", "{}").returncode, 0)
            wait_for_preview("Preview of first and 1 more")
        self.finish(self.start("--preview", second))
        wait_for_preview("Preview of second")
        self.write_preferences("PreviewFirst = true\n")
        self.finish(self.start(first))
        wait_for_preview("Preview of first")
        for ask in (lambda: call("ActivateAction", "preview", "[]", "{}"),
                    lambda: self.finish(self.start("--preview")), lambda: self.key("ctrl+shift+o")):
            run("xdotool", "windowactivate", "--sync", self.window)
            ask()
            wait_for_preview("Preview Folder")
        self.assertEqual([self.moved(first), self.moved(second)], [0, 0])
        self.quit()

    def test_bus_starts_the_installed_program(self):
        program = self.install()
        drop = self.make_folder("drop 100% é")

        def is_running():
            return "true" in run("gdbus", "call", *BUS, "org.freedesktop.DBus.NameHasOwner", NAME)

        for method, *arguments in (("Activate", "{}"),
                                   ("Open", f"[{pathlib.Path(drop).as_uri()!r}]", "{}"),
                                   ("ActivateAction", "preferences", "[]", "{}")):
            with self.subTest(method):
                self.assertEqual(call(method, *arguments).returncode, 0)
                owner = run("gdbus", "call", *BUS,
                            "org.freedesktop.DBus.GetConnectionUnixProcessID", NAME)
                pid = re.search(r"uint32 (\d+)", owner)[1]
                self.assertEqual(os.readlink(f"/proc/{pid}/exe"), program)
                wait_until(lambda: run("xdotool", "search", "--onlyvisible", "--pid", pid,
                                       "--name", "Preferences" if "Action" in method else "."),
                           "no window")
                if method == "Open":
                    wait_until(lambda: self.moved(drop) == 4, "not flattened")
                call("ActivateAction", "quit", "[]", "{}")
                wait_until(lambda: not is_running(), "it does not quit")

    def test_every_drop_is_flattened_once_and_in_order(self):
        slow, rest = self.make_folder("slow", 100), self.make_folder("rest", 100)
        b, c, d = (self.make_folder(name) for name in "bcd")
        # It may not do so before the last of them, though it wants to a second after the first.
        self.write_preferences("QuitWhenDone = true\n")
        self.open_window(slow, rest, delay=20)
        wait_until(lambda: self.moved(slow) > 5, "the run does not start")
        self.finish(self.start(b))
        self.finish(self.start(c, d))
        self.assertEqual(self.moved(b), 0, "one run inside the other")
        self.finish(self.process)
        self.assertEqual([self.moved(folder) for folder in (slow, rest, b, c, d)], [100, 100, 4, 4, 4],
                         "a run was cut short or a drop lost")
        journals = sorted(pathlib.Path(os.environ["XDG_STATE_HOME"], "vannerly/journal").iterdir(),
                          key=lambda path: path.stat().st_mtime_ns)
        flattened = re.findall(self.place + "/([a-z]+)",
                               "".join(path.read_text(errors="replace") for path in journals))
        self.assertEqual(flattened, ["slow", "rest", "b", "c", "d"])

    def test_what_waits_is_told_and_not_begun_after_quit(self):
        slow, *others = (self.make_folder(name, files) for name, files in
                         (("slow", 3000), ("one", 4), ("two", 4), ("three", 4)))
        self.open_window(slow, delay=20)
        wait_until(lambda: self.moved(slow) > 5, "the run does not start")
        self.finish(self.start(others[0]))
        self.wait_for("1 more folder waits")
        self.finish(self.start(*others[1:]))
        self.wait_for("3 more folders wait")
        self.quit()
        self.assertComplete(slow, 3000)
        self.assertEqual([self.moved(folder) for folder in others], [0, 0, 0])

    def test_operands(self):
        link = os.path.join(self.place, "link")
        os.symlink(self.make_folder(), link)
        dash = self.make_folder("-style")
        os.chdir(self.place)
        file = os.path.join(self.place, "file")
        with open(file, "w", encoding="utf-8"):
            pass
        uri = "file://" + self.make_folder("by address")
        self.open_window(file, "sftp://host/folder", uri, os.environ["HOME"], "--", link, "-style")
        wait_until(lambda: self.moved(dash) == 4, "not flattened")
        self.assertEqual(self.moved(link), 4)
        self.assertEqual(self.moved(uri[7:]), 4)
        messages = [f"{file}: Not a directory", "sftp://host/folder: Not a folder on this machine",
                    f"{os.environ['HOME']}: this is your home folder"]
        self.wait_for(re.escape(messages[-1] + " (and 2 more)"))
        self.key("alt+d")

        def shown():
            text = Atspi.Text.get_text(self.wait_for("Messages", "text"), 0, -1)
            return re.sub("[\u2068\u2069]", "", text).splitlines()

        wait_until(lambda: shown() == messages, "not all of them")
        self.finish(self.start("missing"))
        messages.append(f"{self.place}/missing: No such file or directory")
        wait_until(lambda: shown() == messages, "what is told meanwhile is not added")
        run("xdotool", "search", "--sync", "--onlyvisible", "--name", "^Messages$",
            "windowactivate", "--sync")
        self.key("ctrl+a", "ctrl+c", "Escape")
        wait_until(lambda: self.find("Messages", "dialog") is None, "Esc does not close it")
        self.key("ctrl+o")
        self.wait_for("Flatten Folder")
        time.sleep(1)
        self.key("ctrl+v")
        wait_until(lambda: "\n".join(messages) in [
            Atspi.Text.get_text(thing, 0, -1) for role, _, thing in self.things() if role == "text"],
                   "not copied as it was told")
        self.key("Escape")
        self.click("Show all messages", "push button")
        self.click("Dismiss", "push button")
        wait_until(lambda: self.find("Show all messages") is None, "the button stays")
        wait_until(lambda: self.find(re.escape(messages[-1])) is None, "the line stays")
        self.assertEqual(re.findall("^vannerly: (.*)$", self.quit(), re.M), messages)

    def test_ways_to_the_folder_chooser(self):
        self.open_window()
        for way in (lambda: self.key("ctrl+o"), lambda: self.click("Choose a folder to flatten"),
                    lambda: self.key("space")):
            self.wait_until_idle()
            way()
            self.wait_for("Flatten Folder")
            self.key("Escape")
            wait_until(lambda: self.find("Flatten Folder") is None, "Esc does not close it")
            run("xdotool", "windowactivate", "--sync", self.window)
        self.quit()

    def test_folder_chooser_takes_nothing_that_was_not_chosen(self):
        here, drop, second = self.make_folder("here"), self.make_folder(), self.make_folder("drop 2")
        os.chdir(here)

        def choose(*typed):
            self.key("ctrl+o")
            self.wait_for("Flatten Folder")
            time.sleep(1)
            for key in typed:
                run("xdotool", "type", key) if len(key) > 9 else self.key(key)

        def can_flatten():
            return self.wait_for("Flatten", "push button").get_state_set().contains(
                Atspi.StateType.ENABLED)

        self.open_window()
        choose("Return")
        time.sleep(1)
        self.assertFalse(can_flatten(), "nothing is chosen")
        self.key("Escape")
        wait_until(lambda: self.find("Flatten Folder") is None, "Esc does not close it")
        choose(drop)
        wait_until(can_flatten, "a folder has been typed")
        self.key("Return")
        wait_until(lambda: self.moved(drop) == 4, "not flattened")
        self.quit()
        # The next start begins where that was.
        self.open_window()
        choose("d", "r", "o", "p", "space", "2", "Return")
        wait_until(lambda: self.moved(second) == 4, "not where the last one was")
        self.wait_until_idle()
        self.quit()
        self.assertEqual(self.moved(here), 0, "the working directory was flattened")


if __name__ == "__main__":
    unittest.main()
