#!/usr/bin/env python3
"""The window of results, as its user meets it."""

import csv
import io
import json
import os
import re
import time
import unittest

from desktop_case import TEMPORARY, Atspi, DesktopCase, run, wait_until


class Results(DesktopCase):
    def table(self):
        """The list, as a screen reader has it."""
        return self.wait_for("Results|Preview", "table")

    def table_of_results_window(self):
        for application in self.applications():
            for i in range(application.get_child_count()):
                window = application.get_child_at_index(i)
                if window is None or not window.get_name().startswith("Results of"):
                    continue
                for j in range(window.get_child_count()):
                    if (child := window.get_child_at_index(j)).get_role_name() == "table":
                        return child
        return None

    def rows(self):
        table = self.table()
        cells = [[Atspi.Table.get_accessible_at(table, row, column) for column in range(3)]
                 for row in range(Atspi.Table.get_n_rows(table))]
        if any(None in row for row in cells):
            return []  # Other rows have come while these were looked at.
        return [tuple(cell.get_name() for cell in row) for row in cells]

    def wait_for_rows(self, *rows):
        wait_until(lambda: self.rows() == list(rows), f"{rows} is not to be seen")

    def open_results(self):
        self.key("ctrl+r")
        self.wait_for("Results", "table")

    def opened(self):
        path = os.path.join(TEMPORARY, "opened")
        wait_until(lambda: os.path.exists(path), "nothing was opened")
        with open(path, encoding="utf-8") as file:
            return file.read().splitlines()

    def make_clash(self):
        drop = self.make_folder("photos", 3)
        for name in ("new\nline", "0.txt"):
            with open(os.path.join(drop, name), "w", encoding="utf-8") as file:
                file.write("there before")
        return drop

    def test_list_filter_search_and_keyboard(self):
        drop = self.make_clash()
        self.open_window()
        self.key("ctrl+r")
        time.sleep(0.5)
        self.assertIsNone(self.find("Results", "table"), "results without a run")
        self.assertIsNone(self.find("Show results"), "a summary without a run")
        self.start(drop)
        self.wait_for("3 moved, 1 of them renamed")
        self.pointer(*self.center(self.wait_for("Show results")), "click", "1")
        self.wait_for("Results", "table")
        wait_until(lambda: len(self.rows()) == 3, self.rows())
        renamed, *moved = self.rows()
        self.assertRegex(" ".join(renamed),
                         r"sub0/deep/0\.txt moved under another name 0 - [-0-9A-F]{36}\.txt")
        self.assertEqual(moved, [("sub1/deep/1.txt", "moved", "1.txt"),
                                 ("sub2/deep/2.txt", "moved", "2.txt")])
        self.wait_for("3 items")
        self.wait_for("Results of photos")

        # Typed into the search field, and kept while a kind is chosen.
        self.key("ctrl+f", *"sub1")
        self.wait_for_rows(moved[0])
        self.wait_for("1 of 3 items")
        self.key("Tab", "Down")
        self.wait_for_rows(moved[0])
        self.key("ctrl+f", "BackSpace", "BackSpace")
        self.wait_for_rows(*moved)
        self.wait_for("2 of 3 items")

        # From the field to the list; there Return opens the folder, and Ctrl+C copies the path.
        self.key("Return", "Down", "Return")
        wait_until(lambda: self.opened() == ["file://" + drop], self.opened())
        self.key("ctrl+c", "ctrl+f", "ctrl+a", "ctrl+v")
        wait_until(lambda: Atspi.Text.get_text(self.find("Search"), 0, -1) ==
                   os.path.join(drop, "2.txt"), "the path is not copied")
        self.key("Escape")
        wait_until(lambda: self.find("Results", "table") is None, "Esc does not close it")
        self.open_results()
        wait_until(lambda: len(self.rows()) == 3, "what was wanted before is wanted still")
        self.key("ctrl+w")
        wait_until(lambda: self.find("Results", "table") is None, "Ctrl+W does not close it")
        self.assertRunning()
        self.quit()

    def save_as(self, typed, name):
        """Saves by the keyboard under what is typed; answers what the file of that name holds."""
        self.key("ctrl+s")
        self.wait_for("Save Results", "dialog")
        self.key("ctrl+a")
        run("xdotool", "type", os.path.join(self.place, typed))
        self.key("Return")
        self.wait_for(f".*{name}: saved")
        with open(os.path.join(self.place, name), newline="", encoding="utf-8") as file:
            return file.read()

    def test_sorts_by_its_header_and_is_saved(self):
        self.write_preferences("DeleteEmptiedFolders = true\nAggregateFilesWhenDone = true\n")
        drop = self.make_clash()
        for folder in (drop, drop + "/sub1"):  # with a name that can't be made longer
            with open(f"{folder}/{'x' * 240}.txt", "w", encoding="utf-8") as file:
                file.write("either")
        foretold = run(os.environ["VANNERLY_CLI"], "--dry-run", "--json", drop)
        self.open_window(drop)
        self.wait_for("Elapsed time: .*")
        self.open_results()

        def sources():
            return [row[0][:4] for row in self.rows() if row[1].startswith("moved")]

        wait_until(lambda: sources() == ["sub0", "sub1", "sub2"], "no rows")
        header = Atspi.Table.get_column_header(self.table(), 0)
        for _ in range(2):
            self.pointer(*self.center(header), "click", "1")
        wait_until(lambda: sources() == ["sub2", "sub1", "sub0"], "not sorted from the end")
        self.key("ctrl+f", *"sub")
        self.wait_for("11 of .* items")
        records = list(csv.reader(io.StringIO(self.save_as("list.csv", "list.csv"), newline="")))
        self.assertEqual([tuple(record[:3]) for record in records[1:]], self.rows())
        self.assertIn(["sub2/deep/2.txt", "moved", "2.txt", drop + "/2.txt"], records)

        # All of the run, whatever is shown: what a preview of it has told.
        saved = self.save_as("all", "all.json")
        expected, actual = (json.loads(re.sub("[-0-9A-F]{36}", "UUID", document))
                            for document in (foretold, saved))
        for document in (expected, actual):
            self.assertGreater(document["folders"][0].pop("seconds"), 0)
            self.assertRegex(document.pop("program"), r"^vannerly(-cli)? \d")
        self.assertTrue(expected.pop("preview"))
        self.assertEqual(actual, expected)
        self.assertEqual(expected["folders"][0]["leftInPlace"][0]["error"], "bdNamErr")
        self.key("Escape")
        wait_until(lambda: self.find("Results", "table") is None, "Esc does not close it")
        self.quit()

    def test_follows_the_run_that_is_on(self):
        files = 1000
        drop = self.make_folder("slow", files)
        self.open_window(drop, delay=20)
        wait_until(lambda: self.moved(drop) > 10, "the run does not start")
        self.key("ctrl+r")
        # Looked for where it is: while files are moved, everything asked takes a moment.
        table = wait_until(self.table_of_results_window, "no list")
        for _ in range(3):
            moved = self.moved(drop)
            self.assertLess(moved, files, "the run was over too soon")
            time.sleep(0.5)
            table.clear_cache()
            self.assertGreaterEqual(Atspi.Table.get_n_rows(table), moved, "half a second later")
        wait_until(lambda: self.find("1,000 items"), "not all")
        # The rows of the next run take their place.
        self.start(self.make_folder("next", 2))
        wait_until(lambda: self.find("2 items"), "still those of the run before")
        self.assertEqual({row[1] for row in self.rows()}, {"moved"})
        self.wait_for("Results of next")
        self.quit()

    def test_plan_is_carried_out_or_not(self):
        drop = self.make_clash()
        self.write_preferences("QuitWhenDone = true\n")
        self.open_window("--preview", drop)
        self.wait_for("Preview of photos")
        wait_until(lambda: len(self.rows()) == 3, self.rows())
        self.assertEqual(self.rows()[1], ("sub1/deep/1.txt", "would be moved", "1.txt"))
        self.wait_for("3 files would be moved, 1 of them under a new name.")
        self.key("Escape")
        wait_until(lambda: self.find("Preview", "table") is None, "Esc does not close it")
        self.assertIsNone(self.find("Show results"), "a plan is no run")
        self.assertIsNone(self.find("Elapsed time: .*"))

        # The folder changes while its plan is on the screen.
        self.start("--preview", drop)
        self.wait_for("Flatten", "push button")
        with open(os.path.join(drop, "sub1/deep/new"), "w", encoding="utf-8"):
            pass
        self.click("Flatten", "push button")
        self.wait_for("Something has changed meanwhile.*")
        self.wait_for("4 files would be moved, 1 of them under a new name.")
        self.assertEqual(self.moved(drop), 2)
        time.sleep(1.5)
        self.assertRunning()  # Whoever has not answered is not left.
        self.key("Return")
        self.finish(self.process)
        self.assertEqual(self.moved(drop), 6)

    def test_checkout_is_shown_first_and_cancel_is_meant(self):
        drop, plain = self.make_folder("site"), self.make_folder("plain")
        os.makedirs(os.path.join(drop, "sub1/deep/.git/objects"))
        self.open_window(drop, plain)
        self.wait_for("site/sub1/deep is a Git checkout: flattening it would take it apart.")
        self.assertEqual([self.moved(drop), self.moved(plain)], [0, 4])
        self.wait_for("4 moved")
        self.key("Return")
        wait_until(lambda: self.find("Preview", "table") is None, "Return does not cancel")
        self.assertEqual(self.moved(drop), 0)
        self.start(drop)
        self.click("Flatten", "push button")
        wait_until(lambda: self.moved(drop) == 4, "not flattened")
        self.wait_for("Results of site")
        self.assertIsNone(self.find("Cancel", "push button"))
        self.quit()


if __name__ == "__main__":
    unittest.main()
