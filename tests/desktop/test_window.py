#!/usr/bin/env python3
"""The window during a run and between runs, as its user meets it."""

import collections
import json
import os
import re
import signal
import subprocess
import time
import types
import unittest

from desktop_case import TEMPORARY, Atspi, DesktopCase, run, wait_until

FILES = 3000
SLOW = 20  # ms a rename takes longer: a run of a minute, of which no test waits for the end


class Window(DesktopCase):
    def start_slow_run(self, folder="drop", files=FILES):
        drop = self.make_folder(folder, files)
        self.open_window(drop, delay=SLOW)
        wait_until(lambda: self.moved(drop) > 10, "the run does not start")
        return drop

    def opened(self):
        path = os.path.join(TEMPORARY, "opened")
        wait_until(lambda: os.path.exists(path), "nothing was opened")
        with open(path, encoding="utf-8") as file:
            return file.read().splitlines()

    def test_stop_with_the_mouse(self):
        drop = self.start_slow_run()
        self.assertIsNone(self.find("Choose a folder to flatten"), "idle during a run")
        self.wait_for(r"\(\d+ of 3000\)")
        self.wait_for(r"Moving File: \d+\.txt")
        self.click("Stop", "push button")
        time.sleep(0.5)
        stopped_at = self.moved(drop)
        self.wait_until_idle()
        self.assertEqual(self.moved(drop), stopped_at, "half a second later it still goes on")
        self.wait_for("Elapsed time: .*")
        self.assertIsNone(self.find("Stop", "push button"), "a Stop button with nothing to stop")
        self.assertLess(self.moved(drop), FILES)
        self.assertComplete(drop, FILES)
        self.quit()

    def test_stop_with_the_keyboard_and_beside_the_sheet(self):
        drop = self.start_slow_run()
        self.key("ctrl+comma")
        self.wait_for("Preferences")
        self.click("Stop", "push button")
        self.wait_until_idle()
        self.assertLess(self.moved(drop), FILES)
        self.quit()

        drop = self.start_slow_run("other")
        self.key("Escape")
        self.wait_until_idle()
        self.assertLess(self.moved(drop), FILES)
        self.assertComplete(drop, FILES)
        self.quit()

    def test_a_preference_changed_during_the_run_counts_within_it(self):
        files = 600  # Sorting them afterwards is slow too.
        drop = self.start_slow_run(files=files)
        self.key("ctrl+comma")
        run("xdotool", "search", "--sync", "--onlyvisible", "--name", "^Preferences$",
            "windowactivate", "--sync")
        time.sleep(1)
        for mnemonic in ("alt+s", "alt+l", "Return"):
            self.key(mnemonic)
            time.sleep(0.3)
        wait_until(lambda: self.find("Preferences", "dialog") is None, "the sheet stays open")
        self.wait_until_idle()
        sorted_items = [os.path.join(drop, "txt", name) for name in
                        os.listdir(os.path.join(drop, "txt"))]
        aliases = sum(map(os.path.islink, sorted_items))
        self.assertGreater(aliases, 0, "no alias: the run went on with the old value")
        self.assertGreater(len(sorted_items) - aliases, 10, "the run did not begin by moving")
        self.assertComplete(drop, files)
        self.assertEqual(self.quit(), "")
        with open(os.path.join(TEMPORARY, "config/vannerly/preferences.toml"),
                  encoding="utf-8") as file:
            self.assertRegex(file.read(), r"Operation = 2")

    def test_sheet_shows_what_is_stored_and_cancel_keeps_changes(self):
        self.write_preferences("RenameDuplicates = false\nOperation = 2\n")
        self.open_window()
        self.key("ctrl+comma")
        self.wait_for("Preferences")

        def is_checked(name):
            return self.wait_for(name).get_state_set().contains(Atspi.StateType.CHECKED)

        self.assertFalse(is_checked("Rename a file .*"))
        self.assertTrue(is_checked("Leave it where it is .*"))
        # What deletes says so in as many words, and the trash is chosen with it.
        self.wait_for("Delete the sub-folders, with every file still in them.*")
        self.assertFalse(is_checked("Move them to the trash.*"))
        self.key("alt+d")
        wait_until(lambda: is_checked("Move them to the trash.*otherwise they are deleted for good.*"),
                   "deletion for good is what the box leads to")
        self.key("alt+q")
        wait_until(lambda: is_checked("Quit Vannerly .*"), "the mnemonic does nothing")
        self.key("Escape")
        wait_until(lambda: self.find("Preferences", "dialog") is None, "Esc does not close it")
        self.key("ctrl+comma")
        self.assertTrue(is_checked("Quit Vannerly .*"), "Cancel is no revert")
        self.key("ctrl+q")
        self.finish(self.process)

    def test_phases_that_do_not_yield_are_shown_and_the_window_lives(self):
        # Each would take half a minute; no test waits for its end.
        for text, preferences in (("Deleting emptied folders...", "DeleteEmptiedFolders = true"),
                                  ("Collating files...", "AggregateFilesWhenDone = true")):
            with self.subTest(text):
                self.write_preferences(f"Operation = 3\n{preferences}\n")
                drop = self.make_folder(text[:4], 600)
                for i in range(600):
                    with open(os.path.join(drop, f"{i}.top"), "w", encoding="utf-8"):
                        pass
                self.open_window(drop, delay=50, deletion=50)
                self.wait_for(re.escape(text))
                # Who is asked in the midst of the work answers; nothing promises progress.
                shown = [name for _, name, _ in self.things()]
                self.assertIn(text, shown)
                self.assertIn("Stop", shown)
                self.assertNotIn("Progress", shown)
                self.process.kill()
                self.process.wait()

    def test_closing_the_window_stops_before_the_next_file(self):
        drop = self.start_slow_run()
        self.key("alt+F4")
        self.finish(self.process)
        self.assertLess(self.moved(drop), FILES)
        self.assertComplete(drop, FILES)

    def test_help_links_and_about(self):
        self.open_window()
        self.key("alt+h", "Return")
        wait_until(lambda: len(self.opened()) == 1, "no page")
        self.key("alt+h", "Down", "Return")
        wait_until(lambda: len(self.opened()) == 2, "no second page")
        store, product = self.opened()
        self.assertRegex(store, r"^https://brenmoor\.example/")
        self.assertRegex(product, r"^http://brenmoor\.example/")
        self.key("alt+h", "Up", "Return")
        self.wait_for(r"Vannerly \d+\.\d+\.\d+")
        self.quit()

    def test_hostile_name_is_shown_as_it_is_and_moves_nothing(self):
        name = "a[*]b <b>&lt; &Tom " + "x" * 200
        self.open_window()
        before = run("xdotool", "getwindowgeometry", self.window)
        self.start(self.make_folder(name))
        wait_until(lambda: self.find("Elapsed time: .*"), "no run")
        self.assertEqual(run("xdotool", "getwindowname", self.window).strip(), name)
        self.assertEqual(run("xdotool", "getwindowgeometry", self.window), before)
        # A line break in a name, and bytes that are no text.
        folder = self.make_folder("new\nline \udcff")
        self.start(folder)
        wait_until(lambda: self.find(r".*/new line .*"), "the row does not show the folder")
        self.click(r".*/new line .*")
        wait_until(lambda: self.opened()[-1].endswith("/new%0Aline%20%FF"), self.opened())
        self.quit()

    def told(self, shell):
        shell.stdin.write("told\n")
        shell.stdin.flush()
        return json.loads(shell.stdout.readline())

    def pass_time(self):
        """Makes the run a long one without work: it takes more than ten seconds."""
        self.process.send_signal(signal.SIGSTOP)
        time.sleep(10.2)
        self.process.send_signal(signal.SIGCONT)

    def test_who_works_elsewhere_is_told_of_a_long_run(self):
        shell = self.start_portal("shell.py")
        self.start_slow_run("watched", 80)
        self.pass_time()
        self.wait_for("80 moved")
        told = self.told(shell)
        self.assertEqual(told["notifications"], [], "the window was looked at")
        times, programs, done, visible = zip(*told["progress"])
        self.assertEqual(set(programs), {"application://com.brenmoor.Vannerly.desktop"})
        self.assertEqual(visible, (True,) * (len(visible) - 1) + (False,))
        self.assertGreater(len(done), 4)
        self.assertEqual(list(done[:-1]), sorted(set(done[:-1])))
        self.assertTrue(0 < done[0] < done[-2] <= 1, done)
        self.assertGreater(min(b - a for a, b in zip(times[:-2], times[1:-1])), 0.1, "too often")

        def run_unseen(name):
            drop = self.make_folder(name, 80)
            self.finish(self.start(drop))
            wait_until(lambda: self.moved(drop) > 5, "the run does not start")
            run("xdotool", "windowminimize", "--sync", self.window)
            return drop

        drop = run_unseen("short")
        wait_until(lambda: self.moved(drop) == 80, "not flattened")
        time.sleep(0.5)
        run_unseen("a & <b>")
        self.pass_time()
        entry = "com.brenmoor.Vannerly"
        expected = [["a & <b> flattened", "80 moved", "default", entry]]
        wait_until(lambda: self.told(shell)["notifications"], "no notification")
        self.assertEqual(self.told(shell)["notifications"], expected)
        shell.stdin.write("default\n")
        shell.stdin.flush()
        wait_until(lambda: run("xdotool", "getactivewindow").strip() == self.window,
                   "the window does not come to the front")
        # It is told also by a program that ends with the run.
        self.write_preferences("QuitWhenDone = true\n")
        run_unseen("last")
        self.pass_time()
        self.finish(self.process)
        expected.append(["last flattened", "80 moved", "default", entry])
        self.assertEqual(self.told(shell)["notifications"], expected)

    def test_proxy_icon_dragged_onto_the_window(self):
        drop = self.make_folder()
        self.open_window(drop)
        self.wait_for("Elapsed time: .*")
        os.rename(os.path.join(drop, "0.txt"), os.path.join(drop, "sub0", "0.txt"))
        x, y = self.center(self.wait_for(re.escape(drop)))
        self.pointer(x, y, "mousedown", "1")
        for step in range(1, 9):
            self.pointer(x + step, y + 20 * step)
            time.sleep(0.05)
        run("xdotool", "mouseup", "1")
        wait_until(lambda: self.moved(drop) == 4, "the dragged folder is not flattened")
        self.wait_until_idle()
        self.quit()

    def test_idle_window_sleeps(self):
        self.open_window(self.make_folder())
        self.wait_for("Elapsed time: .*")
        # Nobody looks any more, and what follows a run is over.
        self.pointer(1199, 899)
        time.sleep(2)

        def switches():
            total = 0
            for task in os.listdir(f"/proc/{self.process.pid}/task"):
                with open(f"/proc/{self.process.pid}/task/{task}/status", encoding="utf-8") as file:
                    total += int(re.search(r"^voluntary_ctxt_switches:\s*(\d+)", file.read(),
                                           re.M)[1])
            return total

        before = switches()
        time.sleep(3)
        self.assertLessEqual(switches() - before, 3, "an idle window wakes up")
        self.quit()

    def contrast(self, thing, width=0):
        """The contrast (WCAG 2.1) of what is drawn in a thing, or in its first `width` pixels, to the
        colour around it."""
        def luminance(pixel):
            parts = [c / 3294.6 if c <= 10 else ((c / 255 + 0.055) / 1.055) ** 2.4 for c in pixel]
            return 0.2126 * parts[0] + 0.7152 * parts[1] + 0.0722 * parts[2]

        place = thing.get_extents(Atspi.CoordType.SCREEN)
        area = f"{width or place.width}x{place.height}+{place.x}+{place.y}"
        raw = subprocess.run(["import", "-window", "root", "-crop", area, "-depth", "8", "rgb:-"],
                             check=True, stdout=subprocess.PIPE).stdout
        pixels = [raw[i:i + 3] for i in range(0, len(raw), 3)]
        ground = luminance(collections.Counter(pixels).most_common(1)[0][0])
        return max((max(ground, found) + 0.05) / (min(ground, found) + 0.05)
                   for found in map(luminance, set(pixels)))

    def assertLegible(self):
        hint = self.wait_for("Choose a folder to flatten").get_extents(Atspi.CoordType.SCREEN)
        lower = types.SimpleNamespace(get_extents=lambda _: types.SimpleNamespace(
            x=hint.x + 40, width=hint.width - 80, height=30, y=hint.y + hint.height - 45))
        self.assertGreaterEqual(self.contrast(lower), 4.5, "the hint")
        self.key("ctrl+comma")
        self.wait_for("Preferences", "dialog")
        time.sleep(0.5)
        for name in ("Delete the sub-folders.*", "Leave it where .*"):
            box = self.wait_for(name)
            self.assertFalse(box.get_state_set().contains(Atspi.StateType.CHECKED))
            self.assertGreaterEqual(self.contrast(box, 16), 3, name)
            self.assertGreaterEqual(self.contrast(box), 4.5, name)
        self.key("Escape")
        wait_until(lambda: self.find("Preferences", "dialog") is None, "Esc does not close it")

    def test_light_and_dark(self):
        def brightness():
            corner = subprocess.run(
                ["import", "-window", self.window, "-crop", "1x1+5+350", "-depth", "8", "rgb:-"],
                check=True, stdout=subprocess.PIPE).stdout
            return sum(corner[:3]) / 3

        portal = self.start_portal("settings_portal.py")
        self.open_window()
        wait_until(lambda: brightness() < 90, "not dark though the desktop is")
        self.assertLegible()
        portal.stdin.write("2\n")
        portal.stdin.flush()
        wait_until(lambda: brightness() > 160, "does not follow the desktop to light")
        self.assertLegible()
        self.quit()

    def test_large(self):
        self.open_window(environment={"QT_SCALE_FACTOR": "2"})
        geometry = run("xdotool", "getwindowgeometry", self.window)
        self.assertRegex(geometry, r"Geometry: 1040x800")
        # The sheet keeps its buttons on the screen, and scrolls what it has no room for.
        self.key("ctrl+comma")
        self.wait_for("Preferences", "dialog")
        time.sleep(0.5)
        sheet = run("xdotool", "search", "--onlyvisible", "--name", "^Preferences$").split()[0]
        place = {key: int(value) for key, value in re.findall(
            r"^(\w+)=(\d+)$", run("xdotool", "getwindowgeometry", "--shell", sheet), re.M)}
        self.assertLessEqual(place["X"] + place["WIDTH"], 1200)
        self.assertLessEqual(place["Y"] + place["HEIGHT"], 900)
        self.assertGreater(place["WIDTH"], 900, "scrolled across")
        self.key("Return")
        wait_until(lambda: self.find("Preferences", "dialog") is None, "OK does not close it")
        self.quit()

    def test_names_in_any_script(self):
        drop = self.make_folder("\u05ea\u05de\u05d5\u05e0\u05d4/\u5199\u771f", 300)
        for parent, _, names in os.walk(drop):
            for name in names:
                os.rename(os.path.join(parent, name), os.path.join(parent, "\u4eac\u90fd" + name))
        self.open_window(drop, delay=SLOW)
        self.wait_for("Moving File: \u4eac\u90fd\\d+\\.txt")
        self.wait_for(re.escape(drop))
        self.assertEqual(run("xdotool", "getwindowname", self.window).strip(), "\u5199\u771f")
        self.quit()


if __name__ == "__main__":
    unittest.main()
